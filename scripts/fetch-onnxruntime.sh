#!/usr/bin/env bash
# fetch-onnxruntime.sh
# Sees to it that ONNX Runtime, which runs the eyes' networks, can be built with. Where the distribution has it (Debian
# 13, Ubuntu 25.04) its package is installed. Elsewhere the library comes out of its npm package and the one header out
# of a newer Debian's, into third_party/onnxruntime; what is there already isn't fetched again. Without it Velu is built
# without eyes. The exit code is 0 when it is there.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
target=$root/third_party/onnxruntime

library_version=1.30.0
# npm's own record of this file has the sum sha512-twhs1C2C/BFkz1yc5OY0KIU2GUq6DURO7hD4bx5Q2Qy3nAMJwRXW8xU3NVczE29VA9lolLOYepoD8fjTGOfIqw==
library_sum=6e3390d6b783e7be946fad629292799da28d0b42f84856e50d2c1b0383291e75
header_version=1.21.0+dfsg-1
# The headers are the same for every processor, so one package serves all.
header_package=pool/main/o/onnxruntime/libonnxruntime-dev_${header_version}_amd64.deb
header_sum=14f7d959d5deacbcf1504830d4189f91fc67382b399ed9ae9d3aa9c4050ced08
stamp="library $library_version header $header_version"

fail() {
    echo "fetch-onnxruntime.sh: $1" >&2
    echo "fetch-onnxruntime.sh: without ONNX Runtime, Velu is built without eyes" >&2
    exit 1
}

if [ -f /usr/include/onnxruntime/onnxruntime_c_api.h ] || [ "$(cat "$target/version" 2> /dev/null)" = "$stamp" ]; then
    exit 0
fi
if apt-cache --quiet=2 show --no-all-versions libonnxruntime-dev > /dev/null 2>&1; then
    "$root/scripts/install-packages.sh" eyes && exit 0
fi

case $(uname -m) in
    x86_64) processor=x64 ;;
    aarch64) processor=arm64 ;;
    *) fail "there is no ONNX Runtime for this processor, $(uname -m)" ;;
esac
mkdir -p "$root/third_party"
work=$(mktemp -d "$root/third_party/.onnxruntime.XXXXXX")
trap 'rm -rf "$work"' EXIT

# fetch ADDRESS FILE SUM
# The file only lasts when it is the very one that is expected.
fetch() {
    curl -fsSL --connect-timeout 10 --speed-limit 1000 --speed-time 30 -o "$2" "$1" 2>> "$work/log" &&
        echo "$3  $2" | sha256sum --check --status && return
    rm -f "$2"
    return 1
}

# The mirrors that this system's packages come from have a newer Debian's, too.
mapfile -t addresses < <(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 2> /dev/null | sort -u)
for mirror in "${addresses[@]}"; do
    fetch "${mirror%/}/$header_package" "$work/header.deb" "$header_sum" && break
done
if [ ! -f "$work/header.deb" ]; then
    cat "$work/log" >&2 2> /dev/null || true
    fail "the header couldn't be fetched; is there a network, and a mirror of Debian among apt's?"
fi

registry=${NPM_CONFIG_REGISTRY:-${npm_config_registry:-}}
if [ -z "$registry" ]; then
    # Where packages are to be had is npm's to know; nothing else of it is used.
    command -v npm > /dev/null || "$root/scripts/install-packages.sh" npm || fail "npm couldn't be installed"
    registry=$(npm config get registry 2> /dev/null) || registry=
fi
[[ $registry = http* ]] || fail "npm doesn't tell its registry"
echo "fetch-onnxruntime.sh: fetching ONNX Runtime, 110 MB" >&2
fetch "${registry%/}/onnxruntime-node/-/onnxruntime-node-$library_version.tgz" "$work/library.tgz" "$library_sum" ||
    { cat "$work/log" >&2; fail "the library couldn't be fetched whole; is there a network?"; }

# Everything or nothing: only a folder that is complete gets the name.
mkdir -p "$work/whole/include" "$work/whole/lib"
dpkg-deb --fsys-tarfile "$work/header.deb" |
    tar -x --to-stdout ./usr/include/onnxruntime/onnxruntime_c_api.h > "$work/whole/include/onnxruntime_c_api.h"
tar -xzf "$work/library.tgz" --to-stdout "package/bin/napi-v6/linux/$processor/libonnxruntime.so.1" \
    > "$work/whole/lib/libonnxruntime.so.1"
echo "$stamp" > "$work/whole/version"
rm -rf "$target"
mv -T "$work/whole" "$target"
