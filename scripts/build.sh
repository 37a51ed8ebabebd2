#!/usr/bin/env bash
# build.sh PRESET [-DNAME=VALUE...] -- [TARGET...]
# Builds the targets of a preset, or all of them. Prints nothing unless it fails.
# A setting stays with the preset's build folder until the folder is removed or the setting is given another value. So
# run.sh, test.sh and the other scripts can share build/release: a script that gives fewer settings doesn't make the
# next one build everything again.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
preset=$1
shift
folder=$root/build/$preset
mkdir -p "$folder"
log=$folder/build.log

declare -A settings=()
while read -r setting; do
    [ -z "$setting" ] || settings[${setting%%=*}]=$setting
done < <(cat "$folder/settings.txt" 2> /dev/null)
while [ $# -gt 0 ] && [ "$1" != -- ]; do
    settings[${1%%=*}]=$1
    shift
done
[ $# -eq 0 ] || shift
wanted=$(printf '%s\n' "${settings[@]}" | sort)

fail() {
    tail -n 60 "$log" >&2
    echo "build.sh: $1 failed; the whole output is in build/$preset/build.log" >&2
    exit 1
}
if [ ! -f "$folder/build.ninja" ] || [ "$wanted" != "$(cat "$folder/settings.txt" 2> /dev/null)" ]; then
    (cd "$root" && cmake --preset "$preset" "${settings[@]}") > "$log" 2>&1 || fail "configuring"
    echo "$wanted" > "$folder/settings.txt"
fi
targets=()
[ $# -eq 0 ] || targets=(--target "$@")
cmake --build "$folder" "${targets[@]}" > "$log" 2>&1 || fail "the build"
