#!/usr/bin/env bash
# Builds the benchmarks in the default preset, runs them writing their JSON into docs/performance/,
# and draws the charts and the table of docs/performance.md from that JSON.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

scripts/install-dependencies.sh

benchmarks=(registry_benchmark interface_call_benchmark isolation_benchmark process_benchmark)
cmake --preset default
cmake --build --preset default --target "${benchmarks[@]}"

out=docs/performance
logs=build/default/benchmark-logs
mkdir -p "$out" "$logs"

# The machine the figures came from.
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' build/default/CMakeCache.txt)
cat >"$out/machine.json" <<JSON
{
  "nproc": "$(nproc)",
  "cpu": "$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)",
  "kernel": "$(uname -srm)",
  "compiler": "$("$compiler" --version | head -n 1)",
  "load_before_runs": "$(cut -d ' ' -f 1-3 /proc/loadavg)"
}
JSON

for benchmark in "${benchmarks[@]}"; do
    name=${benchmark%_benchmark}
    echo "== $benchmark"
    # The service's own log lines go to stderr; they are kept apart from the figures.
    "build/default/bin/$benchmark" \
        --benchmark_out="$out/$name.json" --benchmark_out_format=json \
        --ratio_out="$out/${name}_ratios.json" 2>"$logs/$name.log"
done

/usr/bin/python3 bench/plot_benchmarks.py "$out" docs/performance.md
echo "Figures in $out/ and docs/performance.md"
