// Who is seen, in virtual time: pictures come when the test says so, and faces are as alike as it wants.

#include "vision/Recognition.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/Soon.h"

namespace {

using Embedding = std::vector<float>;

constexpr uint64_t start = 5000000;

/// A face that is so much like the person of this number, and like nobody else.
Embedding like(size_t person, float similarity) {
    Embedding embedding(5, 0.0F);
    embedding[person] = similarity;
    embedding[4] = std::sqrt(1 - similarity * similarity);
    return embedding;
}

struct Seen {
    float width = 200;
    bool isClear = true;  ///< it can be turned into an embedding
    Embedding embedding;
};

class RecognitionTest : public testing::Test {
protected:
    RecognitionTest() {
        recognition.onGreet = [this](const std::string&) { ++greetings; };
        know(
            R"([{"count":1,"embs":[[1,0,0,0,0]],"name":"Ann"},{"count":1,"embs":[[0,1,0,0,0]],"name":"Bob"}])");
        recognition.begin(start);
    }

    void know(const std::string& people) {
        ASSERT_TRUE(writeWholeFile(file, people));
        recognition.loadPeople();
    }

    /// A picture of 640 x 480 so many milliseconds after the start, with such faces side by side.
    void look(uint64_t at, const std::vector<Seen>& people) {
        std::vector<Face> faces;
        for (const Seen& seen : people) {
            Face face{};
            face.x = 40 + 300 * static_cast<float>(faces.size());
            face.y = 100;
            face.w = face.h = seen.width;
            faces.push_back(face);
        }
        const auto embed = [&](const Face& face, Embedding& out) {
            ++embeddings;
            const Seen& seen = people[static_cast<size_t>((face.x - 40) / 300)];
            out = seen.embedding;
            return seen.isClear;
        };
        recognition.recognise(faces, 640, 480, embed, start + at);
    }

    /// Ann, Bob, a stranger, someone too far away, Ann turned away so that she can't be made out, or nobody.
    void look(uint64_t at, char who) {
        switch (who) {
            case 'A':
                return look(at, {{200, true, like(0, 0.5F)}});
            case 'B':
                return look(at, {{200, true, like(1, 0.5F)}});
            case '?':
                return look(at, {{200, true, like(2, 0.9F)}});
            case 'a':
                return look(at, {{60, true, like(0, 0.9F)}});
            case '!':
                return look(at, {{200, false, {}}});
            default:
                return look(at, std::vector<Seen>());
        }
    }

    [[nodiscard]] std::string stored() const {
        std::string bytes;
        EXPECT_TRUE(readWholeFile(file, bytes));
        return bytes;
    }

    /// How many embeddings of people are in the file.
    [[nodiscard]] size_t learnt() const {
        size_t count = 0;
        size_t skipped = 0;
        People people;
        EXPECT_TRUE(People::fromJson(stored(), people, skipped));
        for (const Person& person : people.list)
            count += person.embs.size();
        return count;
    }

