#!/usr/bin/env bash
# Builds the benchmarks into build/bench and runs them; './dev bench' calls it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

usage() {
  cat <<'END_OF_USAGE'
usage: ./dev bench [--quick] [--rounds N] [--only REGEX] [--instructions | --no-times]
                   [--before DIR] [--json FILE] [--svg FILE]

Measures the library beside Jansson, json-c, RapidJSON and nlohmann/json and prints tables; about
eight minutes on a quiet machine, with --quick under two. What was measured is also left in
build/bench/results.json.

  --quick         fewer and shorter rounds, without growth
  --rounds N      how often each benchmark is started
  --only REGEX    only those whose names match, such as '^parse/.*/(zel|json-c)$'
  --instructions  count instructions with callgrind as well; --no-times: nothing else
  --before DIR    an older build of the benchmarks, measured in the same rounds
  --json FILE     the figures as JSON
  --svg FILE      a chart of the comparison
END_OF_USAGE
}

build=build/bench
results=$build/results.json
chart=
arguments=()
while [ $# -gt 0 ]; do
  case "$1" in
    -h | --help)
      usage
      exit
      ;;
    --json)
      results=${2:?a file}
      shift
      ;;
    --svg)
      chart=${2:?a file}
      shift
      ;;
    *) arguments+=("$1") ;;
  esac
  shift
done

echo "== Building the benchmarks"
cmake --preset release -B "$build" -DZEL_BENCH=ON -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"

echo "== Measuring"
bench/run.py "$build" --json "$results" "${arguments[@]}"
if [ -n "$chart" ]; then
  bench/chart.py "$results" "$chart"
fi
