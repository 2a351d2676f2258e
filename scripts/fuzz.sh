#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer in a build folder of their own, and runs each
# for the given number of seconds (default 60). A crash, a sanitizer report
# or a leak fails the run; the input that caused it is kept in the build
# folder's "crashes" directory.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
build=${LOREHAVEN_FUZZ_BUILD:-build-fuzz}
jobs=$(nproc)
targets=(fuzz_dispatch fuzz_http fuzz_database)

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link" \
      -DLOREHAVEN_FUZZ=ON -DLOREHAVEN_SANITIZE=ON \
      -DLOREHAVEN_TESTS=OFF -DLOREHAVEN_BENCH=OFF >/dev/null
cmake --build "$build" -j "$jobs" --target "${targets[@]}"

mkdir -p "$build/crashes"
status=0
for target in "${targets[@]}"; do
    corpus="$build/corpus/$target"
    mkdir -p "$corpus"
    echo "== $target for ${seconds}s"
    if ! "$build/fuzz/$target" -max_total_time="$seconds" -max_len=65536 -timeout=10 \
            -artifact_prefix="$build/crashes/$target-" -print_final_stats=1 \
            "$corpus" "fuzz/seeds/$target" 2>"$build/$target.log"; then
        tail -n 60 "$build/$target.log"
        echo "$target: FAILED (input kept under $build/crashes)"
        status=1
    else
        grep -E "stat::number_of_executed_units|Done" "$build/$target.log" | tail -n 2 || true
        echo "$target: passed"
    fi
done
exit $status
