#!/usr/bin/env bash
# scripts/install-user.sh [--uninstall] [BUILD_DIR]: installs lumaDisc for the current user's
# PCSX-Reloaded, without root:
#   liblumadisc.so and lumadisc-config into ~/.pcsxr/plugins/ (the settings program beside the plugin,
#     where the emulator's "Configure CD-ROM" finds it),
#   lumadisc into ~/.local/bin/,
#   and, when there is none yet, a starter settings file holding the plugin's defaults into
#     ~/.pcsxr/plugins/configs/lumaDisc.ini.
# Builds what it needs first (in BUILD_DIR, default build/). PCSXR_PLUGINS_DIR chooses another plugin
# directory, LUMADISC_BIN_DIR another directory for the tool. --uninstall removes the three programs
# again and keeps the settings file.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
uninstall=0
if [ "${1:-}" = "--uninstall" ]; then
  uninstall=1
  shift
fi
build=${1:-$root/build}
plugins=${PCSXR_PLUGINS_DIR:-$HOME/.pcsxr/plugins}
bin=${LUMADISC_BIN_DIR:-$HOME/.local/bin}
settings=$plugins/configs/lumaDisc.ini
multiarch=$(gcc -print-multiarch 2>/dev/null || echo x86_64-linux-gnu)
system_plugin=/usr/lib/$multiarch/psemu/liblumadisc.so

if [ $uninstall = 1 ]; then
  for file in "$plugins/liblumadisc.so" "$plugins/lumadisc-config" "$bin/lumadisc"; do
    if [ -e "$file" ] || [ -L "$file" ]; then
      rm -f "$file"
      echo "removed:               $file"
    fi
  done
  [ -e "$settings" ] && echo "kept your settings:    $settings (remove it yourself if you want it gone)"
  exit 0
fi

if [ ! -f "$build/CMakeCache.txt" ]; then
  generator=()
  command -v ninja >/dev/null && generator=(-G Ninja)
  cmake -S "$root" -B "$build" "${generator[@]}" >/dev/null
fi
# The starter file is written by the plugin's own settings code at build time.
cmake --build "$build" --target lumadisc_plugin lumadisc_config lumadisc starter_settings >/dev/null

mkdir -p "$plugins/configs" "$bin"
if [ -L "$plugins/liblumadisc.so" ] && [ ! -e "$plugins/liblumadisc.so" ]; then
  echo "warning: $plugins/liblumadisc.so was a link to a plugin that is gone" \
    "($(readlink "$plugins/liblumadisc.so")); it is replaced now" >&2
fi
rm -f "$plugins/liblumadisc.so"  # a link the emulator made to a system copy is replaced by the file
install -m 0644 "$build/liblumadisc.so" "$plugins/liblumadisc.so"
echo "installed the plugin:  $plugins/liblumadisc.so"
install -m 0755 "$build/config-program/lumadisc-config" "$plugins/lumadisc-config"
echo "installed its settings program: $plugins/lumadisc-config"
install -m 0755 "$build/lumadisc" "$bin/lumadisc"
echo "installed the tool:    $bin/lumadisc"
if [ -e "$settings" ]; then
  echo "kept your settings:    $settings"
else
  install -m 0644 "$build/starter/configs/lumaDisc.ini" "$settings"
  echo "wrote the settings:    $settings (the plugin's defaults)"
fi

case ":$PATH:" in
  *":$bin:"*) ;;
  *) echo "warning: $bin is not on your PATH; add it (for example in ~/.profile) to run lumadisc by name" >&2 ;;
esac
if [ -e "$system_plugin" ]; then
  echo "warning: a system-wide lumaDisc is installed ($system_plugin). At its next start PCSX-Reloaded" \
    "replaces $plugins/liblumadisc.so by a link to that copy, so the system copy is the one it loads;" \
    "if the package is removed later, that link points nowhere and the emulator says only" \
    "\"Error opening CD-ROM plugin!\": run this script again then." >&2
fi
cat <<EOT

PCSX-Reloaded changes into its plugin directory before it loads plugins, so the plugin reads its
settings from $settings
and writes lumaDisc.log beside it when logging is on. Choose lumaDisc as the CD-ROM plugin in
Configuration > Plugins & BIOS; "Configure CD-ROM" opens lumadisc-config. From a shell:
    lumadisc-config --disc /path/to/game.cue
    lumadisc info /path/to/game.cue
Remove it again with: $0 --uninstall
EOT
