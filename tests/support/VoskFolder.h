#pragma once

#include <string>

#include "support/TemporaryFolder.h"

/// A temporary folder of assets: a model folder for libvosk, with the stand-in FakeVosk.cpp beside it. Throws
/// when the folder can't be filled.
struct VoskFolder {
    VoskFolder();

    TemporaryFolder assets;
    std::string model;    ///< full path of the model folder, under the name that Velu looks for
    std::string library;  ///< full path of the stand-in
};
