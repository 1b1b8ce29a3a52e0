#!/usr/bin/env bash
# scripts/install-user.sh [BUILD_DIR]: installs the plugin for the current user's PCSX-Reloaded, without
# root: liblumadisc.so into ~/.pcsxr/plugins/ and, when there is none yet, a starter settings file
# holding the plugin's defaults into ~/.pcsxr/plugins/configs/lumaDisc.ini. Builds what it needs first
# (in BUILD_DIR, default build/). PCSXR_PLUGINS_DIR chooses another plugin directory.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
plugins=${PCSXR_PLUGINS_DIR:-$HOME/.pcsxr/plugins}

if [ ! -f "$build/CMakeCache.txt" ]; then
  generator=()
  command -v ninja >/dev/null && generator=(-G Ninja)
  cmake -S "$root" -B "$build" "${generator[@]}" >/dev/null
fi
# The starter file is written by the plugin's own settings code at build time.
cmake --build "$build" --target lumadisc_plugin starter_settings >/dev/null

mkdir -p "$plugins/configs"
install -m 0644 "$build/liblumadisc.so" "$plugins/liblumadisc.so"
echo "installed the plugin:  $plugins/liblumadisc.so"
settings=$plugins/configs/lumaDisc.ini
if [ -e "$settings" ]; then
  echo "kept your settings:    $settings"
else
  install -m 0644 "$build/starter/configs/lumaDisc.ini" "$settings"
  echo "wrote the settings:    $settings (the plugin's defaults)"
fi
cat <<EOT

PCSX-Reloaded changes into its plugin directory before it loads plugins, so the plugin reads its
settings from $settings
and writes lumaDisc.log beside it when logging is on. Choose lumaDisc as the CD-ROM plugin in
Configuration > Plugins & BIOS, and put the disc to open into the settings file:
    [cd selection]
    current = /path/to/game.cue
EOT
