#!/usr/bin/env bash
# Builds the libFuzzer targets with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer in a build folder of their own, and runs each
# for the given number of seconds (default: LOREHAVEN_FUZZ_SECONDS, else 20;
# CI's fuzzing stays within a few minutes in all), one per core at a time. Each starts from its seed
# corpus in fuzz/seeds/<target> and from what earlier runs in this build
# folder found. A crash, a sanitizer report or a leak fails the run; the
# input that caused it is kept in the build folder's "crashes" directory.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-${LOREHAVEN_FUZZ_SECONDS:-20}}
build=${LOREHAVEN_FUZZ_BUILD:-build-fuzz}
jobs=$(nproc)
targets=(fuzz_dispatch fuzz_http fuzz_http_reply fuzz_glyph fuzz_resource fuzz_picture fuzz_database fuzz_database_file)

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link" \
      -DLOREHAVEN_FUZZ=ON -DLOREHAVEN_SANITIZE=ON \
      -DLOREHAVEN_TESTS=OFF -DLOREHAVEN_BENCH=OFF >/dev/null
cmake --build "$build" -j "$jobs" --target "${targets[@]}"

mkdir -p "$build/crashes"

# One target: its time, its corpus; "passed" or "FAILED" ends its log.
fuzz_one() {
    local target=$1 corpus="$build/corpus/$1" limit=2048
    mkdir -p "$corpus"
    # An archive of at most 64 KB inflates to 66 MB at most: an entry that
    # makes the reader take more trusted a size it was told.
    [ "$target" = fuzz_resource ] && limit=128
    if "$build/fuzz/$target" -max_total_time="$seconds" -max_len=65536 -timeout=10 -malloc_limit_mb=$limit \
            -artifact_prefix="$build/crashes/$target-" -print_final_stats=1 \
            "$corpus" "fuzz/seeds/$target" >"$build/$target.log" 2>&1; then
        echo passed >>"$build/$target.log"
    else
        echo FAILED >>"$build/$target.log"
    fi
}

# As many targets at once as there are cores (LOREHAVEN_FUZZ_JOBS to say
# otherwise), so the whole round takes about seconds x targets / cores.
parallel=${LOREHAVEN_FUZZ_JOBS:-$jobs}
echo "== ${#targets[@]} targets, ${seconds}s each, $parallel at a time"
for target in "${targets[@]}"; do
    while [ "$(jobs -rp | wc -l)" -ge "$parallel" ]; do wait -n || true; done
    fuzz_one "$target" &
done
wait

status=0
for target in "${targets[@]}"; do
    if [ "$(tail -n 1 "$build/$target.log")" = passed ]; then
        echo "$target: passed, $(grep -E "stat::number_of_executed_units" "$build/$target.log" | awk '{print $2}') runs"
    else
        tail -n 60 "$build/$target.log"
        echo "$target: FAILED (input kept under $build/crashes)"
        status=1
    fi
done
exit $status
