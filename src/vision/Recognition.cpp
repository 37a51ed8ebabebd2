#include "vision/Recognition.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <utility>

#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"

namespace {

constexpr float leastSimilarity = 0.363F;   // from here on a face gets the name
constexpr float learnSimilarity = 0.55F;    // above this an embedding may be learnt automatically
constexpr float leastWidth = 60;            // pixels; faces must be wider to be embedded
constexpr uint64_t embedPauseMs = 700;      // between two embeddings once the name is settled
constexpr int32_t settledCount = 3;         // pictures in a row that make a name settled
constexpr int32_t agreement = 2;            // pictures in a row that change the name
constexpr uint64_t forgetFaceMs = 3000;     // without a face
constexpr uint64_t visitEndMs = 20000;      // without a face
constexpr uint64_t learnPauseMs = 20000;    // between two embeddings that are learnt automatically
constexpr uint64_t greetPauseMs = 1800000;  // between two greetings of one person

std::string peopleFile() {
    return joinPath(dataFolder(), "people.json");
}

/// Converts a place from 0..1 across the picture to -1..1.
float fromMiddle(float place) {
    return std::clamp((place - 0.5F) * 2, -1.0F, 1.0F);
}

}  // namespace

Sighting Recognition::sighting() {
    const std::lock_guard guard(lock);
    return published;
}

std::string Recognition::learnFace(const std::string& name, bool isCameraOn, uint64_t now) {
    if (name.empty()) return "I need a name to remember.";
    if (!isCameraOn) return "My camera is off, so I can't see your face. Turn it on in my menu first.";
    std::string answer;
    {
        const std::lock_guard guard(lock);
        // A picture may have come since the caller looked at the clock.
        if (!published.present || lastEmbedding.empty() || now > published.seenTick + forgetFaceMs)
            return "I can't see a face right now. Look at the camera and ask again.";
        if (Person* const known = people.find(name)) {
            known->embs.push_back(lastEmbedding);
            if (known->embs.size() > People::mostEmbeddings) known->embs.erase(known->embs.begin());
            answer = "Updated how I recognise " + name + ".";
        } else {
            people.list.push_back({name, {lastEmbedding}, 0, 1});
            published.name = name;
            answer = "Got it, I'll remember " + name + "'s face.";
        }
    }
    savePeople();
    return answer;
}

void Recognition::end() {
    if (greeting.joinable()) greeting.join();
    const std::lock_guard guard(lock);
    published = {};
}

void Recognition::loadPeople() {
    const std::lock_guard fileGuard(fileLock);
    std::string bytes;
    size_t skipped = 0;
    People known;
    isFileOdd = false;
    if (isFile(peopleFile())) {
        const bool isRead = readWholeFile(peopleFile(), bytes) && People::fromJson(bytes, known, skipped);
        if (!isRead) logLine("people.json can't be read");
        if (skipped > 0) logLine("people.json: %zu entries that aren't people were left out", skipped);
        isFileOdd = !isRead || skipped > 0;
    }
    const std::lock_guard guard(lock);
    people = std::move(known);
}

void Recognition::savePeople() {
    // The window thread reads the sighting in each frame, so a slow disk mustn't hold that lock.
    const std::lock_guard fileGuard(fileLock);
    std::string bytes;
    {
        const std::lock_guard guard(lock);
        bytes = people.toJson();
    }
    // A file that couldn't be read completely is kept: it is moved aside before the first save.
    if (isFileOdd && !replaceFile(peopleFile(), joinPath(dataFolder(), "people-old.json"))) return;
    isFileOdd = false;
    writeWholeFile(peopleFile(), bytes);
}

void Recognition::begin(uint64_t now) {
    candidateName.clear();
    agreeCount = 0;
    greetedThisVisit = false;
    lastEmbedTick = 0;
    lastLearnTick = 0;
    lastFaceTick = now;
}

void Recognition::recognise(const std::vector<Face>& faces, int32_t width, int32_t height, const Embed& embed,
                            uint64_t now) {
    Sighting seen;
    if (faces.empty()) {
        noteAbsence(now);
        publish(seen);
        return;
    }
    const Face& face = *std::max_element(faces.begin(), faces.end(),
                                         [](const Face& a, const Face& b) { return a.w * a.h < b.w * b.h; });
    seen.present = true;
    seen.seenTick = now;
    seen.nx = fromMiddle((face.x + face.w * 0.5F) / static_cast<float>(width));
    seen.ny = fromMiddle((face.y + face.h * 0.5F) / static_cast<float>(height));
    seen.name = agreedName(nameOf(face, embed, now));
    greet(seen.name, now);
    lastFaceTick = now;
    publish(seen);
}

void Recognition::noteAbsence(uint64_t now) {
    candidateName.clear();
    agreeCount = 0;
    const uint64_t absence = now - lastFaceTick;
    if (absence > visitEndMs) greetedThisVisit = false;
    if (absence <= forgetFaceMs) return;
    const std::lock_guard guard(lock);
    lastEmbedding.clear();
}

std::string Recognition::nameOf(const Face& face, const Embed& embed, uint64_t now) {
    const bool isSettled = agreeCount >= settledCount && now - lastEmbedTick <= embedPauseMs;
    std::vector<float> embedding;
    if (face.w <= leastWidth || isSettled || !embed(face, embedding)) return publishedName();
    lastEmbedTick = now;
    std::string name;
    bool hasLearnt = false;
    {
        const std::lock_guard guard(lock);
        lastEmbedding = std::move(embedding);
        const People::Match match = people.mostLike(lastEmbedding);
        if (match.person != nullptr) {
            if (match.similarity >= leastSimilarity) name = match.person->name;
            hasLearnt = match.similarity > learnSimilarity &&
                        match.person->embs.size() < People::mostEmbeddings &&
                        now - lastLearnTick > learnPauseMs;
            if (hasLearnt) match.person->embs.push_back(lastEmbedding);
        }
    }
    if (hasLearnt) {
        lastLearnTick = now;
        savePeople();
    }
    return name;
}

std::string Recognition::publishedName() {
    const std::lock_guard guard(lock);
    return published.name;
}

/// Returns the name to show. `name` is the one that the newest picture points at.
std::string Recognition::agreedName(const std::string& name) {
    agreeCount = name == candidateName ? agreeCount + 1 : 1;
    candidateName = name;
    if (agreeCount >= agreement) return name;
    const std::lock_guard guard(lock);
    return published.present ? published.name : std::string();
}

void Recognition::greet(const std::string& name, uint64_t now) {
    if (greetedThisVisit || name.empty()) return;
    greetedThisVisit = true;
    bool isDue = false;
    {
        const std::lock_guard guard(lock);
        for (Person& person : people.list) {
            // 0 means never greeted. Without this check nobody would be greeted in the first half hour of the
            // clock.
            const bool isLongAgo = person.lastGreetTick == 0 || now - person.lastGreetTick > greetPauseMs;
            if (person.name != name || !isLongAgo || !onGreet) continue;
            person.lastGreetTick = now;
            isDue = true;
        }
    }
    if (!isDue) return;
    // The camera thread only waits for the greeting of an earlier visit.
    if (greeting.joinable()) greeting.join();
    greeting = std::thread([greet = onGreet, name] {
        try {
            greet(name);
        } catch (const std::exception& error) {
            logLine("greeting ended by an unexpected error: %s", error.what());
        } catch (...) {
            logLine("greeting ended by an unexpected error of an unknown kind");
        }
    });
}

void Recognition::publish(const Sighting& seen) {
    const std::lock_guard guard(lock);
    published = seen;
}
