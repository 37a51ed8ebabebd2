#include "hearing/Transcription.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

TEST(Transcription, TheSamplesBecomeAWavFile) {
    const std::string wav = buildWav(std::vector<int16_t>(1600, -2));
    ASSERT_EQ(wav.size(), 3244U);
    EXPECT_EQ(
        wav.substr(0, 44),
        "RIFF\xA4\x0C\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x80\x3E\0\0\0\x7D\0\0\x02\0\x10\0data\x80\x0C\0\0"s);
    EXPECT_EQ(wav.substr(44, 4), "\xFE\xFF\xFE\xFF");
    EXPECT_EQ(buildWav({}).size(), 44U);
}

TEST(Transcription, TheFormIsTheOneThatTheServerReads) {
    const std::string start =
        "------VeluBoundary7d3fA91\r\nContent-Disposition: form-data; name=\"file\"; "
        "filename=\"audio.wav\"\r\nContent-Type: audio/wav\r\n\r\n";
    const auto field = [](const std::string& name, const std::string& value) {
        return "\r\n------VeluBoundary7d3fA91\r\nContent-Disposition: form-data; name=\"" + name +
               "\"\r\n\r\n" + value;
    };
    EXPECT_EQ(inferenceBody({1, 2}), start + buildWav({1, 2}) + field("response_format", "json") +
                                         field("temperature", "0.0") + field("no_timestamps", "true") +
                                         field("prompt", "Velu, what's the weather?") +
                                         "\r\n------VeluBoundary7d3fA91--\r\n");
}

TEST(Transcription, AnAnswerIsReducedToASentenceOrToNothing) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"text": " Hello there.\n"})", "Hello there."},
        {R"({"text": "[music]"})", ""},
        {R"x({"text": "  (wind blowing) "})x", ""},
        {R"({"text": "*coughs*"})", ""},
        {R"({"text": "[music] hello"})", "[music] hello"},
        {R"x({"text": "hello (again)"})x", "hello (again)"},
        {R"x({"text": "[mixed)"})x", "[mixed)"},
        {R"({"text": " \r\n\t "})", ""},
        {R"({"text": ""})", ""},
        {R"({"text": 7})", ""},
        {R"({"error": "no"})", ""},
        {R"(["text"])", ""},
        {"Invalid request", ""},
        {"", ""},
    };
    for (const auto& [body, text] : cases)
        EXPECT_EQ(cleanTranscript(body), text) << body;
}

TEST(Transcription, TheNameIsFoundAmongTheFirstWords) {
    struct Case {
        const char* text;
        bool isForHer;
        const char* command;
    };
    const Case cases[] = {
        {"Hey Velu, what's the time?", true, "what's the time?"},
        {"velu.", true, ""},
        {"Velu", true, ""},
        {"OK, velu's timer", true, "timer"},
        {"Velu - open the door", true, "open the door"},
        {"VELU!Stop", false, ""},  // no blank, no comma: one word
        {"  ...Vel-u?! Again, please.", true, "Again, please."},
        {"Belu, vely, velo", true, "vely, velo"},
        {"one two three four Velwie, yes", true, "yes"},
        {"one two three four five velu", false, ""},
        {"a , . ! b velu Go", true, "Go"},
        {"Velus", false, ""},
        {"V\xC3\xA9lu vellu \xC3\xA9t\xC3\xA9", true, "\xC3\xA9t\xC3\xA9"},
        {"", false, ""},
        {" ,.", false, ""},
    };
    for (const Case& item : cases) {
        std::string out = "untouched";
        EXPECT_EQ(extractCommand(item.text, out), item.isForHer) << item.text;
        EXPECT_EQ(out, item.isForHer ? item.command : "untouched") << item.text;
    }
}
