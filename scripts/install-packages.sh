#!/usr/bin/env bash
# install-packages.sh SET...
# Installs the missing Debian packages of the named sets, as root or through sudo: "build" to build and run Velu, "test"
# for the tests, "bench" for the programs that the benchmarks compare with, "fetch" for fetch-assets.sh, "lint" for
# lint.sh, "fuzz" for fuzz.sh, "eyes" for the distribution's ONNX Runtime, "npm" to find the registry that has it
# otherwise. Uses no network if nothing is missing.
set -euo pipefail

packages=()
for set in "$@"; do
    case $set in
        build) packages+=(g++ cmake ninja-build pkg-config ca-certificates curl libcurl4-openssl-dev libarchive-dev
                          nlohmann-json3-dev libvulkan-dev libcpp-httplib-dev libglm-dev libtinygltf-dev
                          libstb-dev libepoxy-dev libegl-dev libgl1-mesa-dri qt6-base-dev libxcb1-dev
                          libxcb-shape0-dev libespeak-ng-dev espeak-ng-data libpulse-dev
                          libpocketsphinx-dev pocketsphinx-en-us libgstreamer1.0-dev
                          libgstreamer-plugins-base1.0-dev gstreamer1.0-plugins-base gstreamer1.0-plugins-good
                          gstreamer1.0-pipewire python3) ;;
        test) packages+=(libgtest-dev xvfb openbox picom xdotool trayer pulseaudio pulseaudio-utils
                         flite pipewire wireplumber libpipewire-0.3-dev) ;;
        bench) packages+=(curl lynx w3m flite) ;;
        fetch) packages+=(python3-pip unzip curl) ;;
        lint) packages+=(clang-format clang-tidy git) ;;
        npm) packages+=(npm) ;;
        eyes) packages+=(libonnxruntime-dev) ;;
        fuzz) packages+=(clang libclang-rt-14-dev) ;;
        *) echo "install-packages.sh: there is no package set '$set'" >&2; exit 2 ;;
    esac
done

command -v dpkg-query > /dev/null || {
    echo "install-packages.sh: this isn't a Debian system; docs/dependencies.md lists what Velu needs" >&2
    exit 1
}
installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "${packages[@]}" 2> /dev/null | sed -n 's/^installed //p' || true)
missing=()
for package in "${packages[@]}"; do
    grep -qxF "$package" <<< "$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
    command -v sudo > /dev/null || {
        echo "install-packages.sh: needs root or sudo to install: ${missing[*]}" >&2
        exit 1
    }
    as_root=(sudo)
fi
echo "installing packages: ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}")
if ! { "${as_root[@]}" apt-get update && "${install[@]}"; } > "$log" 2>&1; then
    tail -n 20 "$log" >&2
    echo "install-packages.sh: the packages could not be installed; is there a network?" >&2
    exit 1
fi
