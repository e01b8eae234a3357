#!/usr/bin/env bash
# Builds the project and runs every test suite through CTest: in the default build, under
# AddressSanitizer and UndefinedBehaviorSanitizer, and under ThreadSanitizer; then runs each
# fuzzer for a bounded time on its corpus.
# Usage: scripts/run-tests.sh [preset ...]   (default: default asan-ubsan tsan fuzz)
#   A preset of CMakePresets.json builds and tests that build; "fuzz" runs the fuzzers for
#   TESSARO_FUZZ_SECONDS each (default 60).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

presets=("$@")
if ((${#presets[@]} == 0)); then presets=(default asan-ubsan tsan fuzz); fi

for preset in "${presets[@]}"; do
    if [[ $preset == fuzz ]]; then
        echo "== fuzzers: ${TESSARO_FUZZ_SECONDS:-60}s each"
        scripts/run-fuzzers.sh "${TESSARO_FUZZ_SECONDS:-60}"
        continue
    fi
    echo "== ${preset}: configure and build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    echo "== ${preset}: test"
    ctest --preset "$preset"
done
