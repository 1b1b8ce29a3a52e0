#!/usr/bin/env bash
# Boots a disc in PCSX-Reloaded (headless, HLE firmware) with the plugin as its CD-ROM drive and waits for
# the executable's line on the emulator's output.
#
#   pcsxr_boot.sh PLUGIN_SO DISC_PATH [EXPECTED_LINE]
#
# Exit 0 when EXPECTED_LINE (default LUMADISC-BOOT-OK) appeared, 1 when it did not, 2 on a usage or setup
# error, 77 when pcsxr or Xvfb is not installed (CTest's skip code).
# Environment: PCSXR_BOOT_TIMEOUT (seconds, default 20); PCSXR_BOOT_MODE=cdfile boots the disc with the
# emulator's own image reader instead (a check of the disc, not of the plugin); LUMADISC_LOGGING=1 turns the
# plugin's log on (its tail is printed on failure); PCSXR_BOOT_KEEP=1 keeps the scratch directory;
# PCSXR_BOOT_PRELOAD=LIBRARY preloads a library into the emulator (the emulated drive), and DISC_PATH may
# then name a device that only the library answers for; PCSXR_BOOT_HOME=DIR boots with a home prepared
# beforehand (a user's plugin install in DIR/.pcsxr/plugins): the plugin already there is used and only
# the disc is set in its settings file.
set -uo pipefail

