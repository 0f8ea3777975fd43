#!/usr/bin/env bash
# Installs those of the named groups' packages that are missing: build, test, fuzz, bench, package,
# peers, virtual-display.
# Asks for no rights when everything is there already.
set -euo pipefail

build=(build-essential cmake ninja-build qtbase5-dev qttools5-dev qttools5-dev-tools
       libboost-dev libboost-thread-dev libboost-date-time-dev libboost-program-options-dev
       libjemalloc-dev)
test=(libgtest-dev libbenchmark-dev fonts-dejavu-core xvfb xdotool systemd groff-base
      libspdlog-dev pkg-config qttranslations5-l10n lintian desktop-file-utils appstream dpkg-dev
      fakeroot file x11-utils dbus at-spi2-core)
fuzz=(clang libclang-rt-14-dev)
# What bench.sh needs, and what its figures stand beside where it is there.
bench=(libbenchmark-dev libx11-dev fonts-dejavu-core xvfb xdotool jq)
# What package.sh needs, and what looks at the packages.
package=(lintian desktop-file-utils appstream dpkg-dev fakeroot file)
peers=(lnav glogg xvfb xdotool)
virtual_display=(xvfb xdotool imagemagick x11-utils fonts-dejavu-core)

wanted=()
for group in "$@"; do
    case "$group" in
        build) wanted+=("${build[@]}") ;;
        test) wanted+=("${test[@]}") ;;
        fuzz) wanted+=("${fuzz[@]}") ;;
        bench) wanted+=("${bench[@]}") ;;
        package) wanted+=("${package[@]}") ;;
        peers) wanted+=("${peers[@]}") ;;
        virtual-display) wanted+=("${virtual_display[@]}") ;;
        *) echo "install-packages.sh: unknown group '$group'" >&2; exit 2 ;;
    esac
done

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing and need root to install: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
"${as_root[@]}" apt-get update -q
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
