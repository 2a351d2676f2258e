#!/usr/bin/env bash
# Checks that every folder of src/ includes only the folders below it, as the
# README's Layout section lists them, and the standing rules on headers: only
# platform/ includes SDL or socket headers, the platform's base library has no
# SDL at all, and the dice simulation includes nothing but itself and the
# standard library. Prints each violation with its file and line; exits 1 if
# there is any. Needs nothing but bash, grep and sed.
set -euo pipefail
cd "$(dirname "$0")/.."

# What each folder may include besides itself. Keep this table and the
# README's Layout section alike.
declare -A allowed=(
  [platform]=""
  [db]="platform"
  [net]="platform db"
  [render]="platform"
  [ui]="platform db net render"
  [text]="platform db net render ui"
  [chat]="platform db net render ui text"
  [dice]="platform db net render ui text"
  [table]="platform db net render ui text"
  [characters]="platform db net render ui text"
  [app]="platform db net render ui text chat dice table characters"
)

failures=0
fail() {
  echo "layers: $*" >&2
  failures=$((failures + 1))
}

# The sources of one library target as listed in a folder's CMakeLists.txt,
# with the header of each source beside it.
library_files() {
  local folder=$1 target=$2
  sed -n "/lorehaven_library($target\$/,/)/p; /lorehaven_library($target /,/)/p" "src/$folder/CMakeLists.txt" |
    grep -o '[A-Za-z0-9_]*\.cpp' | while read -r cpp; do
      echo "src/$folder/$cpp"
      [ -f "src/$folder/${cpp%.cpp}.h" ] && echo "src/$folder/${cpp%.cpp}.h"
    done
  return 0
}

# 1. Folder against folder.
for dir in src/*/; do
  layer=$(basename "$dir")
  if [ -z "${allowed[$layer]+set}" ]; then
    fail "src/$layer is not in the layer table (scripts/check-layers.sh and the README's Layout)"
    continue
  fi
  while IFS=: read -r file line include; do
    target=$(echo "$include" | sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([a-z_]*\)\/.*/\1/p')
    [ -z "$target" ] || [ "$target" = "$layer" ] && continue
    case " ${allowed[$layer]} " in
      *" $target "*) ;;
      *) fail "$file:$line: $layer may not include $target/ ($(echo "$include" | sed 's/^[[:space:]]*//'))" ;;
    esac
  done < <(grep -rn --include='*.h' --include='*.cpp' '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[a-z_]*/' "$dir" || true)
done

# 2. SDL and sockets only in platform/.
while IFS=: read -r file line include; do
  case "$file" in src/platform/*) continue ;; esac
  fail "$file:$line: only platform/ includes SDL or socket headers ($include)"
done < <(grep -rnE --include='*.h' --include='*.cpp' \
  '^[[:space:]]*#[[:space:]]*include[[:space:]]*<(SDL|sys/socket\.h|netinet/|arpa/inet\.h|netdb\.h)' src || true)

# 3. The platform's base library is plain C++: no SDL.
for file in $(library_files platform lh_platform_base); do
  if grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*<SDL' "$file" >/dev/null; then
    fail "$file: lh_platform_base must not include SDL"
  fi
done

# 4. The dice simulation: its own files and the standard library, nothing else,
# so that every build on every machine computes the same throw.
if [ -f src/dice/CMakeLists.txt ]; then
  sim=$(library_files dice lh_dice_sim)
  std='^(algorithm|array|bit|cassert|cfloat|climits|cmath|cstddef|cstdint|cstdio|cstdlib|cstring|functional|limits|memory|numeric|optional|span|string|string_view|tuple|type_traits|utility|vector)$'
  for file in $sim; do
    while IFS= read -r include; do
      name=$(echo "$include" | sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]\([^>"]*\)[>"].*/\1/p')
      if echo "$include" | grep -q '"'; then
        echo "$sim" | grep -qx "src/$name" || fail "$file: the dice simulation may include only its own files ($name)"
      else
        echo "$name" | grep -Eq "$std" || fail "$file: the dice simulation may include only the standard library (<$name>)"
      fi
    done < <(grep -E '^[[:space:]]*#[[:space:]]*include' "$file" || true)
  done
fi

if [ "$failures" -gt 0 ]; then
  echo "layers: $failures violation(s); see the README's Layout section" >&2
  exit 1
fi
echo "layers: every include keeps to its layer"
