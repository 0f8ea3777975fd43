#!/bin/sh
# Makes png/NAME.png (32 pixels) and png/NAME@2x.png (64 pixels) from every svg/NAME.svg, and the
# resource list from the names. Run it after changing a drawing; the results are committed, so that
# building the program needs no drawing tools. Needs rsvg-convert (Debian: librsvg2-bin).
set -eu
cd "$(dirname "$0")"
mkdir -p png
rm -f png/*.png
list=logdesk.qrc
{
    echo '<RCC>'
    echo '    <qresource prefix="/">'
    for source in svg/*.svg; do
        name=$(basename "$source" .svg)
        rsvg-convert --width 32 --height 32 --output "png/$name.png" "$source"
        rsvg-convert --width 64 --height 64 --output "png/$name@2x.png" "$source"
        echo "        <file alias=\"$name.png\">png/$name.png</file>"
        echo "        <file alias=\"$name@2x.png\">png/$name@2x.png</file>"
    done
    echo '    </qresource>'
    echo '</RCC>'
} > "$list.new"
mv "$list.new" "$list"
