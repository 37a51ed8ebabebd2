#include "core/CommandLine.h"

#include "foundation/Text.h"

namespace {

struct ModeSwitch {
    std::string_view text;
    RunMode mode;
};

constexpr ModeSwitch switches[] = {
    {"--search ", RunMode::search},      {"--wavtest ", RunMode::wavTest},
    {"--miccap ", RunMode::micCapture},  {"--facetest ", RunMode::faceTest},
    {"--camtest ", RunMode::cameraTest}, {"--ask ", RunMode::ask},
    {"--shot", RunMode::capture},
};

}  // namespace

std::string commandLineText(const std::vector<std::string>& arguments) {
    std::string text;
    for (const std::string& argument : arguments) {
        if (&argument != &arguments.front()) text += ' ';
        text += argument.find(' ') == std::string::npos ? argument : '"' + argument + '"';
    }
    return repairUtf8(std::move(text));
}

ModeChoice chooseMode(const std::string& commandLine) {
    for (const ModeSwitch& candidate : switches) {
        const size_t at = commandLine.find(candidate.text);
        if (at != std::string::npos) return {candidate.mode, commandLine.substr(at + candidate.text.size())};
    }
    return {};
}

std::string stripQuotes(std::string_view text) {
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return std::string(quoted ? text.substr(1, text.size() - 2) : text);
}
