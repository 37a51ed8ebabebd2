#!/usr/bin/env bash
# fetch-onnxruntime.sh
# Provides ONNX Runtime, which runs the face models. Where the distribution has it (Debian 13, Ubuntu 25.04), the script
# installs the package. Elsewhere it downloads the library from the npm package and the header from a newer Debian's
# package into third_party/onnxruntime, unless they are already there. Without ONNX Runtime, Velu is built without eyes.
# The exit code is 0 if ONNX Runtime is available.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
target=$root/third_party/onnxruntime

library_version=1.30.0
# The npm registry lists this file with the checksum sha512-twhs1C2C/BFkz1yc5OY0KIU2GUq6DURO7hD4bx5Q2Qy3nAMJwRXW8xU3NVczE29VA9lolLOYepoD8fjTGOfIqw==
library_sum=6e3390d6b783e7be946fad629292799da28d0b42f84856e50d2c1b0383291e75
header_version=1.21.0+dfsg-1
# The header is the same for every processor.
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
    *) fail "there is no ONNX Runtime for this processor ($(uname -m))" ;;
esac
mkdir -p "$root/third_party"
work=$(mktemp -d "$root/third_party/.onnxruntime.XXXXXX")
trap 'rm -rf "$work"' EXIT

# fetch URL FILE SHA256
# Removes a file with another checksum.
fetch() {
    curl -fsSL --connect-timeout 10 --speed-limit 1000 --speed-time 30 -o "$2" "$1" 2>> "$work/log" &&
        echo "$3  $2" | sha256sum --check --status && return
    rm -f "$2"
    return 1
}

# The mirrors of this system's packages usually have those of newer Debian releases too.
mapfile -t addresses < <(apt-get indextargets --format '$(SITE)' 'Created-By: Packages' 2> /dev/null | sort -u)
for mirror in "${addresses[@]}"; do
    fetch "${mirror%/}/$header_package" "$work/header.deb" "$header_sum" && break
done
if [ ! -f "$work/header.deb" ]; then
    cat "$work/log" >&2 2> /dev/null || true
    fail "the header couldn't be downloaded; is there a network, and does apt use a Debian mirror?"
fi

registry=${NPM_CONFIG_REGISTRY:-${npm_config_registry:-}}
if [ -z "$registry" ]; then
    # npm is only asked for the address of its registry.
    command -v npm > /dev/null || "$root/scripts/install-packages.sh" npm || fail "npm couldn't be installed"
    registry=$(npm config get registry 2> /dev/null) || registry=
fi
[[ $registry = http* ]] || fail "npm reports no registry"
echo "fetch-onnxruntime.sh: downloading ONNX Runtime (110 MB)" >&2
fetch "${registry%/}/onnxruntime-node/-/onnxruntime-node-$library_version.tgz" "$work/library.tgz" "$library_sum" ||
    { cat "$work/log" >&2; fail "the library couldn't be downloaded; is there a network?"; }

# The folder gets its final name only when it is complete.
mkdir -p "$work/whole/include" "$work/whole/lib"
dpkg-deb --fsys-tarfile "$work/header.deb" |
    tar -x --to-stdout ./usr/include/onnxruntime/onnxruntime_c_api.h > "$work/whole/include/onnxruntime_c_api.h"
tar -xzf "$work/library.tgz" --to-stdout "package/bin/napi-v6/linux/$processor/libonnxruntime.so.1" \
    > "$work/whole/lib/libonnxruntime.so.1"
echo "$stamp" > "$work/whole/version"
rm -rf "$target"
mv -T "$work/whole" "$target"
