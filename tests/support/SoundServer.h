#pragma once

#include <signal.h>

#include <memory>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"
#include "support/TestProgram.h"

/// A sound server of the test's own, that programs and this process find in place of the user's. What is
/// played goes to "speaker"; what is played to "room" is what the microphone "microphone" hears.
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

private:
    TemporaryFolder folder;
    std::unique_ptr<TestProgram> server;
    std::unique_ptr<TestProgram> recorder;
};
