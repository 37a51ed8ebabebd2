#include "hearing/Recording.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr size_t headerBytes = 44;

/// Returns the little-endian number of `width` bytes at `at`, which must exist.
uint32_t numberAt(std::string_view bytes, size_t at, size_t width) {
    uint32_t number = 0;
    for (size_t i = 0; i < width; ++i)
        number |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return number;
}

/// Returns the format in the chunk ahead of the samples, if it is another one than they are taken for.
std::string mismatchOf(std::string_view head) {
    constexpr size_t formatBytes = 16;
    const size_t at = head.find("fmt ");
    if (at == std::string_view::npos || head.size() - at < 8 + formatBytes) return {};
    const size_t format = at + 8;
    const uint32_t coding = numberAt(head, format, 2);
    const uint32_t channels = numberAt(head, format + 2, 2);
    const uint32_t rate = numberAt(head, format + 4, 4);
    const uint32_t bits = numberAt(head, format + 14, 2);
    if (coding == 1 && channels == 1 && rate == 16000 && bits == 16) return {};
    return "coding " + std::to_string(coding) + ", " + std::to_string(channels) + " channel(s), " +
           std::to_string(rate) + " Hz, " + std::to_string(bits) + " bits";
}

}  // namespace

RecordingError readRecording(std::string_view bytes, Recording& recording) {
    if (bytes.size() < headerBytes) return RecordingError::tooShort;
    const size_t data = bytes.find("data");
    if (data == std::string_view::npos) return RecordingError::noData;
    recording.mismatch = mismatchOf(bytes.substr(0, data));
    const std::string_view sound = bytes.substr(std::min(data + 8, bytes.size()));
    recording.samples.clear();
    recording.samples.reserve(sound.size() / 2);
    for (size_t at = 0; at + 1 < sound.size(); at += 2)
        recording.samples.push_back(static_cast<int16_t>(numberAt(sound, at, 2)));
    return RecordingError::none;
}
