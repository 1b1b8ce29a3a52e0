#!/usr/bin/env bash
# The plugin exports the interface symbols and nothing else.
set -euo pipefail
plugin=$1
actual=$(nm -D --defined-only "$plugin" | awk '{print $3}' | sort)
unexpected=$(echo "$actual" | grep -vE '^(CDR[A-Za-z]+|PSEgetLib(Type|Name|Version)|PluginLoad)$' || true)
if [ -n "$unexpected" ]; then
  echo "unexpected exported symbols:"; echo "$unexpected"; exit 1
fi
for name in CDRinit CDRshutdown CDRopen CDRclose CDRgetTN CDRgetTD CDRreadTrack CDRgetBuffer \
            CDRgetBufferSub CDRplay CDRstop CDRgetStatus CDRreadCDDA CDRgetTE CDRkeypressed \
            CDRconfigure CDRabout CDRtest CDRgetDriveLetter PSEgetLibType PSEgetLibName PSEgetLibVersion; do
  echo "$actual" | grep -qx "$name" || { echo "missing export: $name"; exit 1; }
done
echo "exports: $(echo "$actual" | wc -l) interface symbols, nothing else"
