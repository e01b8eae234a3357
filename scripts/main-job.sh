#!/usr/bin/env bash
# The main job: build the project, start the service and call it as a client does, printing what
# each step answered and how long it took.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

echo "== build"
cmake --preset default >/dev/null
cmake --build --preset default

properties=$(mktemp)
trap 'rm -f "$properties"' EXIT
cat >"$properties" <<'PROPERTIES'
ro.vendor.qel_nn_baseline_support=1
ro.vendor.qel_nn_lazyhal_support=0
PROPERTIES

echo "== service started in process, called through the service manager"
TESSARO_PROPERTIES_FILE="$properties" build/default/bin/tessaro_in_process
