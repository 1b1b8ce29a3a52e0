#!/usr/bin/env bash
# Sets everything up, builds, and shows what the plugin makes of its built-in demo disc.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" "$root/build"
"$root/build/lumadisc" info
"$root/build/lumadisc" read "$root/build/demo/demo.cue" 16 2
