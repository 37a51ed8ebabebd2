#include "platform/texts.h"

// The releases of the engine name the processor that a build is for; an engine must match ours.
#ifdef __aarch64__
#define VELU_ENGINE_PROCESSOR "arm64"
#else
#define VELU_ENGINE_PROCESSOR "x64"
#endif

// The sentences name Windows and its interfaces on purpose: their wording is the same on every system.
const PlatformTexts platformTexts = {
    "Windows desktop",
    "No Windows CPU build found in the latest release.",
    "llama-server",
    "bin-ubuntu-vulkan-" VELU_ENGINE_PROCESSOR ".tar.gz",
    "bin-ubuntu-" VELU_ENGINE_PROCESSOR ".tar.gz",
    "D3D11CreateDevice failed ",
    "CreateSwapChainForComposition failed ",
    "Velu couldn't start her 3D renderer (see velu.log in %LOCALAPPDATA%\\Velu).",
    "Start Velu when Windows starts",
    "Windows default",
    "No Windows speech engine build found.",
    "whisper-server",
    "whisper-bin-ubuntu-" VELU_ENGINE_PROCESSOR ".tar.gz",
    VELU_ENGINE_PROCESSOR ".tar.gz",
    "waveInOpen failed: ",
    "I couldn't open the microphone. Check Windows Settings > Privacy > Microphone.",
    "I can't hear anything. Check Windows Settings > Privacy > Microphone and allow desktop apps.",
    "I couldn't open the camera. Check Windows Settings > Privacy > Camera and allow desktop apps.",
    "My camera only shows black. Check the privacy shutter or Windows camera privacy settings.",
};
