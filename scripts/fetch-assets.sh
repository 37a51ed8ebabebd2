#!/usr/bin/env bash
# fetch-assets.sh
# Downloads optional files into assets/: libvosk with its small English model, an alternative to the built-in wake-word
# recogniser, and the two face models that Velu needs to see people. The next build copies them beside the program.
# Files that are already there aren't downloaded again, and a failed download doesn't stop the others.
# libvosk is taken from its Python package. Only the face detector has a checksum here; the other downloads are checked
# for their format or size.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
library=$root/assets/libvosk.so
model=$root/assets/vosk-model-small-en-us-0.15
networks=$root/assets/models
zoo=https://github.com/opencv/opencv_zoo/raw/main/models
detector_sum=8f2383e4dd3cfbb4553ea8718107fc0423210dc964f9f4280604804ed2552fa4
"$root/scripts/install-packages.sh" fetch
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

problem() {
    echo "fetch-assets.sh: $1" >&2
    return 1
}

fetch_library() {
    echo "fetch-assets.sh: downloading libvosk" >&2
    pip download vosk==0.3.45 --no-deps --only-binary=:all: --dest "$work" > "$work/pip.log" 2>&1 ||
        { tail -n 3 "$work/pip.log" >&2; problem "libvosk couldn't be downloaded; is there a network?"; return; }
    unzip -q -o "$work"/vosk-*.whl vosk/libvosk.so -d "$work" ||
        { problem "the package contains no libvosk.so"; return; }
    mv "$work/vosk/libvosk.so" "$library"
}

fetch_model() {
    echo "fetch-assets.sh: downloading libvosk's model" >&2
    curl -fsSL -o "$work/model.zip" https://alphacephei.com/vosk/models/vosk-model-small-en-us-0.15.zip ||
        { problem "libvosk's model couldn't be downloaded; is there a network?"; return; }
    unzip -q "$work/model.zip" -d "$work" || { problem "the downloaded file isn't a ZIP archive"; return; }
    [ -s "$work/vosk-model-small-en-us-0.15/am/final.mdl" ] || { problem "the archive contains no model"; return; }
    mkdir -p "$model" && cp -r "$work/vosk-model-small-en-us-0.15/." "$model"
}

# fetch_network PATH NAME MIN_BYTES [SHA256]
# A smaller file is a pointer to a large file, or an error page.
fetch_network() {
    echo "fetch-assets.sh: downloading ${1##*/}" >&2
    curl -fsSL -o "$work/$2" "$zoo/$1" ||
        { problem "${1##*/} couldn't be downloaded; is there a network?"; return; }
    [ "$(stat -c %s "$work/$2")" -ge "$3" ] || { problem "the download for ${1##*/} is too small"; return; }
    [ $# -lt 4 ] || echo "$4  $work/$2" | sha256sum --check --status ||
        { problem "the checksum of ${1##*/} is wrong"; return; }
    mv "$work/$2" "$networks/$2"
}

missing=()
[ -f "$library" ] || fetch_library || missing+=(libvosk)
[ -s "$model/am/final.mdl" ] || fetch_model || missing+=("libvosk's model")
[ -s "$networks/yunet.onnx" ] ||
    fetch_network face_detection_yunet/face_detection_yunet_2023mar.onnx yunet.onnx 200000 "$detector_sum" ||
    missing+=("the face detector (yunet.onnx)")
[ -s "$networks/sface.onnx" ] ||
    fetch_network face_recognition_sface/face_recognition_sface_2021dec.onnx sface.onnx 1000000 ||
    missing+=("the face embedder (sface.onnx)")
if [ ${#missing[@]} -gt 0 ]; then
    printf 'fetch-assets.sh: still missing: %s\n' "${missing[@]}" >&2
    exit 1
fi
echo "fetch-assets.sh: all files are in assets/; build again to use them" >&2
