#pragma once

#include <signal.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/camera.h"
#include "support/TemporaryFolder.h"
#include "support/TestProgram.h"

/// A PipeWire of the test's own, that this process finds in place of the user's, and cameras to be plugged
/// into it. The cameras of the machine itself aren't there for it.
///
/// It sets the environment, so it is made before there are threads.
class CameraServer {
public:
    /// Running, without a camera. Throws when it doesn't come up.
    CameraServer();

    /// Ended without a word to those that are connected, and up again with the same cameras.
    void stop();
    void start();

    /// Hung: connected, and deaf to everything. What streams already goes on.
    void pause() { server->signal(SIGSTOP); }
    void resume() { server->signal(SIGCONT); }

    /// Plugs in a camera that its user knows by this name. It shows grey at first. `offers` is what it can
    /// do, in its own order: "YUY2:640x480@15" for pictures of that format and size 15 times a second; the
    /// formats are YUY2, RGB, RGBx, GRAY8 and MJPG, and H264, which it can't play.
    void plugIn(const std::string& name, const std::vector<std::string>& offers);

    /// Out, without a word.
    void unplug(const std::string& name);

    /// The camera hangs, and goes on.
    void pauseCamera(const std::string& name) { cameras.at(name).player->signal(SIGSTOP); }
    void resumeCamera(const std::string& name) { cameras.at(name).player->signal(SIGCONT); }

    /// What a camera shows from its next picture on, stretched to the size at which it runs.
    void show(const std::string& name, const CameraFrame& picture);

private:
    struct Plugged {
        std::string file;  ///< what it shows
        std::vector<std::string> offers;
        std::unique_ptr<TestProgram> player;
    };
    void play(const std::string& name, Plugged& camera);

    TemporaryFolder folder;
    std::unique_ptr<TestProgram> server;
    std::unique_ptr<TestProgram> sessionManager;  ///< connects who wants a camera with the camera
    std::map<std::string, Plugged> cameras;
    int32_t plugged = 0;
};
