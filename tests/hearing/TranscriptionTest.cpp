#include "hearing/Transcription.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

TEST(Transcription, SamplesBecomeAWavFileInAForm) {
    const std::string wav = buildWav(std::vector<int16_t>(1600, -2));
    ASSERT_EQ(wav.size(), 3244U);
    EXPECT_EQ(
        wav.substr(0, 44),
        "RIFF\xA4\x0C\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x80\x3E\0\0\0\x7D\0\0\x02\0\x10\0data\x80\x0C\0\0"s);
    EXPECT_EQ(wav.substr(44, 4), "\xFE\xFF\xFE\xFF");
    EXPECT_EQ(buildWav({}).size(), 44U);
    const std::string part = "------VeluBoundary7d3fA91\r\nContent-Disposition: form-data; name=\"";
    EXPECT_EQ(inferenceBody({1, 2}),
              part + "file\"; filename=\"audio.wav\"\r\nContent-Type: audio/wav\r\n\r\n" + buildWav({1, 2}) +
                  "\r\n" + part + "response_format\"\r\n\r\njson\r\n" + part +
                  "temperature\"\r\n\r\n0.0\r\n" + part + "no_timestamps\"\r\n\r\ntrue\r\n" + part +
                  "prompt\"\r\n\r\nVelu, what's the weather?\r\n------VeluBoundary7d3fA91--\r\n");
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
        {R"({"text": 7})", ""},
        {R"(["text"])", ""},
        {"Invalid request", ""},
        {"", ""},
    };
    for (const auto& [body, text] : cases)
        EXPECT_EQ(cleanTranscript(body), text) << body;
}

TEST(Transcription, TheNameIsFoundAmongTheFirstWords) {
    const char* const none = "not addressed";
    const std::pair<const char*, const char*> cases[] = {
        // transcript, command
        {"Hey Velu, what's the time?", "what's the time?"},
        {"Velu", ""},
        {"OK, velu's timer", "timer"},
        {"Velu - open the door", "open the door"},
        {"VELU!Stop", none},  // one word
        {"  ...Vel-u?! Again, please.", "Again, please."},
        {"Belu, vely, velo", "vely, velo"},
        {"one two three four Velwie, yes", "yes"},
        {"one two three four five velu", none},
        {"a , . ! b velu Go", "Go"},
        {"Velus", none},
        {"V\xC3\xA9lu vellu \xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},
        {" ,.", none},
    };
    for (const auto& [text, command] : cases) {
        std::string out = none;
        EXPECT_EQ(extractCommand(text, out), command != none) << text;
        EXPECT_EQ(out, command) << text;
    }
}
