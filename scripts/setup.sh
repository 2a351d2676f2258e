#!/usr/bin/env bash
# Installs the Debian packages that Lorehaven builds, runs and tests with.
# Safe to run again: packages already present are skipped, and apt is not
# touched at all when nothing is missing.
set -euo pipefail

packages=(
  build-essential cmake pkg-config clang libclang-rt-14-dev
  libsdl2-dev libepoxy-dev libglm-dev libegl-mesa0 libgl1-mesa-dri libgles2
  libpugixml-dev zlib1g-dev libminizip-dev
  libpng-dev libjpeg-dev libstb-dev
  libfreetype-dev libfontconfig-dev fonts-dejavu-core
  libimgui-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xdg-utils
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  if [ "$(id -u)" -ne 0 ]; then SUDO=sudo; else SUDO=; fi
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
