#!/usr/bin/env bash
# Runs all tests with src/ instrumented; shows which files are covered how far, and writes the lines
# and branches that are not to build/coverage/html/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=build/coverage
flags="-O0 -g -fprofile-instr-generate -fcoverage-mapping"
mkdir -p "$build"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_C_FLAGS_DEBUG="$flags" -DCMAKE_CXX_FLAGS_DEBUG="$flags" >"$build.log"
cmake --build "$build"

# One profile for each process and program or library in it, added to each time that it is unloaded.
# A process that a test has killed leaves none.
rm -rf "$build/profiles"
export LLVM_PROFILE_FILE=$PWD/$build/profiles/%p.%1m.profraw
failed=()
for program in zel_tests zel_inside_tests; do
  "$build/$program" --gtest_brief=1 || failed+=("$program")
done
llvm-profdata merge -sparse -failure-mode=all "$build"/profiles/*.profraw -o "$build/all.profdata"

objects=("$build/libZELUtils.so" -object "$build/zel_inside_tests")
llvm-cov show "${objects[@]}" -instr-profile="$build/all.profdata" -format=html \
  -show-branches=count -show-line-counts-or-regions -output-dir="$build/html" src
llvm-cov report "${objects[@]}" -instr-profile="$build/all.profdata" src | tee "$build/report.txt" |
  awk '/\.(cpp|h) / { printf "%-40s lines %7s  branches %7s\n", $1, $10, $13 }'
awk '/^TOTAL/ { printf "src: lines %s of %d, branches %s of %d\n", $10, $8, $13, $11 }' \
  "$build/report.txt"

if [ ${#failed[@]} -ne 0 ]; then
  echo "failed: ${failed[*]}"
  exit 1
fi
