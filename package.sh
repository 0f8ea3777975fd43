#!/usr/bin/env bash
# Builds the release and makes the Debian packages of it, in FOLDER, else in build/packages.
# Usage: ./package.sh [FOLDER]
set -euo pipefail
case "${1:-}" in
    -*) echo "Usage: ./package.sh [FOLDER]" >&2; exit 2 ;;
esac
root=$(cd "$(dirname "$0")" && pwd)
folder=$(realpath -m -- "${1:-$root/build/packages}")
cd "$root"
. scripts/build-environment.sh

scripts/install-packages.sh build package

echo "== Build"
build_preset release logdesk zulogsvc zulog zulog_client

echo "== Packages"
work=$(mktemp -d build/packages.XXXXXX)
trap 'rm -rf "$work"' EXIT
cpack --config build/release/CPackConfig.cmake -B "$work"
lintian --fail-on error,warning --tag-display-limit 0 "$work"/*.deb
mkdir -p "$folder"
mv "$work"/*.deb "$folder"
ls -l "$folder"/*.deb