    const std::string file = joinPath(dataFolder(), "people.json");
    Recognition recognition;
    std::atomic<int> greetings = 0;
    int embeddings = 0;
};

TEST_F(RecognitionTest, TwoPicturesInARowMakeAName) {
    const struct {
        const char* pictures;  // every 250 ms
        const char* shown;     // A and B by their initials, a stranger as ?, nobody as a dash
        int embeddings;
    } cases[] = {
        {"AAAA", "?AAA", 3},
        // Known for three pictures: every third picture is looked at closely.
        {"AAAAAAAAAA", "?AAAAAAAAA", 5},
        {"ABABAB", "??????", 6},
        {"AABA", "?AAA", 4},
        {"AABB", "?AAB", 4},
        {"AA??A", "?AA??", 5},
        {"??A?AA", "?????A", 6},
        // The first picture without a face takes the name away, two with it give it back.
        {"AA-AA", "?A-?A", 4},
        // What can't be made out keeps the name that is shown, and without one is a stranger.
        {"aaa", "???", 0},
        {"AAaa!!", "?AAAAA", 4},
        {"AAAAB", "?AAAA", 3},
        {"AAAABBBB", "?AAAAABB", 6},
    };
    for (const auto& example : cases) {
        recognition.begin(start);
        recognition.end();
        embeddings = 0;
        std::string shown;
        uint64_t at = 0;
        for (const char* picture = example.pictures; *picture != '\0'; ++picture, at += 250) {
            look(at, *picture);
            const Sighting sighting = recognition.sighting();
            shown += !sighting.present ? '-' : sighting.name.empty() ? '?' : sighting.name[0];
            EXPECT_EQ(sighting.seenTick, sighting.present ? start + at : 0);
        }
        EXPECT_EQ(shown, example.shown) << example.pictures;
        EXPECT_EQ(embeddings, example.embeddings) << example.pictures;
    }
}

TEST_F(RecognitionTest, TheLargestFaceIsLookedAt) {
    const struct {
        float x, y, w, h;
        float nx, ny;
    } places[] = {{-50, 190, 100, 100, -1, 0},
                  {590, -50, 100, 100, 1, -1},
                  {270, 190, 100, 100, 0, 0},
                  {1000, 900, 100, 100, 1, 1},
                  {110, 310, 100, 100, -0.5F, 0.5F}};
    for (const auto& place : places) {
        Face face{};
        face.x = place.x;
        face.y = place.y;
        face.w = place.w;
        face.h = place.h;
        recognition.recognise(
            {face}, 640, 480, [](const Face&, Embedding&) { return false; }, start);
        EXPECT_FLOAT_EQ(recognition.sighting().nx, place.nx) << place.x;
        EXPECT_FLOAT_EQ(recognition.sighting().ny, place.ny) << place.y;
    }
    for (const uint64_t at : {300U, 600U})
        look(at, {{150, true, like(0, 0.5F)}, {151, true, like(1, 0.5F)}});
    EXPECT_EQ(recognition.sighting().name, "Bob");
    EXPECT_GT(recognition.sighting().nx, 0);
    for (const uint64_t at : {900U, 1200U})
        look(at, {{151, true, like(0, 0.5F)}, {151, true, like(1, 0.5F)}});
    EXPECT_EQ(recognition.sighting().name, "Ann") << "the first among equals";
}

TEST_F(RecognitionTest, LikenessNamesAndMoreOfItTeaches) {
    const struct {
        float similarity;
        const char* name;
        size_t learnt;  // with the two that are known
    } cases[] = {{0.3629F, "", 2}, {0.363F, "Ann", 2}, {0.55F, "Ann", 2}, {0.56F, "Ann", 3}};
    for (const auto& example : cases) {
        know(R"([{"count":1,"embs":[[1,0,0,0,0],[9,9]],"name":"Ann"},{"embs":[[0,1,0,0,0]],"name":"Bob"}])");
        recognition.begin(start);
        recognition.end();
        look(30000, {{200, true, like(0, example.similarity)}});
        look(30250, {{200, true, like(0, example.similarity)}});
        EXPECT_EQ(recognition.sighting().name, example.name) << example.similarity;
        EXPECT_EQ(learnt(), example.learnt + 1) << example.similarity;
    }
}

TEST_F(RecognitionTest, LearnsByItselfNowAndThenAndNoMoreThanItKeeps) {
    size_t expected = 2;
    const auto near = [](size_t person) { return std::vector<Seen>{{200, true, like(person, 0.9F)}}; };
    look(0, near(0));
    EXPECT_EQ(learnt(), ++expected);
    look(10000, near(1));
    look(20000, near(0));
    EXPECT_EQ(learnt(), expected) << "the pause is one for all people";
    look(20001, near(1));
    EXPECT_EQ(learnt(), ++expected);
    for (uint64_t round = 2; round < 20; ++round)
        look(round * 20001, near(0));
    EXPECT_EQ(learnt(), 8U + 2U);
}

TEST_F(RecognitionTest, GreetsOnceAVisitAndNotWithinHalfAnHour) {
    // Seconds at which two pictures are taken, of whom, and how many greetings there were after them.
    const struct Visit {
        uint64_t second;
        char who;
        int greetings;
    } visits[] = {
        {0, '?', 0},    {1, 'A', 1},    {2, 'B', 1},     // one greeting a visit, whoever comes along
        {3, '-', 1},    {10, 'A', 1},                    // a step aside
        {25, '-', 1},   {31, '-', 1},   {32, 'A', 1},    // another visit, too soon
        {60, '-', 1},   {61, 'B', 2},                    // Bob hasn't been greeted yet
        {1790, '-', 2}, {1800, 'A', 2}, {1830, '-', 2},  // half an hour after Ann's, but for a moment
        {1831, 'A', 3}, {1832, '-', 3}, {1900, '-', 3}, {1901, 'A', 3},
        {1930, '-', 3}, {1960, '-', 3}, {1961, 'B', 4},
    };
    for (const Visit& visit : visits) {
        look(visit.second * 1000, visit.who);
        look(visit.second * 1000 + 250, visit.who);
        const bool isGreeted = soon([&] { return greetings == visit.greetings; });
        EXPECT_TRUE(isGreeted) << "second " << visit.second << ": " << greetings;
    }
}

TEST_F(RecognitionTest, LearnsAFaceThatItSeesUnderAName) {
    const std::string nobody = "I can't see a face right now. Look at the camera and ask again.";
    EXPECT_EQ(recognition.learnFace("", true, start), "I need a name to remember.");
    EXPECT_EQ(recognition.learnFace("Cleo", false, start),
              "My camera is off, so I can't see your face. Turn it on in my menu first.");
    EXPECT_EQ(recognition.learnFace("Cleo", true, start), nobody);
    look(0, 'a');
    EXPECT_EQ(recognition.learnFace("Cleo", true, start), nobody) << "too far away";
    look(250, '?');
    EXPECT_EQ(recognition.learnFace("Cleo", true, start + 3251), nobody) << "too long ago";
    look(500, '-');
    EXPECT_EQ(recognition.learnFace("Cleo", true, start + 500), nobody);
    look(750, '?');
    const std::string before = stored();
    EXPECT_EQ(learnt(), 2U);
    EXPECT_EQ(recognition.learnFace("Cleo", true, start + 3750), "Got it, I'll remember Cleo's face.");
    EXPECT_EQ(recognition.sighting().name, "Cleo") << "at once";
    EXPECT_EQ(learnt(), 3U);
    look(1000, '?');
    look(1250, '?');
    EXPECT_EQ(recognition.sighting().name, "Cleo");

    EXPECT_EQ(recognition.learnFace("CLEO", true, start + 1250), "Updated how I recognise CLEO.");
    EXPECT_EQ(learnt(), 5U) << "one more by itself";
    EXPECT_EQ(stored().find("CLEO"), std::string::npos) << "the name stays as it was given";
    // A face that was seen is dropped three seconds later.
    look(4000, '-');
    look(4500, '-');
    look(4750, 'a');
    EXPECT_EQ(recognition.learnFace("Cleo", true, start + 4750), nobody);
}

TEST_F(RecognitionTest, ThePresentFaceReplacesTheOldestOfThoseThatAreKept) {
    std::string nine;
    for (int i = 0; i < 9; ++i)
        nine += (i > 0 ? "," : "") + std::string("[0,0,0,0,") + std::to_string(i) + "]";
    know(R"([{"count":3,"embs":[)" + nine + R"(],"name":"Ann"}])");
    look(0, {{200, true, {0.5F, 0, 0, 0, 0}}});
    EXPECT_EQ(recognition.learnFace("ann", true, start), "Updated how I recognise ann.");
    EXPECT_EQ(stored(),
              R"([{"count":3,"embs":[)"
              "[0.0,0.0,0.0,0.0,1.0],[0.0,0.0,0.0,0.0,2.0],[0.0,0.0,0.0,0.0,3.0],"
              "[0.0,0.0,0.0,0.0,4.0],[0.0,0.0,0.0,0.0,5.0],[0.0,0.0,0.0,0.0,6.0],[0.0,0.0,0.0,0.0,7.0],"
              R"([0.0,0.0,0.0,0.0,8.0],[0.5,0.0,0.0,0.0,0.0]],"name":"Ann"}])");
}

TEST_F(RecognitionTest, ABrokenFileLosesTheBrokenPersonAloneAndStaysUntilSomethingIsLearnt) {
    const struct {
        const char* bytes;
        const char* names;  // initials of those who are known
    } files[] = {
        {"", ""},
        {"[]", ""},
        {R"({"name":"Ann"})", ""},
        {R"([{"name":"Ann","embs":[]}])", ""},
        {R"([{"name":"","embs":[[1]]},{"embs":[[1]]},{"name":"Ann"}])", ""},
        {R"([7,null,"Ann",[],{"name":"Ann","embs":[[1]]}])", "A"},
        {R"([{"name":5,"embs":[[1]]},{"name":"Bob","embs":[[1,2]]}])", "B"},
        {R"([{"name":"Ann","embs":"x"},{"name":"Bob","embs":[[1]],"count":"many"}])", "B"},
        {R"([{"name":"Ann","embs":[[1],"x"]},{"name":"Cleo","embs":[[1,"2"]]},{"name":"Bob","embs":[[1]],"count":1e99}])",
         "B"},
        {R"([{"name":"Ann","embs":[[1e300]]},{"name":"Bob","embs":[[1]]}])", "B"},
        {"[{\"name\":\"Ann\",\"embs\":[[1]]}", ""},
    };
    for (const auto& example : files) {
        size_t skipped = 0;
        std::string names;
        People people;
        (void)People::fromJson(example.bytes, people, skipped);
        for (const Person& person : people.list)
            names += person.name[0];
        EXPECT_EQ(names, example.names) << example.bytes;
        know(example.bytes);
        look(0, 'A');
        look(250, 'A');
        EXPECT_EQ(stored(), example.bytes) << "nothing was learnt";
    }
    // Once something is, what couldn't be read is still there, and stays where it is if it can't be moved.
    look(500, '?');
    const std::string odd = stored();
    const std::string inTheWay = joinPath(dataFolder(), "people-old.json");
    createFolder(inTheWay);
    EXPECT_EQ(recognition.learnFace("Dan", true, start + 500), "Got it, I'll remember Dan's face.");
    EXPECT_EQ(stored(), odd);
    removeFolder(inTheWay);
    EXPECT_EQ(recognition.learnFace("Cleo", true, start + 500), "Got it, I'll remember Cleo's face.");
    EXPECT_EQ(learnt(), 2U);
    std::string old;
    EXPECT_TRUE(readWholeFile(inTheWay, old));
    EXPECT_EQ(old, odd);
}

}  // namespace
