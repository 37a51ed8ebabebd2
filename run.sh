#!/usr/bin/env bash
# run.sh [--offline-demo] [arguments of velu]
# Installs the packages that Velu needs, builds Velu and starts it with the arguments.
# --offline-demo runs Velu in a temporary data folder, with stand-ins for the language model and for speech recognition:
# nothing is downloaded.
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

[ -x "$velu" ] || echo "run.sh: building Velu for the first time; this takes a few minutes" >&2
"$root/scripts/install-packages.sh" build
"$root/scripts/fetch-onnxruntime.sh" || true  # Velu also builds without eyes; the script has said so
"$root/scripts/build.sh" release -- "${targets[@]}"
[ -n "$demo" ] || exec "$velu" "$@"

# The demo: the engines are stand-ins that say so; the models are sparse files of the right size.
VELU_HOME=$(mktemp -d)
export VELU_HOME
trap 'rm -rf "$VELU_HOME"' EXIT
mkdir "$VELU_HOME/models"
for folder in llama llama-vulkan; do  # Velu uses the second one where it finds a graphics card
    mkdir "$VELU_HOME/$folder"
    cp "$root/build/release/stand-ins/fake-llama-server" "$VELU_HOME/$folder/llama-server"
done
truncate -s 2497281120 "$VELU_HOME/models/Qwen3-4B-Instruct-2507-Q4_K_M.gguf"
mkdir "$VELU_HOME/whisper"
cp "$root/build/release/stand-ins/fake-whisper-server" "$VELU_HOME/whisper/whisper-server"
truncate -s 147964211 "$VELU_HOME/models/ggml-base.en.bin"
touch "$VELU_HOME/whisper-cuda-failed.txt"  # keeps Velu from downloading the CUDA build
echo "run.sh: offline demo: stand-ins answer and transcribe; there is no language model and no speech recognition" >&2
# Without a display the head can't be shown, so the demo asks a question.
[ $# -gt 0 ] || [ -n "${DISPLAY-}" ] || set -- --ask "Hello! Who are you?"
"$velu" "$@" &
child=$!
trap 'kill "$child" 2> /dev/null' INT TERM
status=0
wait "$child" || status=$?
wait "$child" 2> /dev/null || true  # a signal interrupts the first wait before the program has exited
exit "$status"
