#!/usr/bin/env bash
# Sets everything up, builds, and runs every test: once in a normal build (a Release build with GCC,
# with the real-host boot tests and the install checks), then the unit and end-to-end tests in a build
# with clang 14 with the default flags (as a packager builds), once under AddressSanitizer +
# UndefinedBehaviorSanitizer, once under ThreadSanitizer, and the fuzz targets for a bounded time.
# The project's own builds here treat warnings as errors; the packager's build does not.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
fuzz_seconds=${LUMADISC_FUZZ_SECONDS:-20}

"$root/scripts/setup.sh"

echo "== normal build (Release, GCC)"
"$root/scripts/build.sh" "$root/build" -DCMAKE_BUILD_TYPE=Release -DLUMADISC_WERROR=ON -DLUMADISC_REQUIRE_HOST_TESTS=ON
(cd "$root/build" && ctest --output-on-failure -j "$(nproc)")

# A packager's build, from a clean directory with nothing but the compiler chosen; only what the unit
# and end-to-end tests need is built.
packager_build() {  # directory, then what goes before cmake (the compiler), then cmake options
  local dir=$1
  shift
  rm -rf "$dir"
  env "$@" -S "$root" -B "$dir" -G Ninja >/dev/null
  cmake --build "$dir" -j "$(nproc)" --target unit_tests e2e_tests drive_tests demo_disc
  (cd "$dir" && ctest --output-on-failure -j "$(nproc)" -L "unit|e2e")
}
echo "== build with clang 14, default flags"
packager_build "$root/build-clang" CC=clang-14 CXX=clang++-14 cmake

echo "== AddressSanitizer + UndefinedBehaviorSanitizer build"
"$root/scripts/build.sh" "$root/build-asan" -DLUMADISC_WERROR=ON -DLUMADISC_SANITIZE=ON
(cd "$root/build-asan" && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
   ctest --output-on-failure -j "$(nproc)")

echo "== ThreadSanitizer build (the plugin's threads, through the plugin and in the core)"
cmake -S "$root" -B "$root/build-tsan" -G Ninja -DLUMADISC_WERROR=ON -DLUMADISC_TSAN=ON >/dev/null
cmake --build "$root/build-tsan" -j "$(nproc)" --target unit_tests e2e_tests drive_tests
(cd "$root/build-tsan" && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j "$(nproc)" -L "unit|e2e")

echo "== fuzz targets, ${fuzz_seconds} s each"
CC=clang-14 CXX=clang++-14 "$root/scripts/build.sh" "$root/build-fuzz" \
  -DLUMADISC_WERROR=ON -DLUMADISC_FUZZ=ON -DLUMADISC_SANITIZE=ON -DLUMADISC_TESTS=OFF
"$root/tests/fuzz/run_fuzzers.sh" "$root/build-fuzz" "$fuzz_seconds"
