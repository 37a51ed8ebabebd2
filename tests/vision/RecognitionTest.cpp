// Recognition in virtual time: the test decides when a picture comes and how alike the faces are.

#include "vision/Recognition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/TestData.h"

namespace {

using Embedding = std::vector<float>;

constexpr uint64_t start = 60000;  // a minute after the computer's

/// Returns a face whose cosine with the person of this number is `similarity`, and 0 with everybody else.
Embedding like(size_t person, float similarity) {
    Embedding embedding(5, 0.0F);
    embedding[person] = similarity;
    embedding[4] = std::sqrt(1 - similarity * similarity);
    return embedding;
}

struct Seen {
    Embedding embedding;  ///< empty: the embedder fails
    float width = 200;
};

/// Ann, Bob, a stranger, Ann too far away, a face that can't be embedded, and nobody.
const std::map<char, std::vector<Seen>> pictures = {
    {'A', {{like(0, 0.5F)}}},     {'B', {{like(1, 0.5F)}}}, {'?', {{like(2, 0.9F)}}},
    {'a', {{like(0, 0.9F), 60}}}, {'!', {Seen{}}},          {'-', {}},
};

/// Returns each person's initial and count of embeddings.
std::string summaryOf(const std::string& bytes) {
    std::string summary;
    size_t skipped = 0;
    People people;
    (void)People::fromJson(bytes, people, skipped);
    for (const Person& person : people.list)
        summary += person.name[0] + std::to_string(person.embs.size());
    return summary;
}

class RecognitionTest : public testing::Test {
protected:
    RecognitionTest() {
        recognition.onGreet = [this](const std::string&) { ++greetings; };
        know(R"([{"count":1,"embs":[[1,0,0,0,0],[9,9]],"name":"Ann"},{"embs":[[0,1,0,0,0]],"name":"Bob"}])");
    }

    void know(const std::string& people) {
        ASSERT_TRUE(writeWholeFile(file, people));
        recognition.loadPeople();
        recognition.begin(start);
        recognition.end();
    }

    /// Takes a picture of 640 x 480 at `start` + `at` milliseconds, with the faces side by side.
    void look(uint64_t at, const std::vector<Seen>& people) {
        std::vector<Face> faces;
        for (const Seen& seen : people)
            faces.push_back({40 + 300 * static_cast<float>(faces.size()), 100, seen.width, seen.width});
        const auto embed = [&](const Face& face, Embedding& out) {
            ++embeddings;
            out = people[static_cast<size_t>((face.x - 40) / 300)].embedding;
            return !out.empty();
        };
        recognition.recognise(faces, 640, 480, embed, start + at);
    }
    void look(uint64_t at, char who) { look(at, pictures.at(who)); }

    [[nodiscard]] static std::string stored() { return dataText("people.json"); }

