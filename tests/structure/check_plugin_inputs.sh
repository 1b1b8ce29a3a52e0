#!/usr/bin/env bash
# The plugin is built from the core alone: nothing of the fixture writer, of the tests or of the code
# only the tools use (tools/common) goes into it,
# so a packager can build it without them. Reads the build graph of a Ninja build directory.
#
#   check_plugin_inputs.sh BUILD_DIR
#
# The tool, which does use the fixture writer, shows that the check sees such inputs at all.
set -uo pipefail
build=${1:?usage: $0 BUILD_DIR}
test_code='(^|/)(tools/fixtures|tools/common|tests)/'

inputs() { ninja -C "$build" -t inputs "$1" 2>/dev/null; }

tool=$(inputs lumadisc) || { echo "ninja cannot list the inputs of lumadisc" >&2; exit 2; }
if ! grep -Eq "$test_code" <<<"$tool"; then
  echo "the check sees no fixture code even in the tool's inputs: it would pass anything" >&2
  exit 1
fi
plugin=$(inputs lumadisc_plugin) || { echo "ninja cannot list the inputs of lumadisc_plugin" >&2; exit 2; }
if grep -E "$test_code" <<<"$plugin"; then
  echo "lumadisc_plugin is built from the test code above" >&2
  exit 1
fi
echo "lumadisc_plugin: $(wc -l <<<"$plugin") inputs, none of them test code"
