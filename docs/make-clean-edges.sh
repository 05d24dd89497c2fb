#!/bin/sh
# Makes docs/clean-edges.png: the built-in photo with the focus region cut by
# the left and by the right border, exact mask against clean mask, cropped
# where they differ and enlarged 4x (nearest neighbour, so every pixel shows).
# Left: a subject at the left side (focus 140,90): the ellipse passes the
# left border, and the exact mask leaves a one-pixel curve of blur through
# the face. Right: focus on the last column: the exact mask speckles it.
# Usage: docs/make-clean-edges.sh path/to/bokeh-preview [output.png]
# Needs ffmpeg for cropping and stacking.
set -eu
tool=$1
out=${2:-docs/clean-edges.png}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
# A narrow band (strength 1) and the strongest blur show the difference best.
common="-q --axes 150,120 --level 7 --strength 1"
"$tool" $common --focus 140,90 -o "$tmp/left-exact.png"
"$tool" $common --focus 140,90 --clean-edges -o "$tmp/left-clean.png"
"$tool" $common --focus 200,511 -o "$tmp/right-exact.png"
"$tool" $common --focus 200,511 --clean-edges -o "$tmp/right-clean.png"
# Crops of 48x64 pixels: left rows 40-103, columns 176-223 (the inner edge
# of the ellipse); right rows 230-293, columns 464-511 (the last column).
zoom="scale=iw*4:ih*4:flags=neighbor,pad=iw+8:ih:0:0:gray"
ffmpeg -loglevel error -y \
  -i "$tmp/left-exact.png" -i "$tmp/left-clean.png" \
  -i "$tmp/right-exact.png" -i "$tmp/right-clean.png" \
  -filter_complex "\
[0]crop=48:64:176:40,$zoom[a];[1]crop=48:64:176:40,$zoom,pad=iw+16:ih:0:0:gray[b];\
[2]crop=48:64:464:230,$zoom[c];[3]crop=48:64:464:230,scale=iw*4:ih*4:flags=neighbor[d];\
[a][b][c][d]hstack=inputs=4" \
  -frames:v 1 "$out"
