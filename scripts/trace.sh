#!/usr/bin/env bash
# Takes a trace of the sample workload: turns the service's trace tag (ATRACE_TAG_NNAPI) on for the
# hosting daemon and for the workload, runs the workload through the daemon while the kernel
# records the trace markers and the scheduler's switches, and takes the kernel's buffer with
# trace-cmd. Needs root, for tracefs. Writes:
#   build/trace/trace.dat          trace-cmd's recording (trace-cmd report, KernelShark)
#   build/trace/trace.txt          the same in the ftrace text format: open it in Perfetto's UI
#   docs/tracing/cached-run.png    one cached run: the client's call, the service's sections
# and prints the median length of each section of the cached runs. Tracefs is used where it is
# mounted, else mounted for the run; every tracefs setting it changes is put back at exit, the
# mount too. The kernel's trace buffer is cleared first.
# Usage: scripts/trace.sh [sample workload options, see: build/default/bin/tessaro_sample_workload --help]
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-dependencies.sh

if [[ $(id -u) -ne 0 ]]; then
    echo "scripts/trace.sh: needs root, to mount and drive tracefs" >&2
    exit 1
fi

echo "== build"
cmake --preset default >/dev/null
cmake --build --preset default --target tessaro_dravik_daemon TessaroDravikAidlServer \
    tessaro_sample_workload tessaro_client

bin=build/default/bin
out=build/trace
chart=docs/tracing/cached-run.png
mkdir -p "$out" "$(dirname "$chart")"
service_directory=$(mktemp -d /tmp/tessaro-trace-XXXXXX)
properties="$service_directory.properties"
daemon_log="$service_directory.log"
daemon_pid=""
tracefs=""
mounted_here=""
events=(sched/sched_switch sched/sched_waking)
saved_tracing_on=""
saved_buffer_kb=""
saved_events=()

stop_daemon() {
    if [[ -n "$daemon_pid" ]] && kill -0 "$daemon_pid" 2>/dev/null; then
        kill -TERM "$daemon_pid"
        wait "$daemon_pid" || true
    fi
    daemon_pid=""
}
# Puts back what was changed, as far as the script got.
cleanup() {
    stop_daemon
    if [[ -n $saved_tracing_on ]]; then echo "$saved_tracing_on" >"$tracefs/tracing_on"; fi
    for index in "${!saved_events[@]}"; do
        echo "${saved_events[$index]}" >"$tracefs/events/${events[$index]}/enable"
    done
    if [[ -n $saved_buffer_kb ]]; then echo "$saved_buffer_kb" >"$tracefs/buffer_size_kb"; fi
    if [[ -n $mounted_here ]]; then umount "$mounted_here"; fi
    rm -rf -- "${service_directory:?}" "${properties:?}" "${daemon_log:?}"
}
trap cleanup EXIT

# The places where the host's trace functions look for trace_marker, in their order.
for candidate in /sys/kernel/tracing /sys/kernel/debug/tracing; do
    if [[ -e $candidate/trace_marker ]]; then
        tracefs=$candidate
        break
    fi
done
if [[ -z $tracefs ]]; then
    tracefs=/sys/kernel/tracing
    echo "== mount tracefs on $tracefs (unmounted at exit)"
    mount -t tracefs nodev "$tracefs"
    mounted_here=$tracefs
fi
read -r saved_buffer_kb _ <"$tracefs/buffer_size_kb"
saved_tracing_on=$(cat "$tracefs/tracing_on")
for event in "${events[@]}"; do saved_events+=("$(cat "$tracefs/events/$event/enable")"); done

# The service enabled, and its trace tag on: the daemon reads this file through --properties, the
# workload through the environment.
cat >"$properties" <<'PROPERTIES'
ro.vendor.qel_nn_baseline_support=1
debug.atrace.tags.enableflags=0x2000000
PROPERTIES
export TESSARO_BINDER_DIR="$service_directory"
unset TESSARO_TRACE_MARKER_FILE

echo "== record: trace markers and scheduler switches into the kernel's buffer ($tracefs)"
echo 0 >"$tracefs/tracing_on"
echo 65536 >"$tracefs/buffer_size_kb"
echo >"$tracefs/trace"
for event in "${events[@]}"; do echo 1 >"$tracefs/events/$event/enable"; done
echo 1 >"$tracefs/tracing_on"

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
status=0
TESSARO_PROPERTIES_FILE="$properties" "$bin/tessaro_sample_workload" "$@" || status=$?
echo 0 >"$tracefs/tracing_on"
stop_daemon
if grep -q "cutils-trace" "$daemon_log"; then
    grep "cutils-trace" "$daemon_log" >&2
    exit 1
fi
if ((status != 0)); then
    echo "the sample workload failed" >&2
    exit "$status"
fi
# A full buffer drops its oldest events, and with them the begins of sections that end later.
overruns=$(awk '/^overrun:/ { sum += $2 } END { print sum + 0 }' "$tracefs"/per_cpu/cpu*/stats)
if ((overruns > 0)); then
    echo "the kernel's trace buffer overflowed ($overruns events lost): trace fewer runs" >&2
    exit 1
fi

# trace-cmd extract takes the kernel's buffer as it stands. trace-cmd record would also set up
# function tracing (/proc/sys/kernel/ftrace_enabled, set_ftrace_filter), which containers refuse;
# the events used here are plain tracefs switches.
echo "== trace-cmd: $out/trace.dat"
rm -f -- "$out/trace.dat"
if ! trace-cmd extract -o "$out/trace.dat" >"$service_directory/extract.log" 2>&1; then
    cat "$service_directory/extract.log" >&2
    exit 1
fi
report="$service_directory/report.txt"
if ! trace-cmd report -N -t -i "$out/trace.dat" >"$report" 2>"$service_directory/report.log"; then
    cat "$service_directory/report.log" >&2
    exit 1
fi
# The ftrace text format: trace-cmd prints the marker events as "print: tracing_mark_write: ...",
# the kernel's own format as "tracing_mark_write: ...", which is what trace viewers read; its
# header lines ("cpus=2") are left out.
echo "== ftrace text: $out/trace.txt"
{
    echo "# tracer: nop"
    echo "#"
    sed -E -n -e 's/: print: +tracing_mark_write: /: tracing_mark_write: /' \
        -e '/^ *.+-[0-9]+ +\[[0-9]+\] +[0-9]+\.[0-9]+: /p' "$report"
} >"$out/trace.txt"

echo "== the cached runs"
/usr/bin/python3 scripts/trace_timeline.py "$out/trace.txt" "$chart"
echo "Open $out/trace.txt in Perfetto's UI (Open trace file) to see the timeline."
