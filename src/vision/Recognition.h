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

/// Names faces. A name is shown when two pictures in a row agree on it. Faces of known people are learnt
/// again as they change, and people who come back are greeted. Times are ticks of `tickCount`.
///
/// Threads: as each operation says. `lock` is held while a face is compared with the known ones, and never
/// while a file is written.
class Recognition {
public:
    /// Computes a face's embedding. Returns false on failure.
    using Embed = std::function<bool(const Face& face, std::vector<float>& out)>;

    ~Recognition() { end(); }

    /// Called on a thread of its own with the name of a person to greet. May be empty. Must be set before the
    /// first picture. What it throws ends in the log.
    std::function<void(const std::string& name)> onGreet;

    // Any thread.

    [[nodiscard]] Sighting sighting();

    /// Stores the visible face under this name. Returns a sentence for the user.
    std::string learnFace(const std::string& name, bool isCameraOn, uint64_t now);

    /// Load the known people from "people.json" in the data folder, and save them there. Failures only go to
    /// the log. A file that couldn't be read completely is renamed to "people-old.json" before the first
    /// save.
    void loadPeople();
    void savePeople();

    // The camera's thread.

    /// Starts a visit: a camera was opened.
    void begin(uint64_t now);

    /// Updates the sighting from the faces in a picture of this size.
    void recognise(const std::vector<Face>& faces, int32_t width, int32_t height, const Embed& embed,
                   uint64_t now);

    /// Ends the visit: the camera thread has ended, and nobody is seen any more. The newest face can still be
    /// learnt later. Waits for a running greeting. Any thread.
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
    std::vector<float> lastEmbedding;  ///< of the newest face that can be learnt; guarded by `lock`
    People people;                     ///< guarded by `lock`

    std::mutex fileLock;     ///< guards "people.json"; taken before `lock`
    bool isFileOdd = false;  ///< it couldn't be read completely; guarded by `fileLock`

    // The camera's thread only.
    std::string candidateName;      ///< the last name that the pictures pointed at
    int32_t agreeCount = 0;         ///< number of pictures in a row that pointed at it
    bool greetedThisVisit = false;  ///< somebody was named in this visit
    uint64_t lastEmbedTick = 0;
    uint64_t lastLearnTick = 0;  ///< when an embedding was last learnt automatically
    uint64_t lastFaceTick = 0;
    std::thread greeting;
};
