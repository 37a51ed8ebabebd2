#include "assistant/SentenceStream.h"

#include "assistant/TextCases.h"

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
    for (const size_t piece : {1, 2, 5, 1000})
        expectCases("sentences", [&](const std::string& reply) { return cut(reply, piece); });
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
    expectCases("stripEmoji", stripEmoji);
    for (const char* broken : {"cut \xF0\x9F", "\x80\xBF"})
        EXPECT_EQ(stripEmoji(broken), broken);
}

}  // namespace
