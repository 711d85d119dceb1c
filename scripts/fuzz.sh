#!/usr/bin/env bash
# Builds the fuzzers and runs one of them, or each in turn, for a number of seconds. Inputs that they
# learn stay in build/fuzz/learnt/; one that fails is put into fuzz/corpus/, where the tests run it.
#
# usage: scripts/fuzz.sh [TARGET] [SECONDS]    TARGET: text, stream, schema, dict, sequence or all
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

target=${1:-all}
seconds=${2:-60}
# The longest input, in bytes: what one schema can ask for grows fast with its length.
declare -A longest=([text]=2048 [stream]=2048 [schema]=600 [dict]=1000 [sequence]=400)

if [ "$target" = all ]; then
  targets=(text stream schema dict sequence)
elif [ -n "${longest[$target]:-}" ]; then
  targets=("$target")
else
  echo "No fuzzer is called $target." >&2
  exit 2
fi

mkdir -p build
cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_C_FLAGS_DEBUG="-O1 -g1" -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" \
  -DZEL_SANITIZE=address,undefined,fuzzer-no-link -DZEL_FUZZ=ON -DBUILD_TESTING=OFF >build/fuzz.log
cmake --build build/fuzz --target "${targets[@]/#/zel_fuzz_}"

export ASAN_OPTIONS=allocator_may_return_null=1:malloc_context_size=8:${ASAN_OPTIONS:-}
export UBSAN_OPTIONS=print_stacktrace=1:${UBSAN_OPTIONS:-}
failed=()
# run TARGET
run() {
  local log=build/fuzz.$1.log status=0
  mkdir -p "build/fuzz/learnt/$1"
  "build/fuzz/zel_fuzz_$1" -max_total_time="$seconds" -max_len="${longest[$1]}" \
    -timeout=30 -dict=fuzz/dictionary -artifact_prefix="fuzz/corpus/$1/" \
    "build/fuzz/learnt/$1" "fuzz/corpus/$1" >"$log" 2>&1 || status=1
  printf '%-8s %s\n' "$1" "$(grep -E '^#[0-9]+' "$log" | tail -n 1)"
  return $status
}
# One on each core.
declare -A started
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$(nproc)" ]; do
    wait -n || true
  done
  run "$target" &
  started[$target]=$!
done
for target in "${targets[@]}"; do
  wait "${started[$target]}" || failed+=("$target")
done

if [ ${#failed[@]} -ne 0 ]; then
  for target in "${failed[@]}"; do
    grep -v '^#' "build/fuzz.$target.log" | tail -n 60
  done
  echo "failed: ${failed[*]}"
  exit 1
fi
