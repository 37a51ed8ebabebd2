#include "engines/EngineFolders.h"

#include "foundation/Files.h"
#include "foundation/Paths.h"

std::string createdFolder(const std::string& name) {
    std::string path = joinPath(dataFolder(), name);
    createFolder(path);
    return path;
}

std::string modelsFolder() {
    return createdFolder("models");
}
