// The built program as a person or a script starts it, with the stand-in engine installed.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <thread>

#include "brain/ModelCatalogue.h"
#include "foundation/Files.h"
#include "foundation/HttpClient.h"
#include "foundation/Paths.h"
#include "platform/system.h"
#include "support/EngineFolder.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr auto patience = std::chrono::seconds(60);

/// Whether something comes true before the test loses patience.
template <typename Condition>
bool soon(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

bool engineAnswers() {
    return HttpClient::send("http://127.0.0.1:8765/health", {}).status == 200;
}

class Program : public testing::Test {
protected:
    void start(std::vector<std::string> words) {
        words.insert(words.begin(), VELU_PROGRAM);
        pid = fork();
        ASSERT_GE(pid, 0);
        if (pid != 0) return;
        std::vector<char*> argv;
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        if (std::freopen(shown.c_str(), "w", stdout) == nullptr) _exit(126);
        execv(VELU_PROGRAM, argv.data());
        _exit(127);
    }

    /// The exit code, or minus the signal that ended it.
    int wait() {
        int status = 0;
        EXPECT_EQ(waitpid(pid, &status, 0), pid);
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }

    int run(const std::vector<std::string>& words) {
        start(words);
        return wait();
    }

    static void installEngine(const std::string& script) {
        installFakeEngine(dataFolder(), false, script);
        installFakeEngine(dataFolder(), true, script);  // for a machine with a graphics card
        const ModelInfo& model = modelCatalogue().front();
        placeModel(joinPath(modelsFolder(), model.file), model.size);
    }

    static std::string contentOf(const std::string& path) {
        std::string bytes;
        return readWholeFile(path, bytes) ? bytes : "(no file)";
    }

    static std::string output() { return contentOf(joinPath(dataFolder(), "ask-output.txt")); }

    TemporaryFolder folder;
    std::string shown = joinPath(folder.path, "stdout");
    pid_t pid = -1;
};

TEST_F(Program, AsksAndLeavesTheAnswerInTheFileAndOnTheTerminal) {
    installEngine(R"({"replies": [{"when": "what time is it", "text": "It is late already. Go to bed."}]})");
    EXPECT_EQ(run({"--ask", "what time is it"}), 0);
    const std::regex lines(
        "\\[status\\] Waking up my brain( \\(GPU\\))?\\.\\.\\.\n"
        "\\[say \\d+ms\\] It is late already\\.\n"
        "\\[say \\d+ms\\] Go to bed\\.\n"
        "\\[done \\d+ms\\]\n");
    EXPECT_TRUE(std::regex_match(output(), lines)) << output();
    EXPECT_EQ(contentOf(shown), output());
    EXPECT_FALSE(engineAnswers());
    EXPECT_NE(contentOf(joinPath(dataFolder(), "memory.json")).find("Go to bed."), std::string::npos);

    installEngine(R"({"exitWhileLoading": 1})");
    EXPECT_EQ(run({"--ask", "again"}), 1);
    EXPECT_EQ(output().substr(output().rfind('[')), "[error] engine failed\n");
}

TEST_F(Program, NeitherAClosedTerminalNorARelativeFolderStopsIt) {
    installEngine("");
    std::filesystem::current_path(std::filesystem::path(dataFolder()).parent_path());
    setenv("VELU_HOME", "data/", 1);
    shown = "/dev/full";
    EXPECT_EQ(run({"--ask", "hello"}), 0);
    EXPECT_NE(output().find("[done "), std::string::npos) << output();

    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    signal(SIGPIPE, SIG_DFL);
    shown = "/proc/self/fd/" + std::to_string(ends[1]);
    start({"--ask", "hello again"});
    close(ends[0]);
    EXPECT_EQ(wait(), 0);
    EXPECT_NE(output().find("[done "), std::string::npos) << output();
}

TEST_F(Program, NoServerOutlivesItHoweverItEnds) {
    // The reply goes on for longer than the test waits.
    installEngine(
        R"({"default": {"text": "One sentence of many here. And a second one behind it.", "pieceMs": 2000}})");
    for (const int signal : {SIGTERM, SIGINT, SIGKILL, SIGABRT}) {
        start({"--ask", "talk"});
        ASSERT_TRUE(soon(engineAnswers));
        kill(pid, signal);
        EXPECT_EQ(wait(), -signal);
        EXPECT_TRUE(soon([] { return !engineAnswers(); })) << "signal " << signal;
    }
}

TEST_F(Program, ASecondCopyEndsSilentlyUntilTheFirstIsGone) {
    installEngine("");
    const std::string old = joinPath(dataFolder(), "ask-output.txt");
    writeWholeFile(old, "old content");
    {
        const SingleInstance running("Velu.Desktop.SingleInstance");
        ASSERT_TRUE(running.isFirst());
        EXPECT_EQ(run({"--ask", "hello"}), 0);
        EXPECT_EQ(contentOf(old), "old content");
        EXPECT_EQ(contentOf(shown), "");
    }
    EXPECT_EQ(run({"--ask", "hello"}), 0);
    EXPECT_NE(contentOf(old).find("stand-in"), std::string::npos);
}

TEST_F(Program, TellsWhatItIs) {
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(contentOf(shown).rfind("Velu ", 0), 0u);
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_NE(contentOf(shown).find("--ask QUESTION"), std::string::npos);
}

TEST_F(Program, LooksForFacesWhereThereAreModels) {
    const int code = run({"--facetest", "nowhere.png"});
    EXPECT_EQ(output(), code == 1 ? "[error] models\n" : "[error] cannot decode nowhere.png\n");
    EXPECT_EQ(run({"--camtest", "0"}), code);
    EXPECT_EQ(output(), code == 1 ? "[error] models\n" : "");
}

}  // namespace
