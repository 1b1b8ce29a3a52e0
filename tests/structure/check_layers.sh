#!/usr/bin/env bash
# The folders under src/ depend one way: a file includes headers of its own folder or of a folder
# below it, never of one above. `check_layers.sh SRC_DIR` checks every #include "folder/..." line;
# `check_layers.sh --self-test SRC_DIR` also shows that a wrong-way include is caught.
set -euo pipefail

# Bottom to top; folders on one line share a level and do not include each other.
levels=(
  "support"
  "config input"
  "disc"
  "formats drive"
  "reader"
  "audio"
  "facade"
  "controller"
  "plugin"
)

level_of() {
  local i
  for i in "${!levels[@]}"; do
    for folder in ${levels[$i]}; do
      [ "$folder" = "$1" ] && { echo "$i"; return; }
    done
  done
  echo -1
}

check() {
  local src=$1 bad=0 file folder included line mine theirs
  while IFS= read -r file; do
    folder=${file#"$src"/}
    folder=${folder%%/*}
    mine=$(level_of "$folder")
    if [ "$mine" -lt 0 ]; then
      echo "layers: $file: folder \"$folder\" has no place in the order"; bad=1; continue
    fi
    while IFS= read -r line; do
      included=$(sed -E 's/^[[:space:]]*#[[:space:]]*include[[:space:]]+"([a-z_]+)\/.*/\1/' <<<"$line")
      [ "$included" = "$folder" ] && continue
      [ "$included" = "lumadisc" ] && continue  # the public host header
      theirs=$(level_of "$included")
      if [ "$theirs" -lt 0 ] || [ "$theirs" -ge "$mine" ]; then
        echo "layers: $file includes $included/ from $folder/: $line"; bad=1
      fi
    done < <(grep -E '^[[:space:]]*#[[:space:]]*include[[:space:]]+"[a-z_]+/' "$file" || true)
  done < <(find "$src" -type f \( -name '*.h' -o -name '*.cpp' \) | sort)
  return $bad
}

if [ "${1:-}" = "--self-test" ]; then
  src=$2
  scratch=$(mktemp -d)
  trap 'rm -rf "$scratch"' EXIT
  cp -r "$src" "$scratch/src"
  check "$scratch/src" >/dev/null || { echo "layers: the tree itself fails"; exit 1; }
  # One wrong-way include planted in the lowest folder must be caught...
  echo '#include "plugin/hot_keys.h"' >>"$scratch/src/support/paths.h"
  if check "$scratch/src" >/dev/null; then echo "layers: a wrong-way include went unnoticed"; exit 1; fi
  # ...and so must one between two folders of the same level.
  cp "$src/support/paths.h" "$scratch/src/support/paths.h"
  echo '#include "drive/planted.h"' >>"$scratch/src/formats/cdrwin.h"
  mkdir -p "$scratch/src/drive"
  if check "$scratch/src" >/dev/null; then echo "layers: a sideways include went unnoticed"; exit 1; fi
  echo "layers: wrong-way and sideways includes are caught"
  exit 0
fi

check "$1"
echo "layers: every include points down"
