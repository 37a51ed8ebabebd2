#pragma once

#include <cstdint>

#include "platform/camera.h"

// What Velu and the program that takes its pictures, `velu-camera`, say to each other, over the socket that
// is that program's standard input. Both come out of one build, so values go as they lie in memory.
//
//   velu-camera list v4l2|pipewire      answers with a line of JSON, the subsystem's cameras:
//                                       [{"id", "file", "name", "grey", "sizes": [[width, height], ...]},
//                                       ...]
//   velu-camera open ID WIDTH HEIGHT    sends the first picture as `CameraReply` number 1, then one for each
//                                       `CameraWish`, until something goes wrong or it is killed

/// Asks for the next picture that the camera brings, in place of one that was asked for before.
struct CameraWish {
    uint32_t number = 0;  ///< counted up from 2
};

/// With `running` a picture, whose width * height * 4 bytes follow. With any other state the last word.
struct CameraReply {
    CameraState state = CameraState::running;
    uint32_t number = 0;  ///< of the wish that the picture answers; else as `Camera::errorCode` has it
    int32_t width = 0;
    int32_t height = 0;
};
