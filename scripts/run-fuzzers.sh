#!/usr/bin/env bash
# Builds the fuzzers with the fuzz preset (clang, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for a bounded time on a copy of its corpus.
#
#   scripts/run-fuzzers.sh [seconds-per-fuzzer]     (default 60)
#
# Exits non-zero when any fuzzer reports a finding (crash, sanitizer report, leak, timeout or a
# failed check of its own); the input that caused it is written to
# build/fuzz/findings/<fuzzer>/ (crash-*, leak-*, timeout-*, oom-*) together with the fuzzer's
# log. New inputs a run discovers stay in build/fuzz/fuzz-work/<fuzzer>/corpus; the corpus in
# tests/fuzz/corpus is never changed by a run.
set -euo pipefail

seconds=${1:-60}
if ! [[ $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "usage: $0 [seconds-per-fuzzer]" >&2
    exit 2
fi

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
scripts/install-dependencies.sh

fuzzers=(service_transaction_fuzzer call_sequence_fuzzer frame_decoder_fuzzer)

cmake --preset fuzz
cmake --build --preset fuzz --target "${fuzzers[@]}"

build=build/fuzz
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1:allocator_may_return_null=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

failed=()
for fuzzer in "${fuzzers[@]}"; do
    work=$build/fuzz-work/$fuzzer
    findings=$build/findings/$fuzzer
    rm -rf "$findings"
    mkdir -p "$work/corpus" "$findings"
    log=$findings/run.log
    echo "== $fuzzer: ${seconds}s on tests/fuzz/corpus/$fuzzer"
    status=0
    # The first corpus directory receives new inputs; the repository's is only read.
    "$build/bin/$fuzzer" \
        -max_total_time="$seconds" -timeout=25 -rss_limit_mb=3072 -print_final_stats=1 \
        -artifact_prefix="$findings/" \
        "$work/corpus" "tests/fuzz/corpus/$fuzzer" >"$log" 2>&1 || status=$?
    grep -E '^stat::(number_of_executed_units|average_exec_per_sec|new_units_added)' "$log" || true
    if ((status != 0)) || compgen -G "$findings/crash-*" >/dev/null ||
        compgen -G "$findings/leak-*" >/dev/null || compgen -G "$findings/timeout-*" >/dev/null ||
        compgen -G "$findings/oom-*" >/dev/null; then
        echo "!! $fuzzer: finding (exit status $status); input and log in $findings" >&2
        grep -E '^(==[0-9]+==ERROR|==== |SUMMARY)' "$log" | head -5 >&2 || true
        failed+=("$fuzzer")
    fi
done

if ((${#failed[@]} != 0)); then
    echo "Findings in: ${failed[*]}" >&2
    exit 1
fi
echo "No findings."
