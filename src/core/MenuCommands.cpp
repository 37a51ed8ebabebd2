#include "core/MenuCommands.h"

#include <utility>

#include "brain/ModelCatalogue.h"
#include "core/Guard.h"
#include "foundation/Paths.h"
#include "platform/desktop.h"
#include "platform/system.h"

namespace {

void setAsleep(Companion& companion, bool asleep) {
    companion.asleep = asleep;
    if (asleep) {
        companion.conversation.stopSpeaking();
        companion.bubble.hide();
    } else {
        companion.animator.startWink();
    }
}

void setVoiceOn(Companion& companion, bool on) {
    companion.settings.voiceOn = on;
    if (!on) companion.voice.stop();
    companion.settings.save();
}

/// Drops what was heard and has had no answer yet.
void stopListening(Companion& companion) {
    companion.transcriptions.forget();
    companion.conversation.stopListening();
}

void setMicOn(Companion& companion, bool on) {
    companion.settings.micOn = on;
    companion.settings.save();
    if (on) {
        companion.bringUp.startEarsWorker();
    } else {
        companion.bringUp.stopEars();
        stopListening(companion);
    }
}

void setCamOn(Companion& companion, bool on) {
    companion.settings.camOn = on;
    companion.settings.save();
    if (on)
        companion.bringUp.startEyesWorker();
    else
        companion.bringUp.stopEyes();
}

void retryDownload(Companion& companion) {
    const MenuState state = menuState(companion);
    companion.conversation.showNotice("Trying again - one moment...");
    if (state.canRetryBrain) companion.bringUp.startBrainWorker();
    if (state.canRetryEars) companion.bringUp.startEarsWorker();
}

/// Applies settings that were saved.
void applySettings(Companion& companion, bool modelChanged) {
    const Settings& settings = companion.settings;
    setRunAtStartup(settings.startWithWindows);
    companion.voice.chooseVoice(settings.voiceName.get());
    if (!settings.voiceOn) companion.voice.stop();
    companion.placeWindow(true);
    if (modelChanged) companion.bringUp.startBrainWorker();
    companion.bringUp.stopEyes();
    companion.bringUp.startEyesWorker();
    companion.bringUp.restartEars();
    if (!settings.micOn) stopListening(companion);
}

void openSettings(Companion& companion) {
    SettingsChoices choices;
    for (const ModelInfo& model : companion.brain.catalogue)
        choices.models.push_back(model.label);
    choices.voices = companion.voice.listVoices();
    choices.microphones = Ears::listDevices();
    const Rect head = companion.window->rect();
    const Rect workArea =
        companion.desktop->workAreaNearest({(head.left + head.right) / 2, (head.top + head.bottom) / 2});
    SettingsCallbacks callbacks;
    callbacks.clearConversation =
        guardedCallback("settings window", [&companion] { companion.assistant.clearConversation(); });
    callbacks.forget =
        guardedCallback("settings window", [&companion] { companion.assistant.forgetEverything(); });
    callbacks.saved = guardedCallback(
        "settings window", [&companion](bool modelChanged) { applySettings(companion, modelChanged); });
    companion.settingsWindow.open(*companion.desktop, companion.settings, choices, workArea, systemDpi(),
                                  std::move(callbacks));
}

}  // namespace

MenuState menuState(const Companion& companion) {
    const Settings& settings = companion.settings;
    MenuState state;
    state.asleep = companion.asleep;
    state.voiceOn = settings.voiceOn;
    state.camOn = settings.camOn;
    state.micOn = settings.micOn;
    state.canRetryBrain = canRetryBrain(companion.bringUp.brainReady, companion.bringUp.brainStarting,
                                        companion.conversation.thinking);
    state.canRetryEars =
        canRetryEars(settings.micOn, companion.bringUp.earsFailed, companion.bringUp.earsStarting);
    return state;
}

void carryOut(Companion& companion, MenuCommand command) {
    const Settings& settings = companion.settings;
    switch (command) {
        case MenuCommand::ask:
            companion.bubble.openChat();
            break;
        case MenuCommand::speakReplies:
            setVoiceOn(companion, !settings.voiceOn);
            break;
        case MenuCommand::spin:
            companion.animator.startSpin();
            break;
        case MenuCommand::wink:
            companion.animator.startWink();
            break;
        case MenuCommand::sleep:
            setAsleep(companion, !companion.asleep);
            break;
        case MenuCommand::listen:
            setMicOn(companion, !settings.micOn);
            break;
        case MenuCommand::useCamera:
            setCamOn(companion, !settings.camOn);
            break;
        case MenuCommand::settings:
            openSettings(companion);
            break;
        case MenuCommand::openDataFolder:
            openOnDesktop(dataFolder());
            break;
        case MenuCommand::quit:
            companion.windowProc(Destroy{});
            break;
        case MenuCommand::retryDownload:
            retryDownload(companion);
            break;
    }
}
