#!/usr/bin/env bash
# bench/run.sh [BENCHMARK...]
# Builds the benchmarks, all of them or the named ones, and runs them one after the other. The figures are for a person
# to read. The exit code is 1 if a benchmark couldn't measure.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
benchmarks=("$@")
[ ${#benchmarks[@]} -gt 0 ] || benchmarks=(
    SentenceLatency DownloadThroughput AskStart HtmlToText HeadFrame IdleCompanion SpokenReply Listening WakeWord
    FaceNetworks Watching)
"$root/scripts/install-packages.sh" build test bench
"$root/scripts/fetch-onnxruntime.sh" || true  # only FaceNetworks and Watching need it
"$root/scripts/build.sh" release -DBUILD_TESTING=ON -- "${benchmarks[@]}"
if [[ " ${benchmarks[*]} " = *" WakeWord "* ]]; then
    echo "run.sh: generating the speech for WakeWord" >&2
    python3 "$root/bench/wake-corpus.py" "$root/build/release/wake-corpus"
fi
status=0
for benchmark in "${benchmarks[@]}"; do
    "$root/build/release/bench/$benchmark" || status=1
done
exit "$status"