if [ $# -lt 2 ] || [ $# -gt 3 ]; then
  echo "usage: $0 PLUGIN_SO DISC_PATH [EXPECTED_LINE]" >&2
  exit 2
fi
expected=${3:-LUMADISC-BOOT-OK}
timeout_s=${PCSXR_BOOT_TIMEOUT:-20}
mode=${PCSXR_BOOT_MODE:-plugin}
pcsxr=/usr/games/pcsxr

for tool in "$pcsxr" Xvfb stdbuf setsid; do
  if ! command -v "$tool" >/dev/null 2>&1; then
    echo "skipped: $tool is not installed" >&2
    exit 77
  fi
done
plugin=$(realpath -e "$1" 2>/dev/null) || { echo "no plugin at $1" >&2; exit 2; }
preload=${PCSXR_BOOT_PRELOAD:-}
if [ -n "$preload" ]; then
  preload=$(realpath -e "$preload" 2>/dev/null) || { echo "no library at $PCSXR_BOOT_PRELOAD" >&2; exit 2; }
  disc=$2
else
  disc=$(realpath -e "$2" 2>/dev/null) || { echo "no disc at $2" >&2; exit 2; }
fi

work=$(mktemp -d "${TMPDIR:-/tmp}/pcsxr_boot.XXXXXX") || exit 2
pcsxr_pid=""
xvfb_pid=""

stop_process() {  # pid, signal, seconds to wait before SIGKILL
  local pid=$1 signal=$2 grace=$3 i
  [ -n "$pid" ] || return 0
  kill -"$signal" -- "-$pid" 2>/dev/null || kill -"$signal" "$pid" 2>/dev/null || return 0
  for ((i = 0; i < grace * 10; i++)); do
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  if kill -0 "$pid" 2>/dev/null; then
    kill -KILL -- "-$pid" 2>/dev/null || kill -KILL "$pid" 2>/dev/null
  fi
  wait "$pid" 2>/dev/null
  return 0
}

cleanup() {
  stop_process "$pcsxr_pid" INT 3
  pcsxr_pid=""
  stop_process "$xvfb_pid" TERM 2
  xvfb_pid=""
  exec 4<&-
  if [ "${PCSXR_BOOT_KEEP:-0}" = 1 ]; then
    echo "scratch directory kept: $work" >&2
  else
    rm -rf "$work"
  fi
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

# A throwaway home with the emulator's configuration and the plugin (pcsxr links its own video, sound and
# input plugins into the directory when it starts).
# pcsxr changes into PluginsDir before it loads the plugins, so that is the plugin's working directory:
# its configs/lumaDisc.ini and lumaDisc.log live there.
home=${PCSXR_BOOT_HOME:-$work/home}
plugins=$home/.pcsxr/plugins
run=$plugins
mkdir -p "$plugins" "$home/.pcsxr/memcards" "$home/.pcsxr/bios" "$run/configs" || exit 2
if [ ! "$plugin" -ef "$plugins/$(basename "$plugin")" ]; then
  ln -sf "$plugin" "$plugins/$(basename "$plugin")" || exit 2
fi
cat >"$home/.pcsxr/test.cfg" <<EOF
Bios = HLE
Gpu = libpeopsxgl.so
Spu = libDFSound.so
Cdr = $(basename "$plugin")
Sio1 = libBladeSio1.so
Net = Disabled
Pad1 = libDFInput.so
Pad2 = libDFInput.so
Mcd1 = $home/.pcsxr/memcards/card1.mcd
Mcd2 = $home/.pcsxr/memcards/card2.mcd
BiosDir = $home/.pcsxr/bios/
PluginsDir = $plugins/
Xa = 0
SioIrq = 0
Mdec = 0
PsxAuto = 1
Cdda = 0
SlowBoot = 0
Dbg = 0
PsxOut = 1
SpuIrq = 0
RCntFix = 0
VSyncWA = 0
Widescreen = 0
Cpu = 0
PsxType = 0
EOF
logging=false
[ "${LUMADISC_LOGGING:-0}" = 1 ] && logging=true
case $disc in *[\;#]*) disc_value="\"$disc\"" ;; *) disc_value=$disc ;; esac
if [ -n "${PCSXR_BOOT_HOME:-}" ] && [ -f "$run/configs/lumaDisc.ini" ]; then
  # The settings file the install wrote, with the disc (and the log switch) set in it.
  settings=$run/configs/lumaDisc.ini
  DISC=$disc_value LOGGING=$logging awk '
    /^\[/ { section = $0 }
    section == "[cd selection]" && /^current[ \t]*=/ { print "current = " ENVIRON["DISC"]; next }
    section == "[misc]" && /^enablelogging[ \t]*=/ { print "enablelogging = " ENVIRON["LOGGING"]; next }
    { print }' "$settings" >"$settings.new" && mv "$settings.new" "$settings" || exit 2
  grep -qxF "current = $disc_value" "$settings" || { echo "no current key in $settings" >&2; exit 2; }
else
  cat >"$run/configs/lumaDisc.ini" <<EOF
[cd selection]
current = $disc_value
[misc]
enablelogging = $logging
EOF
fi

# A private X server; it writes its display number to fd 3 once it accepts connections.
mkfifo "$work/display" || exit 2
setsid Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
exec 4<"$work/display"
display=""
read -r -t 15 -u 4 display
if [ -z "$display" ]; then
  echo "Xvfb did not start:" >&2
  tail -n 20 "$work/xvfb.log" >&2
  exit 2
fi

if [ "$mode" = cdfile ]; then
  source_args=(-cdfile "$disc")
else
  source_args=(-runcd)
fi
: >"$work/pcsxr.log"
cd "$run" || exit 2
HOME=$home SDL_AUDIODRIVER=dummy DISPLAY=:$display LD_PRELOAD=$preload${LD_PRELOAD:+:$LD_PRELOAD} \
  setsid stdbuf -oL -eL "$pcsxr" -nogui -psxout -cfg test.cfg "${source_args[@]}" </dev/null >"$work/pcsxr.log" 2>&1 &
pcsxr_pid=$!

seen=0
deadline=$((SECONDS + timeout_s))
while [ $SECONDS -lt $deadline ]; do
  if grep -qF -- "$expected" "$work/pcsxr.log"; then
    seen=1
    break
  fi
  kill -0 "$pcsxr_pid" 2>/dev/null || break
  sleep 0.1
done
[ $seen = 0 ] && grep -qF -- "$expected" "$work/pcsxr.log" && seen=1

stop_process "$pcsxr_pid" INT 3
pcsxr_pid=""

if [ $seen = 1 ]; then
  echo "pcsxr ($mode) printed: $(grep -F -- "$expected" "$work/pcsxr.log" | head -n 1)"
  exit 0
fi
echo "pcsxr ($mode) did not print \"$expected\" within ${timeout_s}s; the end of its output:" >&2
tail -n 40 "$work/pcsxr.log" >&2
if [ -s "$run/lumaDisc.log" ]; then
  echo "--- the end of lumaDisc.log:" >&2
  tail -n 40 "$run/lumaDisc.log" >&2
fi
exit 1
