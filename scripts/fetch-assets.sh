#!/usr/bin/env bash
# fetch-assets.sh
# Fetches what Velu can't bring along into assets/: libvosk and its small English model, which tell the name from other
# words better than what is built in, and the two networks without which Velu has no eyes. The next build puts them
# beside the program. What is there already isn't fetched again, and one that can't be had doesn't keep the others away.
# libvosk comes out of its Python package. Of it, of its model's archive and of the face embedder there is no check sum
# here, so what has come is only looked at for its form.
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
    echo "fetch-assets.sh: fetching libvosk" >&2
    pip download vosk==0.3.45 --no-deps --only-binary=:all: --dest "$work" > "$work/pip.log" 2>&1 ||
        { tail -n 3 "$work/pip.log" >&2; problem "libvosk couldn't be fetched; is there a network?"; return; }
    unzip -q -o "$work"/vosk-*.whl vosk/libvosk.so -d "$work" ||
        { problem "the package holds no libvosk.so"; return; }
    mv "$work/vosk/libvosk.so" "$library"
}

fetch_model() {
    echo "fetch-assets.sh: fetching libvosk's model" >&2
    curl -fsSL -o "$work/model.zip" https://alphacephei.com/vosk/models/vosk-model-small-en-us-0.15.zip ||
        { problem "the model couldn't be fetched; is there a network?"; return; }
    unzip -q "$work/model.zip" -d "$work" || { problem "what came isn't the model's archive"; return; }
    [ -s "$work/vosk-model-small-en-us-0.15/am/final.mdl" ] || { problem "the archive holds no model"; return; }
    mkdir -p "$model" && cp -r "$work/vosk-model-small-en-us-0.15/." "$model"
}

# fetch_network PLACE NAME LEAST_BYTES [SUM]
# What is smaller is the note that stands for a large file, or a page that says why there is none.
fetch_network() {
    echo "fetch-assets.sh: fetching ${1##*/}" >&2
    curl -fsSL -o "$work/$2" "$zoo/$1" ||
        { problem "${1##*/} couldn't be fetched; is there a network?"; return; }
    [ "$(stat -c %s "$work/$2")" -ge "$3" ] || { problem "what came isn't the network"; return; }
    [ $# -lt 4 ] || echo "$4  $work/$2" | sha256sum --check --status ||
        { problem "what came as ${1##*/} is another file"; return; }
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
echo "fetch-assets.sh: all is in assets/; build again to use it" >&2