    const std::string file = joinPath(dataFolder(), "people.json");
    std::atomic<int> greetings = 0;
    int embeddings = 0;
    Recognition recognition;
};

TEST_F(RecognitionTest, TwoPicturesInARowMakeAName) {
    // Pictures every 250 ms; the names shown, a stranger as ?, nobody as a dash; and the count of embeddings.
    const std::tuple<std::string, const char*, int> cases[] = {
        {"AAAAAAAAAA", "?AAAAAAAAA", 5},  // after three pictures only every third one is embedded
        {"ABABAB", "??????", 6},
        {"AABB", "?AAB", 4},
        {"AA??A", "?AA??", 5},
        {"AA-AA", "?A-?A", 4},  // one picture without a face takes the name away
        {"aaa", "???", 0},
        {"AAaa!!", "?AAAAA", 4},  // a face that can't be embedded keeps the name
        {"AAAABBBB", "?AAAAABB", 6},
    };
    for (const auto& [taken, expected, expectedEmbeddings] : cases) {
        recognition.begin(start);
        recognition.end();
        embeddings = 0;
        std::string shown;
        for (size_t i = 0; i < taken.size(); ++i) {
            look(i * 250, taken[i]);
            const Sighting sighting = recognition.sighting();
            shown += !sighting.present ? '-' : sighting.name.empty() ? '?' : sighting.name[0];
            EXPECT_EQ(sighting.seenTick, sighting.present ? start + i * 250 : 0);
        }
        EXPECT_EQ(shown, expected) << taken;
        EXPECT_EQ(embeddings, expectedEmbeddings) << taken;
    }
}

TEST_F(RecognitionTest, TheLargestFaceIsLookedAt) {
    const std::tuple<Face, float, float> places[] = {
        {{1000, 900, 100, 100}, 1, 1}, {{110, 310, 100, 100}, -0.5F, 0.5F}, {{590, -50, 100, 100}, 1, -1}};
    for (const auto& [face, nx, ny] : places) {
        recognition.recognise(
            {face}, 640, 480, [](const Face&, Embedding&) { return false; }, start);
        EXPECT_EQ(std::pair(recognition.sighting().nx, recognition.sighting().ny), std::pair(nx, ny));
    }
    for (const auto& [width, name] : {std::pair(150.0F, "Bob"), std::pair(151.0F, "Ann")}) {
        for (int i = 0; i < 2; ++i)
            look(300, {{like(0, 0.5F), width}, {like(1, 0.5F), 151}});
        EXPECT_EQ(recognition.sighting().name, name) << width;
    }
}

TEST_F(RecognitionTest, LikenessNamesAndMoreOfItTeaches) {
    const std::string known = stored();
    const std::tuple<float, const char*, const char*> cases[] = {
        {0.3629F, "", "A2B1"}, {0.363F, "Ann", "A2B1"}, {0.55F, "Ann", "A2B1"}, {0.56F, "Ann", "A3B1"}};
    for (const auto& [similarity, name, learnt] : cases) {
        know(known);
        look(30000, {{like(0, similarity)}});
        look(30250, {{like(0, similarity)}});
        EXPECT_EQ(recognition.sighting().name, name) << similarity;
        EXPECT_EQ(summaryOf(stored()), learnt) << similarity;
    }
}

TEST_F(RecognitionTest, LearnsByItselfNowAndThenAndNoMoreThanItKeeps) {
    know(R"([{"embs":[[1,0,0,0,0],[2],[3],[4],[5],[6]],"name":"Ann"},{"embs":[[0,1,0,0,0]],"name":"Bob"}])");
    const std::tuple<uint64_t, size_t, const char*> looks[] = {
        {0, 0, "A7B1"}, {20000, 1, "A7B1"}, {20001, 0, "A8B1"}, {40002, 0, "A8B1"}, {60003, 1, "A8B2"}};
    for (const auto& [at, person, learnt] : looks) {
        look(at, {{like(person, 0.9F)}});
        EXPECT_EQ(summaryOf(stored()), learnt) << at;
    }
}

TEST_F(RecognitionTest, GreetsOnceAVisitAndNotWithinHalfAnHour) {
    // Two pictures at each second, and the greetings after them.
    const std::tuple<uint64_t, char, int> visits[] = {
        {0, '?', 0},    {1, 'A', 1},    {2, 'B', 1},     // one greeting a visit, whoever comes along
        {10, '-', 1},   {22, '-', 1},   {23, 'B', 1},    // 20 s away: the same visit
        {43, '-', 1},   {44, '-', 1},   {45, 'A', 1},    // another visit, but too soon
        {70, '-', 1},   {71, 'B', 2},                    // Bob hasn't been greeted yet
        {1790, '-', 2}, {1800, 'A', 2}, {1830, '-', 2},  // almost half an hour after Ann's greeting
        {1831, 'A', 3}, {1860, '-', 3}, {1870, 'A', 3}, {1900, '-', 3}, {1960, '-', 3}, {1961, 'B', 4},
    };
    for (const auto& [second, who, count] : visits) {
        look(second * 1000, who);
        look(second * 1000 + 250, who);
        recognition.end();  // waits for the greeting
        EXPECT_EQ(greetings, count) << "second " << second;
    }
}

TEST_F(RecognitionTest, LearnsAFaceThatItSeesUnderAName) {
    EXPECT_EQ(recognition.learnFace("", true, start), "I need a name to remember.");
    EXPECT_EQ(recognition.learnFace("Cleo", false, start),
              "My camera is off, so I can't see your face. Turn it on in my menu first.");
    const std::string nobody = "I can't see a face right now. Look at the camera and ask again.";
    const std::string learnt = "Got it, I'll remember Cleo's face.";
    const std::string updated = "Updated how I recognise CLEO.";
    const struct {
        uint64_t seenAt;
        char who;
        const char* name;
        uint64_t learntAt;
        std::string answer, people;
    } steps[] = {
        {1, 'a', "Cleo", 1, nobody, "A2B1"},  // too far away
        {250, '?', "Cleo", 3251, nobody, "A2B1"},
        {500, '-', "Cleo", 500, nobody, "A2B1"},
        {750, '?', "Cleo", 3750, learnt, "A2B1C1"},
        {1250, '?', "CLEO", 1250, updated, "A2B1C3"},  // one more by itself
        {4249, '-', "CLEO", 4249, nobody, "A2B1C3"},
        {4250, 'a', "CLEO", 4250, updated, "A2B1C4"},
        // A face is forgotten when more than three seconds have passed without any.
        {7251, '-', "CLEO", 7251, nobody, "A2B1C4"},
        {7252, 'a', "CLEO", 7252, nobody, "A2B1C4"},
    };
    for (const auto& step : steps) {
        look(step.seenAt, step.who);
        EXPECT_EQ(recognition.learnFace(step.name, true, start + step.learntAt), step.answer) << step.seenAt;
        EXPECT_EQ(summaryOf(stored()), step.people) << step.seenAt;
    }
    EXPECT_EQ(stored().find("CLEO"), std::string::npos) << "the name stays as it was given";
    // The present face replaces the oldest of those that are kept.
    know(R"([{"count":3,"embs":[[0],[1],[2],[3],[4],[5],[6],[7],[8]],"name":"Ann"}])");
    look(0, {{{0.5F}}});
    EXPECT_EQ(recognition.learnFace("ann", true, start), "Updated how I recognise ann.");
    EXPECT_EQ(stored(), R"([{"count":3,"embs":[[1.0],[2.0],[3.0],[4.0],[5.0],[6.0],[7.0],[8.0],[0.5]],)"
                        R"("name":"Ann"}])");
}

TEST_F(RecognitionTest, ABrokenFileLosesTheBrokenPersonAloneAndStaysUntilSomethingIsLearnt) {
    const std::pair<const char*, const char*> files[] = {
        {R"({"name":"Ann"})", ""},
        {R"([{"name":"Ann","embs":[]}])", ""},
        {R"([7,null,"Ann",[],{"name":"","embs":[[1]]},{"embs":[[1]]},{"name":"Ann","embs":[[1]]}])", "A1"},
        {R"([{"name":5,"embs":[[1]]},{"name":"Ann","embs":"x"},{"name":"Bob","embs":[[1]],"count":"many"}])",
         "B1"},
        {R"([{"name":"Ann","embs":[[1],"x"]},{"name":"Cleo","embs":[[1,"2"]]}])", ""},
        {R"([{"name":"Ann","embs":[[1e300]]},{"name":"Bob","embs":[[1]],"count":1e99}])", "B1"},
        {"[{\"name\":\"Ann\",\"embs\":[[1]]}", ""},
    };
    for (const auto& [bytes, people] : files) {
        EXPECT_EQ(summaryOf(bytes), people) << bytes;
        know(bytes);
        look(0, 'A');
        look(250, 'A');
        EXPECT_EQ(stored(), bytes) << "nothing was learnt";
    }
    // The first save moves the unreadable file aside. A file that can't be moved isn't written over.
    look(500, '?');
    const std::string odd = stored();
    const std::string aside = joinPath(dataFolder(), "people-old.json");
    createFolder(aside);
    EXPECT_EQ(recognition.learnFace("Dan", true, start + 500), "Got it, I'll remember Dan's face.");
    EXPECT_EQ(stored(), odd);
    removeFolder(aside);
    EXPECT_EQ(recognition.learnFace("Cleo", true, start + 500), "Got it, I'll remember Cleo's face.");
    EXPECT_EQ(summaryOf(stored()), "D1C1");
    EXPECT_EQ(dataText("people-old.json"), odd);
}

}  // namespace
