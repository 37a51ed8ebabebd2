#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "core/CommandLine.h"
#include "core/Companion.h"
#include "core/Help.h"
#include "core/WindowMode.h"
#include "core/modes/AskMode.h"
#include "core/modes/CameraTestMode.h"
#include "core/modes/CaptureMode.h"
#include "core/modes/FaceTestMode.h"
#include "core/modes/MicCaptureMode.h"
#include "core/modes/SearchMode.h"
#include "core/modes/WavTestMode.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "platform/system.h"

namespace {

int runMode(Companion& companion, const ModeChoice& choice, const std::string& commandLine) {
    switch (choice.mode) {
        case RunMode::ask:
            return runAskMode(companion, stripQuotes(choice.arguments));
        case RunMode::search:
            return runSearchMode(companion, stripQuotes(choice.arguments));
        case RunMode::wavTest:
            return runWavTestMode(companion, wavTestOrder(choice.arguments));
        case RunMode::micCapture:
            return runMicCaptureMode(companion, micCaptureOrder(choice.arguments));
        case RunMode::faceTest:
            return runFaceTestMode(companion.eyes, companion.bringUp.faceModels, facePaths(choice.arguments));
        case RunMode::cameraTest:
            return runCameraTestMode(companion, cameraTestOrder(choice.arguments, commandLine));
        case RunMode::capture:
            return runCaptureMode(commandLine, companion.settings.sizePx);
        case RunMode::window:
            break;
    }
    return runWindowMode(companion);
}

int run(const std::vector<std::string>& arguments) {
    const std::string commandLine = commandLineText(arguments);
    const ModeChoice choice = chooseMode(commandLine);
    // Only a picture can be taken beside a running companion. Every other mode would share its files and
    // servers.
    const SingleInstance instance("Velu.Desktop.SingleInstance");
    if (!instance.isFirst() && choice.mode != RunMode::capture) return 0;
    Settings& settings = Settings::instance();
    settings.load();
    Companion companion(settings);
    theCompanion = &companion;
    return runMode(*theCompanion, choice, commandLine);
}

}  // namespace

int main(int argc, char** argv) {
    prepareProcess();
    try {
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        if (!arguments.empty() && arguments[0] == "--help") return std::fputs(helpText(), stdout) < 0;
        if (!arguments.empty() && arguments[0] == "--version") return std::fputs(versionText(), stdout) < 0;
        return run(arguments);
    } catch (const std::exception& error) {
        logLine("ended by an unexpected error: %s", error.what());
        return 1;
    }
}
