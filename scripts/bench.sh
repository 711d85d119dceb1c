#!/usr/bin/env bash
# Builds the benchmarks into build/bench and runs them; './dev bench' calls it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

usage() {
  cat <<'END_OF_USAGE'
usage: ./dev bench [--quick] [--rounds N] [--only REGEX] [--instructions | --no-times]
                   [--before DIR] [--32] [--hardening] [--check] [--goals]
                   [--json FILE] [--svg FILE]
       ./dev bench --tool [--size MB]

Measures the library beside Jansson, json-c, RapidJSON and nlohmann/json and prints tables; about
eight minutes on a quiet machine, with --quick under two. The results are also left in
build/bench/results.json.

  --quick         fewer and shorter rounds, without growth
  --rounds N      how often each benchmark is started
  --only REGEX    only those whose names match, such as '^parse/.*/(zel|json-c)$'
  --instructions  count instructions with callgrind as well; --no-times: nothing else
  --before DIR    an older build of the benchmarks, measured in the same rounds
  --32            count the instructions of a 32-bit build too; takes g++-12-multilib
  --hardening     count the instructions of a build without hardening too, and compare
  --check         count the instructions with the checking layer in place of the library too
  --tool          measure zelpos beside jq, Python and others on a document of 200 MB, or of --size;
                  takes up to 8 GB of memory and 2 GB in build/bench-tool
  --goals         list what misses a goal of bench/goals.json
  --json FILE     the figures as JSON
  --svg FILE      a chart of the comparison
END_OF_USAGE
}

if [ "${1:-}" = --tool ]; then
  cmake --preset release -B build/bench-tool -DBUILD_TESTING=OFF >/dev/null
  cmake --build build/bench-tool -j "$(nproc)" --target zelpos
  exec bench/tool.py build/bench-tool/zelpos build/bench-tool/documents "${@:2}"
fi

build=build/bench
results=$build/results.json
chart=
bits32=
plain=
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
    --32) bits32=build/bench32 ;;
    --check) arguments+=(--instructions --check) ;;
    --hardening) plain=build/bench-not-hardened ;;
    *) arguments+=("$1") ;;
  esac
  shift
done

echo "== Building the benchmarks"
cmake --preset release -B "$build" -DZEL_BENCH=ON -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"
if [ -n "$bits32" ]; then
  cmake --preset linux32 -B "$bits32" -DBUILD_TESTING=OFF >/dev/null
  cmake --build "$bits32" -j "$(nproc)" --target bench_zel
  arguments+=(--instructions --bits32 "$bits32")
fi
if [ -n "$plain" ]; then
  cmake --preset release -B "$plain" -DZEL_HARDENING=OFF -DZEL_BENCH=ON -DZEL_BENCH_ONCE=ON \
    -DBUILD_TESTING=OFF >/dev/null
  cmake --build "$plain" -j "$(nproc)" --target bench_zel
  arguments+=(--instructions --not-hardened "$plain")
fi

echo "== Measuring"
bench/run.py "$build" --json "$results" "${arguments[@]}"
if [ -n "$chart" ]; then
  bench/chart.py "$results" "$chart"
fi
