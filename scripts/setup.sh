#!/usr/bin/env bash
# Installs the Debian packages that the project needs (when they are missing), then
# configures and builds it. Usage: scripts/setup.sh [BUILD_DIR] [extra CMake options...]
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir="${1:-build}"
shift || true

packages=(cmake ninja-build ccache g++ clang libclang-rt-14-dev
          libsundials-dev libcminpack-dev libeigen3-dev nlohmann-json3-dev libfmt-dev libcli11-dev
          libgtest-dev libgmock-dev libbenchmark-dev)
missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
    echo "setup: installing ${missing[*]}" >&2
    sudo_cmd=()
    [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
    "${sudo_cmd[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
fi

cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE="${CMAKE_BUILD_TYPE:-Release}" "$@" >&2
cmake --build "$build_dir" >&2
