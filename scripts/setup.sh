#!/usr/bin/env bash
# Installs what building and testing lumaDisc needs from Debian's packages (Debian 12).
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config dpkg-dev file
  libgtest-dev libgmock-dev libbenchmark-dev
  libiniparser-dev libmd-dev libopenal-dev libsndfile1-dev
  liblzma-dev zlib1g-dev libflac-dev libxcb1-dev libevdev-dev libnotify-dev libgtk-3-dev xdotool
  cdrdao mame-tools sox flac
  clang-14 libclang-rt-14-dev
  libcdio-utils genisoimage vcdimager ffmpeg xxd
  pcsxr xvfb xauth libgl1-mesa-dri
)

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: every package is installed"
  exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "setup: run as root or install sudo; missing: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
