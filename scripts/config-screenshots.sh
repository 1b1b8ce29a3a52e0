#!/usr/bin/env bash
# Refreshes the settings window's pictures in docs/: lumadisc-config under Xvfb, one PNG per page.
# usage: scripts/config-screenshots.sh BUILD_DIR
set -euo pipefail
build=$(realpath "${1:-build}")
docs=$(realpath "$(dirname "$0")/../docs")
work=$(mktemp -d)
display=:$((90 + RANDOM % 100))
cleanup() {
  [ -n "${program:-}" ] && kill "$program" 2>/dev/null || true
  [ -n "${server:-}" ] && kill "$server" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
cd "$work"
mkdir configs  # the work directory stands for an emulator's plugin directory
# Two small discs, so the Disc page has a track list and a recently used list to show.
head -c $((2352 * 100)) /dev/zero >other.bin
printf 'FILE "other.bin" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n' >other.cue
"$build/config-program/lumadisc-config" --disc other.cue >/dev/null
head -c $((2352 * 300)) /dev/zero >game.bin
printf 'FILE "game.bin" BINARY\n  TRACK 01 MODE2/2352\n    INDEX 01 00:00:00\n  TRACK 02 AUDIO\n    INDEX 01 00:03:00\n' >game.cue
"$build/config-program/lumadisc-config" --disc game.cue --set "cdrom property:cddavolumelevel=80" >/dev/null
Xvfb "$display" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
server=$!
sleep 1
DISPLAY=$display "$build/config-program/lumadisc-config" &
program=$!
export DISPLAY=$display
xdotool search --sync --name "lumaDisc settings" >/dev/null
xdotool mousemove 1023 767  # no tooltip in the pictures
xdotool search --name "lumaDisc settings" windowfocus --sync
for page in disc:d reading:e audio:a hot-keys:h misc:m; do
  xdotool key "alt+${page#*:}"
  sleep 0.5
  ffmpeg -loglevel error -y -f x11grab -video_size 1024x768 -i "$display" -frames:v 1 \
    -vf "crop=in_w:in_h" full.png
  # Only the window: its size comes from xdotool.
  eval "$(xdotool search --name 'lumaDisc settings' getwindowgeometry --shell | head -n 20)"
  ffmpeg -loglevel error -y -i full.png -vf "crop=$WIDTH:$HEIGHT:$X:$Y" "$docs/config-${page%:*}.png"
done
