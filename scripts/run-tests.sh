#!/usr/bin/env bash
# Builds the project and runs every test suite through CTest, first in the default build, then
# under AddressSanitizer and UndefinedBehaviorSanitizer.
# Usage: scripts/run-tests.sh [preset ...]   (default: default asan-ubsan)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

presets=("$@")
if ((${#presets[@]} == 0)); then presets=(default asan-ubsan); fi

for preset in "${presets[@]}"; do
    echo "== ${preset}: configure and build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    echo "== ${preset}: test"
    ctest --preset "$preset"
done
