#!/usr/bin/env bash
# Installs the built project the three ways a user can and checks what lands where, then runs the
# installed tool with the installed plugin on the demo disc (and, with BOOT=1, boots the demo disc in
# PCSX-Reloaded with the installed plugin).
#
#   check_install.sh prefix|deb|user BUILD_DIR [BOOT]
#
#   prefix  cmake --install into a scratch prefix
#   deb     cpack -G DEB, dpkg -x into a scratch root; with CI=true (or LUMADISC_INSTALL_SYSTEM=1) and
#           root also dpkg -i and dpkg -r on this machine
#   user    scripts/install-user.sh with a scratch HOME
# Exit 0 when every check held, 1 when one failed, 2 on a usage error, 77 when a needed program is missing.
set -uo pipefail

if [ $# -lt 2 ] || [ $# -gt 3 ]; then
  echo "usage: $0 prefix|deb|user BUILD_DIR [BOOT]" >&2
  exit 2
fi
mode=$1
build=$(realpath -e "$2") || exit 2
boot=${3:-0}
root=$(cd "$(dirname "$0")/../.." && pwd)
multiarch=$(gcc -print-multiarch 2>/dev/null || echo x86_64-linux-gnu)
work=$(mktemp -d "${TMPDIR:-/tmp}/lumadisc-install.XXXXXX") || exit 2
trap 'rm -rf "$work"' EXIT
failures=0

fail() {
  echo "FAILED: $*" >&2
  failures=$((failures + 1))
}
expect_file() {  # path, what it is
  [ -f "$1" ] && echo "ok: $2 at ${1#"$work"/}" || fail "$2 missing: $1"
}
# The installed tool, with nothing pointing it at a plugin, must find the installed one.
expect_tool_uses() {  # tool, plugin it must report
  local out
  out=$(env -u LUMADISC_PLUGIN "$1" info 2>&1)
  local code=$?
  [ $code = 0 ] || fail "$1 info exited $code: $out"
  grep -qxF "plugin:    $(realpath "$2")" <<<"$out" || fail "$1 info did not use $2: $out"
  grep -qx "tracks:    2" <<<"$out" || fail "$1 info did not list the demo disc's two tracks: $out"
  [ $code = 0 ] && echo "ok: $1 info read the demo disc through $2"
}
boot_demo() {  # plugin, [home]
  [ "$boot" = 1 ] || return 0
  "$build/lumadisc" make-demo "$work/demo" >/dev/null || { fail "make-demo"; return; }
  if PCSXR_BOOT_HOME=${2:-} "$root/tests/host/pcsxr_boot.sh" "$1" "$work/demo/demo.cue"; then
    echo "ok: PCSX-Reloaded booted the demo disc with $1"
  else
    local code=$?
    [ $code = 77 ] && exit 77
    fail "PCSX-Reloaded did not boot the demo disc with $1"
  fi
}
layout() {  # installed root, its prefix ("" or usr)
  local base=$1${2:+/$2}
  expect_file "$base/lib/$multiarch/psemu/liblumadisc.so" "the plugin"
  expect_file "$base/bin/lumadisc" "the tool"
  expect_file "$base/include/lumadisc/host_api.h" "the host header"
  expect_file "$base/share/doc/lumadisc/README.md" "the README"
  expect_file "$base/share/doc/lumadisc/settings.md" "the settings description"
  expect_file "$base/share/doc/lumadisc/lumaDisc.ini" "the starter settings file"
}

case $mode in
prefix)
  prefix=$work/prefix
  cmake --install "$build" --prefix "$prefix" >"$work/install.log" 2>&1 || { cat "$work/install.log" >&2; exit 1; }
  layout "$prefix" ""
  expect_tool_uses "$prefix/bin/lumadisc" "$prefix/lib/$multiarch/psemu/liblumadisc.so"
  boot_demo "$prefix/lib/$multiarch/psemu/liblumadisc.so"
  ;;
