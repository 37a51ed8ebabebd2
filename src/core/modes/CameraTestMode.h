#pragma once

#include <cstdint>
#include <string>

class Companion;

/// How long the camera is watched, and whether the face that it sees is learnt meanwhile.
struct CameraTestOrder {
    int32_t seconds = 0;
    bool enroll = false;
};

/// Reads "SECONDS" at the beginning of what stands behind the switch, and "--enroll" anywhere on the command
/// line. What isn't a number counts as 0.
CameraTestOrder cameraTestOrder(const std::string& arguments, const std::string& commandLine);

/// The run mode `--camtest`: watches through the camera and tells once a second who is seen; the newest
/// picture is left as "cam-debug.png" in the data folder. In its third second the face is learnt as
/// "Tester", if that is wanted. Ends early when the program is asked to end. Returns the exit code: 1
/// without models.
int runCameraTestMode(Companion& companion, const CameraTestOrder& order);
