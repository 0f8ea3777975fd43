#!/bin/sh
# Makes icons/SIZE.png, the program's icon for menus and task bars, from the drawing that the window
# uses too. Run it after changing that; the results are committed, so that building the program needs
# no drawing tools. Needs rsvg-convert (Debian: librsvg2-bin).
set -eu
cd "$(dirname "$0")"
mkdir -p icons
rm -f icons/*.png
for size in 16 22 24 32 48 64 128 256; do
    rsvg-convert --width $size --height $size --output icons/$size.png ../resources/svg/logging.svg
done
