#!/usr/bin/env bash
# fuzz.sh [SECONDS [TARGET...]]
# Builds the fuzz targets and runs each for that long (60 seconds if not given), two at a time. What they learn is
# kept under build/fuzz/corpus for the next run. A finding ends with an exit code that isn't 0 and the path of the
# input that shows it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
[ $# -eq 0 ] || shift
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for source in "$root"/tests/fuzz/Fuzz*.cpp; do
        targets+=("$(basename "$source" .cpp)")
    done
fi
"$root/scripts/install-packages.sh" build fuzz
"$root/scripts/build.sh" fuzz -- "${targets[@]}"

cd "$root/build/fuzz"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

# Inputs of 16 KiB hold any reply; 5 seconds or 512 MB is a finding too.
fuzz() {
    mkdir -p "corpus/$1" "findings/$1"
    echo "fuzz.sh: $1 for $seconds s" >&2
    if "tests/fuzz/$1" -max_total_time="$seconds" -max_len=16384 -timeout=5 -rss_limit_mb=512 -print_final_stats=1 \
        -artifact_prefix="findings/$1/" "corpus/$1" "$root/tests/fuzz/corpus/$1" > "$1.log" 2>&1; then
        echo "fuzz.sh: $1 found nothing in $(sed -n 's/^stat::number_of_executed_units: *//p' "$1.log") inputs" >&2
        return
    fi
    tail -n 40 "$1.log" >&2
    echo "fuzz.sh: $1 has a finding; the whole report is in build/fuzz/$1.log, the input in" \
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
