#include "assistant/SentenceStream.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Sentences = std::vector<std::string>;

Sentences cut(const std::string& reply, size_t piece) {
    Sentences heard;
    SentenceStream stream([&](const std::string& sentence) { heard.push_back(sentence); });
    for (size_t at = 0; at < reply.size(); at += piece)
        stream.feed(reply.substr(at, piece));
    stream.flush();
    return heard;
}

TEST(SentenceStream, CutsTheSameSentencesHoweverTheReplyIsCut) {
    const std::pair<std::string, Sentences> cases[] = {
        {"", {}},
        {"Hi!", {"Hi!"}},
        {"Hi! It is good to see you. Bye.", {"Hi! It is good to see you.", "Bye."}},
        {"Twelve bytes. Then more.", {"Twelve bytes.", "Then more."}},
        {"Eleven byte. Then more.", {"Eleven byte. Then more."}},
        {"Version 1.5 costs 3.50 euros! Right? Is that so? Yes.",
         {"Version 1.5 costs 3.50 euros!", "Right? Is that so?", "Yes."}},
        {"First line of it\nSecond line of it\n\nThird one.",
         {"First line of it\nSecond line of it", "Third one."}},
        {"A line that ends.\n\n  The next one.  ", {"A line that ends.", "The next one."}},
        {"A whole sentence. \xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80. And on it "
         "goes.",
         {"A whole sentence.", ".", "And on it goes."}},
        {"\xF0\x9F\x98\x80", {}},
        {"            .   \n\n\n            \n \n", {"."}},
        {"no end mark but a blank ", {"no end mark but a blank"}},
    };
    for (const auto& [reply, sentences] : cases) {
        for (const size_t piece : {size_t{1}, size_t{2}, size_t{5}, size_t{1000}}) {
            EXPECT_EQ(cut(reply, piece), sentences) << reply << " in pieces of " << piece;
        }
    }
}

TEST(SentenceStream, ASentenceLeavesAsSoonAsTheByteBehindItHasCome) {
    Sentences heard;
    SentenceStream stream([&](const std::string& sentence) { heard.push_back(sentence); });
    stream.feed("The first sentence.");
    EXPECT_EQ(heard, Sentences{});
    stream.feed(" ");
    EXPECT_EQ(heard, Sentences{"The first sentence."});
}

TEST(SentenceStream, StripsWhatAVoiceWouldReadOutByName) {
    const std::pair<std::string, std::string> cases[] = {
        {"Sure \xF0\x9F\x98\x80 let's", "Sure  let's"},
        {"a \xE2\x80\x93 b \xE2\x80\x9Cquoted\xE2\x80\x9D",
         "a \xE2\x80\x93 b \xE2\x80\x9Cquoted\xE2\x80\x9D"},
        {"\xE2\x86\x92 done \xE2\x9D\xA4\xEF\xB8\x8F.", " done ."},
        {"\xE6\x97\xA5\xE6\x9C\xAC caf\xC3\xA9", "\xE6\x97\xA5\xE6\x9C\xAC caf\xC3\xA9"},
        {"cut \xF0\x9F", "cut \xF0\x9F"},
        {"\x80\xBF", "\x80\xBF"},
    };
    for (const auto& [text, kept] : cases)
        EXPECT_EQ(stripEmoji(text), kept);
}

}  // namespace
