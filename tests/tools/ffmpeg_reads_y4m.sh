#!/bin/sh
# FFmpeg must read the YUV4MPEG2 streams bokeh-preview writes, and a stream
# piped from FFmpeg through the tool must come out whole.
# Usage: ffmpeg_reads_y4m.sh path/to/bokeh-preview. Exit 77: skipped.
set -u
tool=$1
if ! command -v ffmpeg >/dev/null 2>&1 || ! command -v ffprobe >/dev/null 2>&1; then
  echo "SKIP: ffmpeg/ffprobe are not installed (Debian: apt-get install ffmpeg)"
  exit 77
fi
dir=$(mktemp -d "${TMPDIR:-/tmp}/bokeh-ffmpeg-XXXXXX") || exit 1
trap 'rm -rf "$dir"' EXIT
cd "$dir" || exit 1
status=0

fail() {
  echo "FAIL: $*"
  status=1
}

# frames_of FILE -> number of frames ffprobe decodes
frames_of() {
  ffprobe -v error -count_frames -select_streams v:0 \
    -show_entries stream=nb_read_frames,width,height -of csv=p=0 "$1"
}

# 1. The built-in photo written as 4:2:0 and as 4:2:2 y4m.
"$tool" -q --output-format y4m -o photo420.y4m || fail "writing photo420.y4m"
"$tool" -q --format yuyv -o photo422.y4m || fail "writing photo422.y4m"
[ "$(frames_of photo420.y4m)" = "512,512,1" ] || fail "photo420.y4m: $(frames_of photo420.y4m)"
[ "$(frames_of photo422.y4m)" = "512,512,1" ] || fail "photo422.y4m: $(frames_of photo422.y4m)"
ffmpeg -v error -i photo420.y4m -f null - || fail "ffmpeg cannot decode photo420.y4m"
ffmpeg -v error -i photo422.y4m -f null - || fail "ffmpeg cannot decode photo422.y4m"

# 2. A clip from FFmpeg through the tool and back: all frames, same size.
ffmpeg -v error -f lavfi -i testsrc=size=176x144:rate=10 -frames:v 5 -pix_fmt yuv420p \
  -f yuv4mpegpipe - | "$tool" -q - -o clip.y4m || fail "piping a clip through the tool"
[ "$(frames_of clip.y4m)" = "176,144,5" ] || fail "clip.y4m: $(frames_of clip.y4m)"

# 3. The same clip as 4:2:2, through standard output into FFmpeg.
ffmpeg -v error -f lavfi -i testsrc=size=176x144:rate=10 -frames:v 3 -pix_fmt yuv422p \
  -f yuv4mpegpipe - | "$tool" -q - -o - | ffmpeg -v error -i - -f rawvideo -pix_fmt yuv422p out422.yuv \
  || fail "4:2:2 round trip through pipes"
[ "$(wc -c < out422.yuv)" -eq $((176 * 144 * 2 * 3)) ] || fail "out422.yuv has $(wc -c < out422.yuv) bytes"

[ $status -eq 0 ] && echo "PASS: ffmpeg reads what bokeh-preview writes"
exit $status
