#!/usr/bin/env bash
# Regenerates the PNG icons from their SVG sources (needs librsvg2-bin).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
render() { rsvg-convert -w "$3" -h "$3" -o "$2" "$1"; }

src=$top/resources/icons/src
out=$top/resources/icons
render "$src/play.svg"             "$out/Play-Button-Blue-Davrix2-13mai2016.png" 75
render "$src/stop.svg"             "$out/Stop-Button-Blue-Davrix2-13mai2016.png" 75
render "$src/key.svg"              "$out/cle.png" 40
render "$src/info.svg"             "$out/About-bleu.png" 75
render "$src/quit.svg"             "$out/X-rouge.png" 30
render "$src/camera.svg"           "$out/Camera-Bleu.png" 75
render "$src/reset.svg"            "$out/reset.png" 75
render "$src/refresh.svg"          "$out/refresh.png" 512
render "$src/refresh-required.svg" "$out/refresh required.png" 512

render "$top/camera_ui/icons/src/kelvane-logo.svg" "$top/camera_ui/icons/kelvane logo.png" 180

# The application icon for the desktop, in the hicolor sizes menus and
# launchers ask for; the SVG itself is installed as the scalable one.
for size in 16 24 32 48 64 128 256; do
    render "$top/camera_ui/icons/src/kelvane-logo.svg" "$top/desktop/icons/tarvello-center-$size.png" "$size"
done
