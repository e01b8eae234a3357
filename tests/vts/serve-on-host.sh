#!/usr/bin/env bash
# Serves the compliance suite on the host: starts the device's hosting process, built for the
# host, on the reference driver in a private service directory, or stops it again and fails when it
# did not live through the suite.
# Usage: serve-on-host.sh start DIR HOSTING_PROCESS LIBRARY_DIR [lazy]
#        serve-on-host.sh stop DIR
# Clients reach the service with TESSARO_BINDER_DIR=DIR/binder.
set -euo pipefail

action=$1
dir=$2

show_log() {
    echo "$1; the service's log:" >&2
    cat "$dir/service.log" >&2 || true
    exit 1
}

case $action in
start)
    hosting_process=$3
    library_dir=$4
    mode=${5:-ordinary}
    # A run stopped before its cleanup (a failing test under --stop-on-failure) leaves its
    # service behind; end it, so that no client of this run reaches an older build.
    if [[ -f $dir/service.pid ]]; then
        old=$(cat "$dir/service.pid")
        if [[ $(readlink "/proc/$old/exe" 2>/dev/null) == "$(readlink -f "$hosting_process")" ]]; then
            kill -KILL "$old"
        fi
    fi
    rm -rf "$dir"
    mkdir -p "$dir/binder"
    chmod 700 "$dir/binder"
    {
        echo "ro.vendor.qel_nn_baseline_support=1"
        if [[ $mode == lazy ]]; then echo "ro.vendor.qel_nn_lazyhal_support=1"; fi
    } >"$dir/build.prop"
    TESSARO_BINDER_DIR=$dir/binder TESSARO_PROPERTIES_FILE=$dir/build.prop \
        LD_LIBRARY_PATH=$library_dir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH} \
        setsid "$hosting_process" </dev/null >"$dir/service.log" 2>&1 &
    echo $! >"$dir/service.pid"
    # Registered once a service socket is in the directory: the process's own endpoint is named
    # p<pid>-..., the service's after its instance name (or a hash of a long one).
    for _ in $(seq 400); do
        if compgen -G "$dir/binder/[!p]*" >/dev/null; then exit 0; fi
        kill -0 "$(cat "$dir/service.pid")" 2>/dev/null || show_log "the service ended at start"
        sleep 0.05
    done
    show_log "the service did not register within 20 s"
    ;;
stop)
    pid=$(cat "$dir/service.pid")
    kill -0 "$pid" 2>/dev/null || show_log "the service died while the suite ran"
    kill -TERM "$pid"
    for _ in $(seq 200); do
        kill -0 "$pid" 2>/dev/null || exit 0
        sleep 0.05
    done
    kill -KILL "$pid"
    show_log "the service did not stop on SIGTERM"
    ;;
*)
    echo "usage: $0 start DIR HOSTING_PROCESS LIBRARY_DIR [lazy] | stop DIR" >&2
    exit 2
    ;;
esac
