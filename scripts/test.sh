#!/usr/bin/env bash
# Installs what is missing, builds Lorehaven with AddressSanitizer and
# UndefinedBehaviorSanitizer, and runs every test through CTest.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
# Each folder includes only the layers below it (README, Layout).
bash scripts/check-layers.sh

build=${LOREHAVEN_TEST_BUILD:-build-test}
jobs=$(nproc)
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DLOREHAVEN_SANITIZE=ON -DLOREHAVEN_WERROR=ON \
      -DLOREHAVEN_TESTS=ON -DLOREHAVEN_BENCH=ON
cmake --build "$build" -j "$jobs"

# Bounded fuzzing of the network parsers, with the sanitizers.
if [ -f fuzz/CMakeLists.txt ] && command -v clang++ >/dev/null; then
  bash scripts/fuzz.sh "${LOREHAVEN_FUZZ_SECONDS:-60}"
fi

export SDL_VIDEODRIVER=offscreen
ctest --test-dir "$build" --output-on-failure -j "$jobs" --timeout 600
