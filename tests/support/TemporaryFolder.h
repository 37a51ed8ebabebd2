#pragma once

#include <string>

/// A fresh folder for throw-away files; it goes with everything in it when the object does.
struct TemporaryFolder {
    std::string path;  ///< full path, without a slash at its end

    /// Ends the process when no folder can be made: no test could go on.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};
