#pragma once

#include <cstdint>
#include <string>

class Companion;

/// What `--camtest` is to do.
struct CameraTestOrder {
    int32_t seconds = 0;  ///< how long to watch
    bool enroll = false;  ///< learn the face meanwhile
};

/// Reads "SECONDS" at the beginning of `arguments`, and "--enroll" anywhere on the command line. What isn't a
/// number counts as 0.
CameraTestOrder cameraTestOrder(const std::string& arguments, const std::string& commandLine);

/// The run mode `--camtest`: watches through the camera, reports once a second who is seen, and keeps the
/// newest picture as "cam-debug.png" in the data folder. In the third second it learns the face as "Tester",
/// if the order says so. Ends early when the program is asked to end. Returns the exit code: 1
/// when the models can't be loaded.
int runCameraTestMode(Companion& companion, const CameraTestOrder& order);
