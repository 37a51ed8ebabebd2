#pragma once

/// What the program names differently from one operating system to the next: its words for the user's system,
/// and the names under which the engines are published for it. One place to change. Constant.
struct PlatformTexts {
    const char* desktop;         ///< where the head floats, in the system prompt
    const char* noEngineBuild;   ///< status line: no release has an engine for this system
    const char* engineProgram;   ///< file name of the language-model server
    const char* gpuEngineAsset;  ///< part of the name of the release asset that runs on the GPU
    const char* cpuEngineAsset;  ///< the same for the processor
    const char* deviceFailed;    ///< log line: no way to draw; before the system's number for the reason
    const char* surfaceFailed;  ///< log line: nothing to draw into; before the system's number for the reason
    const char* rendererFailed;     ///< message box: the head can't be drawn
    const char* startAtLogon;       ///< settings window: the check box for starting with the user's logon
    const char* defaultMicrophone;  ///< the microphone that the system chooses: settings window, log
    const char* noSpeechBuild;      ///< status line: no release has a speech engine for this system
    const char* speechProgram;      ///< file name of the speech-to-text server
    const char* speechAsset;        ///< whole name of the release asset that it comes in
    const char* cudaSpeechAsset;    ///< end of the name of the one that runs on an NVIDIA card
    const char*
        microphoneFailed;  ///< log line: it can't be opened; before the system's number for the reason
    const char* microphoneUnusable;  ///< bubble: the microphone is there and can't be opened
    const char* microphoneDeaf;      ///< bubble: it is open and brings nothing
    const char* cameraUnusable;      ///< bubble: the camera is there and can't be opened
    const char* cameraDark;          ///< bubble: it shows nothing but black
};

extern const PlatformTexts platformTexts;
