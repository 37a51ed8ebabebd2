#!/usr/bin/env bash
# run.sh [--offline-demo] [arguments of velu]
# Installs what is needed, builds Velu and starts it with the arguments.
# --offline-demo uses a throw-away data folder with stand-ins for language model and speech recognition: no network, no
# gigabytes.
set -euo pipefail
root=$(cd "$(dirname "$0")" && pwd)
velu=$root/build/release/velu

demo=
if [ "${1-}" = --offline-demo ]; then
    demo=1
    shift
fi
targets=(velu)
[ -z "$demo" ] || targets+=(fake-llama-server fake-whisper-server)

[ -x "$velu" ] || echo "run.sh: setting up and building Velu, once; this takes a few minutes" >&2
"$root/scripts/install-packages.sh" build
"$root/scripts/fetch-onnxruntime.sh" || true  # it has said that there will be no eyes
# Whether the tests are built along is the test command's affair: its setting stays.
mapfile -t settings < <(cat "$root/build/release/settings.txt" 2> /dev/null | tr ' ' '\n' | sed '/^$/d')
"$root/scripts/build.sh" release "${settings[@]}" -- "${targets[@]}"
[ -n "$demo" ] || exec "$velu" "$@"

# The demo: the engines are stand-ins that say so, the models empty files of the right size that take no room.
VELU_HOME=$(mktemp -d)
export VELU_HOME
trap 'rm -rf "$VELU_HOME"' EXIT
mkdir "$VELU_HOME/models"
for folder in llama llama-vulkan; do  # the second is for a PC with a strong graphics card
    mkdir "$VELU_HOME/$folder"
    cp "$root/build/release/stand-ins/fake-llama-server" "$VELU_HOME/$folder/llama-server"
done
truncate -s 2497281120 "$VELU_HOME/models/Qwen3-4B-Instruct-2507-Q4_K_M.gguf"
mkdir "$VELU_HOME/whisper"
cp "$root/build/release/stand-ins/fake-whisper-server" "$VELU_HOME/whisper/whisper-server"
truncate -s 147964211 "$VELU_HOME/models/ggml-base.en.bin"
touch "$VELU_HOME/whisper-cuda-failed.txt"  # so that nothing is fetched for a strong graphics card
echo "run.sh: offline demo; stand-ins hear and answer, no language model and no speech recognition" >&2
# Without a display there is no head to show, so the demo is a question.
[ $# -gt 0 ] || [ -n "${DISPLAY-}" ] || set -- --ask "Hello! Who are you?"
"$velu" "$@" &
child=$!
trap 'kill "$child" 2> /dev/null' INT TERM
status=0
wait "$child" || status=$?
wait "$child" 2> /dev/null || true  # a signal ends the first wait before the program has ended
exit "$status"
