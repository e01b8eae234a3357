#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need; a no-op when all are
# present already.
set -euo pipefail

packages=(
    cmake make g++ pkg-config
    googletest libgtest-dev libgmock-dev libbenchmark-dev
    android-liblog-dev android-libcutils-dev
    libopenblas-dev
    clang libclang-rt-14-dev
    python3-matplotlib
    trace-cmd
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done

if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "Installing: ${missing[*]}"
sudo_prefix=()
if [[ $(id -u) -ne 0 ]]; then sudo_prefix=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_prefix[@]}" apt-get update -q
"${sudo_prefix[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
