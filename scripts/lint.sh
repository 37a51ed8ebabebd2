#!/usr/bin/env bash
# lint.sh [--fix]
# Checks the format of all sources with clang-format, and the sources under src/ with clang-tidy, which takes some
# minutes. With --fix it formats all sources and checks nothing.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-packages.sh" build test lint
cd "$root"
mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h')
if [ "${1-}" = --fix ]; then
    clang-format -i "${sources[@]}"
    exit
fi
echo "lint.sh: checking the format of ${#sources[@]} files" >&2
clang-format --dry-run --Werror "${sources[@]}"

echo "lint.sh: running clang-tidy" >&2
scripts/build.sh release -DBUILD_TESTING=ON --
mapfile -t compiled < <(git ls-files --cached --others --exclude-standard -- 'src/*.cpp')
printf '%s\n' "${compiled[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy --quiet --extra-arg=-Wno-unknown-warning-option \
    -p build/release 2> build/release/tidy.log ||
    { grep -v 'warnings generated' build/release/tidy.log >&2; exit 1; }
echo "lint.sh: nothing found" >&2
