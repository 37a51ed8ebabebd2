#pragma once

#include <signal.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"
#include "support/TestProgram.h"

/// A sound server of the test's own, that programs and this process find in place of the user's. What is
/// played goes to "speaker"; what is played to "room" is what its microphones hear: at first the one named
/// "microphone", which is the preferred one and is called "Room microphone" by its user.
///
/// It sets the environment, so it is made before there are threads.
class SoundServer {
public:
    /// Running. Throws when it doesn't come up.
    SoundServer();

    /// Ended without a word to those that are connected, and up again.
    void stop();
    void start();

    /// Hung: connected, and deaf to everything.
    void pause() { server->signal(SIGSTOP); }
    void resume() { server->signal(SIGCONT); }

    /// Keeps what the speaker plays from now on; once. Returns when it hears the speaker.
    void record();

    /// The loudness, root mean square of 0 to 1, of each 10 ms recorded so far.
    [[nodiscard]] std::vector<double> loudness() const;

    /// Begins to play 16 kHz mono samples into the room. What comes back ends with 0 when they have been
    /// heard; without it they end at once.
    [[nodiscard]] std::unique_ptr<TestProgram> playToRoom(const std::vector<int16_t>& samples);

    /// Plugged in, and out. Not preferred to one that is there already.
    void addMicrophone(const std::string& name, const std::string& description);
    void removeMicrophone(const std::string& name);

    /// What `pactl` does with these words; what it says. Throws when it can't.
    std::string control(std::vector<std::string> words);

private:
    TemporaryFolder folder;
    std::unique_ptr<TestProgram> server;
    std::unique_ptr<TestProgram> recorder;
    int32_t played = 0;
};
