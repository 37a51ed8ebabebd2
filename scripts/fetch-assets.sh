#!/usr/bin/env bash
# fetch-assets.sh
# Fetches libvosk and its small English model, which tell the name from other words better than what is built in, into
# assets/. The next build puts them beside the program. What is there already isn't fetched again.
# libvosk comes out of its Python package; of that and of the model's archive there is no published check sum, so what
# has come is only looked at for its form.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
library=$root/assets/libvosk.so
model=$root/assets/vosk-model-small-en-us-0.15
"$root/scripts/install-packages.sh" fetch
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "fetch-assets.sh: $1" >&2
    exit 1
}

if [ ! -f "$library" ]; then
    echo "fetch-assets.sh: fetching libvosk" >&2
    pip download vosk==0.3.45 --no-deps --only-binary=:all: --dest "$work" > "$work/pip.log" 2>&1 ||
        { tail -n 3 "$work/pip.log" >&2; fail "libvosk couldn't be fetched; is there a network?"; }
    unzip -q -o "$work"/vosk-*.whl vosk/libvosk.so -d "$work" || fail "the package holds no libvosk.so"
    mv "$work/vosk/libvosk.so" "$library"
fi
if [ ! -s "$model/am/final.mdl" ]; then
    echo "fetch-assets.sh: fetching the model" >&2
    curl -fsSL -o "$work/model.zip" https://alphacephei.com/vosk/models/vosk-model-small-en-us-0.15.zip ||
        fail "the model couldn't be fetched; is there a network?"
    unzip -q "$work/model.zip" -d "$work" || fail "what came isn't the model's archive"
    [ -s "$work/vosk-model-small-en-us-0.15/am/final.mdl" ] || fail "the archive holds no model"
    mkdir -p "$model"
    cp -r "$work/vosk-model-small-en-us-0.15/." "$model"
fi
echo "fetch-assets.sh: libvosk and its model are in assets/; build again to use them" >&2
