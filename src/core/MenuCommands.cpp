#include "core/MenuCommands.h"

#include <utility>

#include "brain/ModelCatalogue.h"
#include "foundation/Paths.h"
#include "foundation/Settings.h"
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
    Settings& settings = Settings::instance();
    settings.voiceOn = on;
    if (!on) companion.voice.stop();
    settings.save();
}

/// What was being heard is dropped, wherever it is on its way.
void stopListening(Companion& companion) {
    companion.transcriptions.forget();
    companion.conversation.stopListening();
}

void setMicOn(Companion& companion, bool on) {
    Settings& settings = Settings::instance();
    settings.micOn = on;
    settings.save();
    if (on) {
        companion.bringUp.startEarsWorker();
    } else {
        companion.bringUp.stopEars();
        stopListening(companion);
    }
}

void setCamOn(Companion& companion, bool on) {
    Settings& settings = Settings::instance();
    settings.camOn = on;
    settings.save();
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

/// What has been saved already takes effect.
void applySettings(Companion& companion, bool modelChanged) {
    const Settings& settings = Settings::instance();
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
    callbacks.clearConversation = [&companion] { companion.assistant.clearConversation(); };
    callbacks.forget = [&companion] { companion.assistant.forgetEverything(); };
    callbacks.saved = [&companion](bool modelChanged) { applySettings(companion, modelChanged); };
    companion.settingsWindow.open(*companion.desktop, Settings::instance(), choices, workArea, systemDpi(),
                                  std::move(callbacks));
}

}  // namespace

MenuState menuState(const Companion& companion) {
    const Settings& settings = Settings::instance();
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
    Settings& settings = Settings::instance();
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
            companion.windowProc({MessageId::WM_DESTROY});
            break;
        case MenuCommand::retryDownload:
            retryDownload(companion);
            break;
    }
}
