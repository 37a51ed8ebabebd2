#pragma once

#include <cstdint>

#include "platform/camera.h"

// The messages between Velu and `velu-camera`, the program that takes its pictures, over the socket that is
// that program's standard input. Both come from one build, so values are sent as they are in memory.
//
//   velu-camera list v4l2|pipewire      answers with a line of JSON, the subsystem's cameras:
//                                       [{"id", "file", "name", "grey", "sizes": [[width, height], ...]},
//                                       ...]
//   velu-camera open ID WIDTH HEIGHT    sends the first picture as `CameraReply` number 1, then one for each
//                                       `CameraWish`, until something goes wrong or it is killed

/// Asks for the camera's next picture, and replaces an earlier wish that is still open.
struct CameraWish {
    uint32_t number = 0;  ///< counted up from 2
};

/// With `running` a picture, followed by its width * height * 4 bytes; with any other state the last message.
struct CameraReply {
    CameraState state = CameraState::running;
    uint32_t number =
        0;  ///< of the wish that the picture answers; otherwise an error as in `Camera::errorCode`
    int32_t width = 0;
    int32_t height = 0;
};