deb)
  for program in cpack dpkg-deb dpkg-shlibdeps; do
    command -v "$program" >/dev/null || { echo "skipped: $program is not installed" >&2; exit 77; }
  done
  (cd "$work" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/package") >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log" >&2; exit 1; }
  deb=$(ls "$work"/package/lumadisc_*.deb 2>/dev/null | head -n 1)
  [ -n "$deb" ] || { cat "$work/cpack.log" >&2; fail "cpack wrote no lumadisc_*.deb"; exit 1; }
  echo "ok: $(basename "$deb")"
  depends=$(dpkg-deb -f "$deb" Depends)
  for library in libiniparser libopenal libmd libstdc++6 libc6; do
    grep -q "$library" <<<"$depends" || fail "Depends ($depends) lacks $library"
  done
  dpkg-deb -x "$deb" "$work/root" || exit 1
  layout "$work/root" usr
  expect_tool_uses "$work/root/usr/bin/lumadisc" "$work/root/usr/lib/$multiarch/psemu/liblumadisc.so"
  boot_demo "$work/root/usr/lib/$multiarch/psemu/liblumadisc.so"
  if [ "${CI:-}" = true ] || [ "${LUMADISC_INSTALL_SYSTEM:-0}" = 1 ]; then
    if [ "$(id -u)" = 0 ]; then
      dpkg -i "$deb" >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log" >&2; fail "dpkg -i"; }
      expect_tool_uses /usr/bin/lumadisc "/usr/lib/$multiarch/psemu/liblumadisc.so"
      dpkg -r lumadisc >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log" >&2; fail "dpkg -r"; }
      for path in /usr/bin/lumadisc "/usr/lib/$multiarch/psemu/liblumadisc.so" /usr/share/doc/lumadisc; do
        [ ! -e "$path" ] || fail "$path is still there after dpkg -r"
      done
      dpkg-query -W -f='${Status}' lumadisc 2>/dev/null | grep -q "install ok installed" && fail "still installed"
      echo "ok: dpkg -i and dpkg -r on this machine"
    else
      echo "note: not root, dpkg -i and dpkg -r skipped"
    fi
  fi
  ;;
user)
  home=$work/home
  mkdir -p "$home"
  HOME=$home "$root/scripts/install-user.sh" "$build" >"$work/user.log" 2>&1 ||
    { cat "$work/user.log" >&2; fail "install-user.sh"; exit 1; }
  plugins=$home/.pcsxr/plugins
  expect_file "$plugins/liblumadisc.so" "the plugin"
  expect_file "$plugins/configs/lumaDisc.ini" "the settings file"
  cmp -s "$plugins/configs/lumaDisc.ini" "$build/starter/configs/lumaDisc.ini" ||
    fail "the settings file is not the starter file"
  grep -qF "$plugins/configs/lumaDisc.ini" "$work/user.log" || fail "install-user.sh did not say where the settings file is"
  # A second install replaces the plugin and keeps the user's settings.
  echo "; mine" >>"$plugins/configs/lumaDisc.ini"
  HOME=$home "$root/scripts/install-user.sh" "$build" >"$work/user.log" 2>&1 || fail "install-user.sh, second run"
  grep -qx "; mine" "$plugins/configs/lumaDisc.ini" || fail "the second install overwrote the settings file"
  grep -q "kept your settings" "$work/user.log" || fail "the second install did not say it kept the settings"
  sed -i '/^; mine$/d' "$plugins/configs/lumaDisc.ini"
  # The settings program lies beside the plugin, where "Configure CD-ROM" finds it: the emulator's
  # CDRconfigure, from the plugin directory as PCSX-Reloaded calls it, starts it and it edits the file.
  expect_file "$plugins/lumadisc-config" "the settings program beside the plugin"
  (cd "$plugins" && HOME=$home PATH=/usr/bin:/bin LUMADISC_CONFIG_SCRIPT="--set misc:showstatus=false" \
    "$build/fault_host" "$plugins/liblumadisc.so" configure >"$work/configure.log" 2>&1) ||
    { cat "$work/configure.log" >&2; fail "CDRconfigure"; }
  grep -q "^showstatus *= false" "$plugins/configs/lumaDisc.ini" ||
    { cat "$work/configure.log" >&2; fail "CDRconfigure did not run the installed settings program"; }
  # The tool is on the user's path and finds the plugin the emulator loads.
  expect_file "$home/.local/bin/lumadisc" "the tool"
  HOME=$home PATH=$home/.local/bin:/usr/bin:/bin lumadisc info "$build/demo/demo.cue" >"$work/info.log" 2>&1 ||
    { cat "$work/info.log" >&2; fail "lumadisc info from the user install"; }
  grep -qF "plugin:    $plugins/liblumadisc.so" "$work/info.log" || fail "the tool did not load the user's plugin"
  boot_demo "$plugins/liblumadisc.so" "$home"
  # --uninstall leaves nothing of the three programs, and the settings.
  HOME=$home "$root/scripts/install-user.sh" --uninstall >"$work/user.log" 2>&1 || fail "install-user.sh --uninstall"
  for gone in "$plugins/liblumadisc.so" "$plugins/lumadisc-config" "$home/.local/bin/lumadisc"; do
    [ -e "$gone" ] && fail "--uninstall left $gone"
  done
  expect_file "$plugins/configs/lumaDisc.ini" "the settings file after --uninstall"
  ;;
*)
  echo "usage: $0 prefix|deb|user BUILD_DIR [BOOT]" >&2
  exit 2
  ;;
esac

[ $failures = 0 ] || { echo "$failures check(s) failed" >&2; exit 1; }
echo "all checks held"
