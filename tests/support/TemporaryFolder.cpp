#include "support/TemporaryFolder.h"

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    path = (error ? std::filesystem::path("/tmp") : parent) / "velu-test-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        perror("a folder for throw-away files");
        abort();
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}
