#!/usr/bin/env bash
# The main job: build the project, start the hosting daemon on the reference driver in a private
# service directory, run the sample workload from a separate client process through the service,
# and stop the daemon. Exits non-zero when any step failed.
# Usage: scripts/main-job.sh [sample workload options, see: build/default/bin/tessaro_sample_workload --help]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

echo "== build"
cmake --preset default >/dev/null
cmake --build --preset default --target tessaro_dravik_daemon TessaroDravikAidlServer \
    tessaro_sample_workload tessaro_client

bin=build/default/bin
service_directory=$(mktemp -d /tmp/tessaro-main-job-XXXXXX)
properties="$service_directory.properties"
daemon_log="$service_directory.log"
daemon_pid=""
stop_daemon() {
    if [[ -n "$daemon_pid" ]] && kill -0 "$daemon_pid" 2>/dev/null; then
        kill -TERM "$daemon_pid"
        wait "$daemon_pid" || true
    fi
    daemon_pid=""
}
cleanup() {
    stop_daemon
    rm -rf "$service_directory" "$properties" "$daemon_log"
}
trap cleanup EXIT

cat >"$properties" <<'PROPERTIES'
ro.vendor.qel_nn_baseline_support=1
ro.vendor.qel_nn_lazyhal_support=0
PROPERTIES
export TESSARO_BINDER_DIR="$service_directory"

echo "== start the hosting daemon (service directory $service_directory)"
"$bin/tessaro_dravik_daemon" --properties "$properties" 2>"$daemon_log" &
daemon_pid=$!
for _ in $(seq 1 100); do
    if "$bin/tessaro_client" dump >/dev/null 2>&1; then break; fi
    if ! kill -0 "$daemon_pid" 2>/dev/null; then
        echo "the daemon stopped:" >&2
        cat "$daemon_log" >&2
        exit 1
    fi
    sleep 0.1
done

echo "== the devices, as a client sees them"
"$bin/tessaro_client" info

echo "== the sample workload, from a separate client process"
status=0
"$bin/tessaro_sample_workload" "$@" || status=$?

echo "== the service after the workload"
"$bin/tessaro_client" dump || status=1

echo "== stop the daemon"
stop_daemon
errors=$(grep -c " E tessaro_server" "$daemon_log" || true)
echo "the service logged $errors error line(s)$( ((errors == 0)) || echo ":")"
grep " E tessaro_server" "$daemon_log" | head -n 20 || true
if ((status == 0)); then echo "main job: PASS"; else echo "main job: FAIL"; fi
exit "$status"
