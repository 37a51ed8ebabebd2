#!/usr/bin/env bash
# fuzz.sh [SECONDS [TARGET...]]
# Builds the fuzz program and runs its targets, all of them or the named ones, each for SECONDS (60 by default), two at a
# time. A target is named after its folder in tests/fuzz/corpus. New inputs are kept under build/fuzz/corpus for the next
# run. On a finding, the script prints the path of the failing input and exits with 1.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
[ $# -eq 0 ] || shift
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for corpus in "$root"/tests/fuzz/corpus/*; do
        targets+=("$(basename "$corpus")")
    done
fi
"$root/scripts/install-packages.sh" build fuzz
"$root/scripts/build.sh" fuzz -- velu-fuzz

cd "$root/build/fuzz"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

# 16 KiB is enough for every reply. More than 5 seconds or 512 MB for one input is a finding too.
fuzz() {
    mkdir -p "corpus/$1" "findings/$1"
    echo "fuzz.sh: $1 for $seconds s" >&2
    if FUZZ_TARGET=$1 tests/fuzz/velu-fuzz -max_total_time="$seconds" -max_len=16384 -timeout=5 -rss_limit_mb=512 -print_final_stats=1 \
        -artifact_prefix="findings/$1/" "corpus/$1" "$root/tests/fuzz/corpus/$1" > "$1.log" 2>&1; then
        echo "fuzz.sh: $1 found nothing in $(sed -n 's/^stat::number_of_executed_units: *//p' "$1.log") inputs" >&2
        return
    fi
    tail -n 40 "$1.log" >&2
    echo "fuzz.sh: $1 has a finding; the report is in build/fuzz/$1.log, the input in" \
        "build/fuzz/$(sed -n 's/.*Test unit written to //p' "$1.log" | tail -n 1)" >&2
    return 1
}

status=0
running=0
for target in "${targets[@]}"; do
    if [ "$running" -eq 2 ]; then
        wait -n || status=1
        running=$((running - 1))
    fi
    fuzz "$target" &
    running=$((running + 1))
done
while [ "$running" -gt 0 ]; do
    wait -n || status=1
    running=$((running - 1))
done
exit "$status"
