// The built program as a person or a script starts it, with the stand-in engine installed.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <regex>

#include "brain/ModelCatalogue.h"
#include "foundation/Files.h"
#include "foundation/HttpClient.h"
#include "foundation/Paths.h"
#include "platform/system.h"
#include "support/EngineFolder.h"
#include "support/Soon.h"
#include "support/TestData.h"
#include "support/TestProgram.h"

namespace {

bool engineAnswers() {
    return HttpClient::send("http://127.0.0.1:8765/health", {}).status == 200;
}

std::string output() {
    return dataText("ask-output.txt");
}

class Program : public testing::Test {
protected:
    /// Starts the program with its standard output going to `shown`.
    std::unique_ptr<TestProgram> start(const std::string& words) const {
        const std::string command = "exec " VELU_PROGRAM " " + words + " >" + shown;
        return std::make_unique<TestProgram>(std::vector<std::string>{"sh", "-c", command}, log);
    }

    int run(const std::string& words) const { return start(words)->wait().value_or(-1000); }

    static void installEngine(const std::string& script) {
        for (const bool useGpu : {false, true})  // for a machine with a graphics card
            installFakeEngine(dataFolder(), useGpu, script);
        const ModelInfo& model = modelCatalogue().front();
        placeModel(joinPath(modelsFolder(), model.file), model.size);
    }

    const std::string log = joinPath(dataFolder(), "stderr");
    std::string shown = joinPath(dataFolder(), "stdout");
};

TEST_F(Program, AsksAndLeavesTheAnswerInTheFileAndOnTheTerminal) {
    installEngine(R"({"replies": [{"when": "what time is it", "text": "It is late already. Go to bed."}]})");
    EXPECT_EQ(run("--ask 'what time is it'"), 0);
    const std::regex lines(
        "\\[status\\] Waking up my brain( \\(GPU\\))?\\.\\.\\.\n"
        "\\[say \\d+ms\\] It is late already\\.\n"
        "\\[say \\d+ms\\] Go to bed\\.\n"
        "\\[done \\d+ms\\]\n");
    EXPECT_TRUE(std::regex_match(output(), lines)) << output();
    EXPECT_EQ(fileText(shown), output());
    EXPECT_FALSE(engineAnswers());
    EXPECT_NE(dataText("memory.json").find("Go to bed."), std::string::npos);

    // A second copy ends silently as long as the first lives.
    const std::string before = output();
    {
        const SingleInstance running("Velu.Desktop.SingleInstance");
        EXPECT_EQ(run("--ask hello"), 0);
        EXPECT_EQ(output(), before);
        EXPECT_EQ(fileText(shown), "");
    }
    installEngine(R"({"exitWhileLoading": 1})");
    EXPECT_EQ(run("--ask again"), 1);
    EXPECT_EQ(output().substr(output().rfind('[')), "[error] engine failed\n");
}

TEST_F(Program, NeitherAClosedTerminalNorARelativeFolderStopsIt) {
    installEngine("");
    std::filesystem::current_path(std::filesystem::path(dataFolder()).parent_path());
    setenv("VELU_HOME", "data/", 1);
    shown = "/dev/full";
    EXPECT_EQ(run("--ask hello"), 0);
    EXPECT_NE(output().find("[done "), std::string::npos) << output();
    removeFile(joinPath(dataFolder(), "ask-output.txt"));
    TestProgram closed({"bash", "-c", VELU_PROGRAM " --ask hello | true; exit ${PIPESTATUS[0]}"}, log);
    EXPECT_EQ(closed.wait(), 0);
    EXPECT_NE(output().find("[done "), std::string::npos) << output();
}

TEST_F(Program, NoServerOutlivesItHoweverItEnds) {
    // The reply goes on for longer than the test waits.
    installEngine(
        R"({"default": {"text": "One sentence of many here. And a second one behind it.", "pieceMs": 2000}})");
    for (const int signal : {SIGTERM, SIGINT, SIGKILL, SIGABRT}) {
        const auto velu = start("--ask talk");
        ASSERT_TRUE(soon(engineAnswers));
        velu->signal(signal);
        EXPECT_EQ(velu->wait(), -signal);
        EXPECT_TRUE(soon([] { return !engineAnswers(); })) << "signal " << signal;
    }
}

TEST_F(Program, TellsWhatItIsAndLooksForFacesWhereThereAreModels) {
    EXPECT_TRUE(run("--version") == 0 && fileText(shown).starts_with("Velu ")) << fileText(shown);
    EXPECT_TRUE(run("--help") == 0 && fileText(shown).starts_with("Velu, a desktop companion"));
    const int code = run("--facetest nowhere.png");
    EXPECT_EQ(output(), code == 1 ? "[error] models\n" : "[error] cannot decode nowhere.png\n");
    EXPECT_EQ(run("--camtest 0"), code);
    EXPECT_EQ(output(), code == 1 ? "[error] models\n" : "");
}

}  // namespace
