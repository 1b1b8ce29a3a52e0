#!/usr/bin/env bash
# Sets everything up, builds, and runs every test: once in a normal build (with the real-host boot
# test), once under AddressSanitizer + UndefinedBehaviorSanitizer, once under ThreadSanitizer, and
# the fuzz targets for a bounded time.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
fuzz_seconds=${LUMADISC_FUZZ_SECONDS:-20}

"$root/scripts/setup.sh"

echo "== normal build"
"$root/scripts/build.sh" "$root/build" -DLUMADISC_REQUIRE_HOST_TESTS=ON
(cd "$root/build" && ctest --output-on-failure -j "$(nproc)")

echo "== AddressSanitizer + UndefinedBehaviorSanitizer build"
"$root/scripts/build.sh" "$root/build-asan" -DLUMADISC_SANITIZE=ON
(cd "$root/build-asan" && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
   ctest --output-on-failure -j "$(nproc)")

echo "== ThreadSanitizer build (the plugin's threads, through the plugin and in the core)"
cmake -S "$root" -B "$root/build-tsan" -G Ninja -DLUMADISC_TSAN=ON >/dev/null
cmake --build "$root/build-tsan" -j "$(nproc)" --target unit_tests e2e_tests
(cd "$root/build-tsan" && TSAN_OPTIONS=halt_on_error=1 ctest --output-on-failure -j "$(nproc)" -L "unit|e2e")

echo "== fuzz targets, ${fuzz_seconds} s each"
CC=clang-14 CXX=clang++-14 "$root/scripts/build.sh" "$root/build-fuzz" \
  -DLUMADISC_FUZZ=ON -DLUMADISC_SANITIZE=ON -DLUMADISC_TESTS=OFF
"$root/tests/fuzz/run_fuzzers.sh" "$root/build-fuzz" "$fuzz_seconds"
