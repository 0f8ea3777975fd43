#!/usr/bin/env bash
# Installs what is missing, builds with every warning an error and runs every test; then the tests
# of the libraries again under the sanitizers. Needs no display.
set -euo pipefail
cd "$(dirname "$0")"
. scripts/build-environment.sh

scripts/install-packages.sh build test

echo "== Build, warnings are errors"
build_preset ci
echo "== All tests"
ctest --preset ci -j "$(nproc)"

# The window's toolkit is not instrumented: under the sanitizers run the parts that are all ours.
echo "== Libraries and store under the address and undefined behaviour sanitizers"
build_preset asan sanitized_tests
ctest --preset asan -j "$(nproc)" -L sanitized

echo "== Libraries and store under the thread sanitizer"
build_preset tsan sanitized_tests
ctest --preset tsan -j "$(nproc)" -L sanitized
