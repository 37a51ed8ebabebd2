#include "core/Speaking.h"

#include <algorithm>

namespace {

constexpr uint64_t msPerByte = 55;    // about as fast as a voice reads
constexpr uint64_t deafTailMs = 800;  // until the room and the loudspeaker are quiet

}  // namespace

void Speaking::saySilently(size_t bytes, uint64_t now) {
    silentSpeechUntil = now + msPerByte * bytes;
}

void Speaking::appendSilently(size_t bytes, uint64_t now) {
    silentSpeechUntil = std::max(silentSpeechUntil, now) + msPerByte * bytes;
}

bool Speaking::isSpeaking(int32_t pending, uint64_t now) const {
    return pending > 0 || now < silentSpeechUntil;
}

void Speaking::updateMute(int32_t pending, uint64_t now) {
    if (isSpeaking(pending, now)) muteUntil = now + deafTailMs;
}
