#pragma once

/// Texts and names that differ between operating systems: words for the user's system, and the names of the
/// engines for it. Constant.
struct PlatformTexts {
    const char* desktop;         ///< where the head floats, in the system prompt
    const char* noEngineBuild;   ///< status line: no release has an engine for this system
    const char* engineProgram;   ///< file name of the language-model server
    const char* gpuEngineAsset;  ///< part of the name of the release asset that runs on the GPU
    const char* cpuEngineAsset;  ///< the same for the processor's build
    const char* deviceFailed;    ///< log line: drawing is impossible; the system's error number follows
    const char*
        surfaceFailed;  ///< log line: there is nothing to draw into; the system's error number follows
    const char* rendererFailed;      ///< message box: the head can't be drawn
    const char* startAtLogon;        ///< settings window: the check box for starting with the user's logon
    const char* defaultMicrophone;   ///< the microphone that the system chooses: settings window, log
    const char* noSpeechBuild;       ///< status line: no release has a speech engine for this system
    const char* speechProgram;       ///< file name of the speech-to-text server
    const char* speechAsset;         ///< whole name of the release asset with the speech-to-text server
    const char* cudaSpeechAsset;     ///< end of the name of the asset that runs on an NVIDIA card
    const char* microphoneFailed;    ///< log line: it can't be opened; the system's error number follows
    const char* microphoneUnusable;  ///< bubble: the microphone exists but can't be opened
    const char* microphoneDeaf;      ///< bubble: the microphone is open and delivers nothing
    const char* cameraUnusable;      ///< bubble: the camera exists but can't be opened
    const char* cameraDark;          ///< bubble: the camera shows only black
};

extern const PlatformTexts platformTexts;
