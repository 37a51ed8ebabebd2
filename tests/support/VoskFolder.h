#pragma once

#include <string>

#include "support/TemporaryFolder.h"

/// A throw-away folder of assets with the stand-in for libvosk beside a model folder of libvosk's kind.
/// FakeVosk.cpp says what the stand-in hears.
struct VoskFolder {
    /// Fails the current test when the folder can't be filled.
    VoskFolder();

    TemporaryFolder assets;
    std::string model;    ///< full path of the model folder, which has the name that Velu looks for
    std::string library;  ///< full path of the stand-in
};
