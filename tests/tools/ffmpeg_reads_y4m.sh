#!/bin/sh
# FFmpeg must decode every frame of the YUV4MPEG2 streams bokeh-preview writes, from pictures and from
# FFmpeg's own 4:2:0 and 4:2:2 clips piped through it. Usage: ffmpeg_reads_y4m.sh TOOL. Exit 77: skipped.
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
check() {  # check FILE W,H,FRAMES
  got=$(ffprobe -v error -count_frames -select_streams v:0 -show_entries stream=width,height,nb_read_frames -of csv=p=0 "$1")
  [ "$got" = "$2" ] || { echo "FAIL: $1 decodes as '$got', expected '$2'"; status=1; }
}
clip() { ffmpeg -v error -f lavfi -i testsrc=size=176x144:rate=10 -frames:v "$1" -pix_fmt "$2" -f yuv4mpegpipe -; }
"$tool" -q --output-format y4m -o photo420.y4m; check photo420.y4m 512,512,1
"$tool" -q --format yuyv -o photo422.y4m; check photo422.y4m 512,512,1
clip 5 yuv420p | "$tool" -q - -o clip420.y4m; check clip420.y4m 176,144,5
clip 3 yuv422p | "$tool" -q - -o - >clip422.y4m; check clip422.y4m 176,144,3
[ $status -eq 0 ] && echo "PASS: ffmpeg reads what bokeh-preview writes"
exit $status
