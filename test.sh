#!/usr/bin/env bash
# Installs what is missing, builds with every warning an error and runs every test; then the tests
# again under the sanitizers, and a minute of each fuzz target. Needs no display.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/build-environment.sh

# The compiler of the fuzz targets is that of the sanitizers too.
scripts/install-packages.sh build test fuzz

echo "== Build, warnings are errors"
build_preset ci
echo "== All tests"
ctest --preset ci -j "$(nproc)"

echo "== Tests under the address and undefined behaviour sanitizers"
build_preset asan
ctest --preset asan -j "$(nproc)"

echo "== Tests under the thread sanitizer"
build_preset tsan
ctest --preset tsan -j "$(nproc)"

./fuzz.sh --seconds 60
