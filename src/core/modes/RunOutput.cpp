#include "core/modes/RunOutput.h"

#include <cstdio>

#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "foundation/Text.h"

namespace {

std::string outputPath() {
    return joinPath(dataFolder(), "ask-output.txt");
}

void show(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

}  // namespace

void RunOutput::writeWhole(const std::string& text) {
    writeWholeFile(outputPath(), text);
    const bool endsLine = !text.empty() && text.back() == '\n';
    show(endsLine ? text : text + "\n");  // a terminal's prompt belongs on a line of its own
}

RunOutput::RunOutput() : path(outputPath()) {
    writeWholeFile(path, "");
}

void RunOutput::add(const std::string& line) const {
    const std::string whole = repairUtf8(line) + "\n";
    appendOutputLine(path, whole);
    show(whole);
}
