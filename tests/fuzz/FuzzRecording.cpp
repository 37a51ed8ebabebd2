// A sound file: whatever is in it, its samples are what stands behind "data".

#include "hearing/Recording.h"

#include "fuzz/Require.h"
#include "hearing/Transcription.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Recording recording;
    const RecordingError error = readRecording(bytes, recording);
    const size_t found = bytes.find("data");
    if (error == RecordingError::none) {
        require(size >= 44 && found != std::string::npos, "there are samples to be read");
        const size_t rest = size - std::min(size, found + 8);
        require(recording.samples.size() == rest / 2, "all that stands behind \"data\" is taken");
    } else {
        require((error == RecordingError::tooShort) == (size < 44), "too short is too short");
        require(recording.samples.empty(), "there is nothing");
    }

    Recording again;
    require(readRecording(buildWav(recording.samples), again) == RecordingError::none,
            "what we write we read");
    require(again.samples == recording.samples && again.mismatch.empty(), "and as the same");
    return 0;
}
