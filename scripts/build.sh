#!/usr/bin/env bash
# scripts/build.sh DIR [CMAKE OPTIONS...]: configures and builds lumaDisc into DIR.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=$1
shift
cmake -S "$root" -B "$dir" -G Ninja "$@" >/dev/null
cmake --build "$dir" -j "$(nproc)"
