#!/usr/bin/env bash
# test.sh [--sanitize] [ctest arguments]
# Installs the packages that are needed, builds Velu and its tests, and runs the tests. With --sanitize it builds and
# runs them under AddressSanitizer with UndefinedBehaviorSanitizer, then under ThreadSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")" && pwd)
presets=(release)
if [ "${1-}" = --sanitize ]; then
    presets=(asan tsan)
    shift
fi
# strict_string_checks stays off: libxkbcommon, a dependency of Qt, calls strndup on strings without a terminating zero.
# intercept_tls_get_addr stays off: gcc 12's AddressSanitizer guesses the size of thread-local blocks from the memory in
# front of them, and sometimes crashes.
export ASAN_OPTIONS=${ASAN_OPTIONS:-intercept_tls_get_addr=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-print_suppressions=0:suppressions=$root/cmake/lsan-suppressions.txt}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1:suppressions=$root/cmake/tsan-suppressions.txt}

"$root/scripts/install-packages.sh" build test
"$root/scripts/fetch-onnxruntime.sh"
for preset in "${presets[@]}"; do
    echo "test.sh: building and running the tests ($preset)" >&2
    settings=()
    [ "$preset" != release ] || settings=(-DBUILD_TESTING=ON)
    "$root/scripts/build.sh" "$preset" "${settings[@]}" --
    ctest --test-dir "$root/build/$preset" --output-on-failure --no-tests=error -j "$(nproc)" "$@"
done
