#!/usr/bin/env bash
# Installs what is missing, builds with every warning an error and runs every test; then all of them
# again under the sanitizers, and each fuzz target for a minute. Needs no display.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/build-environment.sh

scripts/install-packages.sh build test fuzz

echo "== Build, warnings are errors"
build_preset ci
echo "== All tests"
ctest --preset ci -j "$(nproc)"

echo "== All tests under the address and undefined behaviour sanitizers"
build_preset asan
ctest --preset asan -j "$(nproc)"

echo "== All tests under the thread sanitizer"
build_preset tsan
ctest --preset tsan -j "$(nproc)"

./fuzz.sh --seconds 60
