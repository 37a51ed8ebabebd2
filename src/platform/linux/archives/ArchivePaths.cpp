#include "platform/linux/archives/ArchivePaths.h"

namespace {

/// The parts between the slashes, without empty ones and ".".
std::vector<std::string> components(std::string_view path) {
    std::vector<std::string> parts;
    while (!path.empty()) {
        const size_t slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        if (!part.empty() && part != ".") {
            parts.emplace_back(part);
        }
        path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    }
    return parts;
}

}  // namespace

std::optional<std::vector<std::string>> entryComponents(std::string_view path) {
    if (path.starts_with('/')) {
        return std::nullopt;
    }
    std::vector<std::string> parts = components(path);
    for (const std::string& part : parts) {
        if (part == "..") {
            return std::nullopt;
        }
    }
    return parts;
}

bool isInsideTarget(std::string_view target, size_t depth) {
    if (target.empty() || target.starts_with('/')) {
        return false;
    }
    size_t up = 0;
    bool hasName = false;
    for (const std::string& part : components(target)) {
        if (part != "..") {
            hasName = true;
        } else if (hasName || ++up > depth) {
            return false;
        }
    }
    return true;
}
