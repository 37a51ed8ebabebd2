#pragma once

#include <string>

/// A fresh folder for throw-away files. It goes with everything in it when the object does.
struct TemporaryFolder {
    std::string path;  ///< full path, without a slash at its end

    TemporaryFolder();  ///< throws when no folder can be made
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};
