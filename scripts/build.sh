#!/usr/bin/env bash
# build.sh PRESET [-D...] -- [TARGET...]
# Configures the preset's build folder if that hasn't been done with these settings, and builds the targets, or
# everything. Quiet but for failures.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
preset=$1
shift
settings=()
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    settings+=("$1")
    shift
done
[ $# -eq 0 ] || shift
folder=$root/build/$preset
mkdir -p "$folder"
log=$folder/build.log

fail() {
    tail -n 60 "$log" >&2
    echo "build.sh: $1 failed; the whole of it is in build/$preset/build.log" >&2
    exit 1
}
if [ ! -f "$folder/build.ninja" ] || [ "${settings[*]-}" != "$(cat "$folder/settings.txt" 2> /dev/null)" ]; then
    (cd "$root" && cmake --preset "$preset" "${settings[@]}") > "$log" 2>&1 || fail "configuring"
    echo "${settings[*]-}" > "$folder/settings.txt"
fi
targets=()
[ $# -eq 0 ] || targets=(--target "$@")
cmake --build "$folder" "${targets[@]}" > "$log" 2>&1 || fail "the build"
