#include "support/TemporaryFolder.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

TemporaryFolder::TemporaryFolder() : path(std::filesystem::temp_directory_path() / "velu-test-XXXXXX") {
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no folder for throw-away files");
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}
