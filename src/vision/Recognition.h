#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "vision/Face.h"
#include "vision/People.h"
#include "vision/Sighting.h"

/// Gives faces their names. A name counts when two pictures in a row agree on it; those who are known are
/// learnt anew as they change; who comes back is greeted. Time is handed in, in ticks of `tickCount`.
///
/// Threads: as each operation says; `lock` is held for as long as it takes to compare a face with those that
/// are known, and never while something is written.
class Recognition {
public:
    /// Turns a face into its embedding. False when it can't.
    using Embed = std::function<bool(const Face& face, std::vector<float>& out)>;

    ~Recognition() { end(); }

    /// Called with the name of someone who is to be greeted, on a thread of its own. Set before the first
    /// picture; may be empty.
    std::function<void(const std::string& name)> onGreet;

    // Any thread.

    [[nodiscard]] Sighting sighting();

    /// Remembers the face that is seen under this name. Returns the sentence for the user.
    std::string learnFace(const std::string& name, bool isCameraOn, uint64_t now);

    /// Those who are known: from "people.json" in the data folder, or into it. Nobody is told of a failure. A
    /// file of which something couldn't be read isn't lost: it is renamed to "people-old.json" before the
    /// first saving.
    void loadPeople();
    void savePeople();

    // The camera's thread.

    /// A camera was opened.
    void begin(uint64_t now);

    /// Makes what it can of the faces in a picture of this size.
    void recognise(const std::vector<Face>& faces, int32_t width, int32_t height, const Embed& embed,
                   uint64_t now);

    /// The camera was closed, and its thread has ended: nobody is looked at any more. The newest face stays
    /// known. Waits for a greeting that is on its way. Any thread.
    void end();

private:
    void noteAbsence(uint64_t now);
    [[nodiscard]] std::string nameOf(const Face& face, const Embed& embed, uint64_t now);
    [[nodiscard]] std::string publishedName();
    [[nodiscard]] std::string agreedName(const std::string& name);
    void greet(const std::string& name, uint64_t now);
    void publish(const Sighting& seen);

    std::mutex lock;
    Sighting published;                ///< guarded by `lock`
    std::vector<float> lastEmbedding;  ///< of the newest face, while it may be learnt; guarded by `lock`
    People people;                     ///< guarded by `lock`

    std::mutex fileLock;     ///< of the people's file; taken before `lock`
    bool isFileOdd = false;  ///< something in it couldn't be read; guarded by `fileLock`

    // The camera's thread only.
    std::string candidateName;      ///< the last name that the pictures pointed at
    int32_t agreeCount = 0;         ///< how many in a row
    bool greetedThisVisit = false;  ///< somebody's name was seen since they came
    uint64_t lastEmbedTick = 0;
    uint64_t lastLearnTick = 0;  ///< when an embedding was learnt without being told to
    uint64_t lastFaceTick = 0;
    std::thread greeting;
};
