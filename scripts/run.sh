#!/usr/bin/env bash
# Installs what is missing, builds Lorehaven and starts it hosting a Campaign
# on the bundled default Ruleset. Extra arguments go to the program.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DLOREHAVEN_TESTS=OFF -DLOREHAVEN_BENCH=OFF
cmake --build build -j "$(nproc)" --target lorehaven
workdir=${LOREHAVEN_WORKDIR:-${XDG_DATA_HOME:-$HOME/.local/share}/lorehaven}
mkdir -p "$workdir"
exec build/lorehaven --workdir "$workdir" --host --campaign "First Campaign" \
     --ruleset Lorehaven --gm Gamemaster "$@"
