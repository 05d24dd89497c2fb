#!/bin/sh
# Guest instructions per luma pixel of one whole 1920x1080 NV21 frame at
# level 7 through the host API, on AArch64 and ARMv7 under qemu-user, with the
# NEON kernels and on the scalar path (QLSBP_FORCE_SCALAR=1).
#
#   bench/arm_insns.sh INSNCOUNT_DIR
#
# INSNCOUNT_DIR is a checkout of the instruction-counting QEMU plugin
# (build.sh, count.sh, include/qemu-plugin.h); it is used where it lies and
# never copied into this tree. The library is cross-built with
# cmake/toolchains/*.cmake, bench/arm_frame.c with the same compiler against
# it. Counts come from four runs per case, the frame program with F1 and F2
# frames, each with and without the processing call:
#   per frame = ((F2) - (F1) - ((F2 copyonly) - (F1 copyonly))) / (F2 - F1)
# which leaves out start-up, the loader and the frame restores. The CPU model
# is pinned (cortex-a53, cortex-a7) because glibc picks routines from it.
#
# Environment: QLSBP_ARM_BUILD_DIR (default <repo>/build-arm-insns),
# QLSBP_ARM_TARGETS (default "arm64 arm32"), QLSBP_ARM_FRAMES (F2, default 6).
set -eu

if [ $# -ne 1 ] || [ ! -x "$1/count.sh" ] || [ ! -f "$1/include/qemu-plugin.h" ]; then
  echo "usage: $0 INSNCOUNT_DIR  (holding count.sh, build.sh, include/qemu-plugin.h)" >&2
  exit 2
fi
tool=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QLSBP_ARM_BUILD_DIR:-$root/build-arm-insns}
targets=${QLSBP_ARM_TARGETS:-"arm64 arm32"}
f1=1
f2=${QLSBP_ARM_FRAMES:-6}
width=1920
height=1080
level=7

mkdir -p "$build"
plugin=$build/libinsncount.so
[ -f "$plugin" ] || "$tool/build.sh" "$tool/include" "$plugin" >&2

per_frame() {  # per_frame CPU PROGRAM SCALAR(0/1)
  cpu=$1 prog=$2 scalar=$3
  run() {
    QLSBP_FORCE_SCALAR=$scalar "$tool/count.sh" -p "$plugin" -c "$cpu" "$prog" "$@" 2>/dev/null
  }
  a=$(run $width $height $f1 $level)
  b=$(run $width $height "$f2" $level)
  c=$(run $width $height $f1 $level copyonly)
  d=$(run $width $height "$f2" $level copyonly)
  echo $(( (b - a - (d - c)) / (f2 - f1) ))
}

echo "| target | CPU model | kernels | instructions per frame | per luma pixel |"
echo "|---|---|---|---:|---:|"
for target in $targets; do
  case $target in
    arm64) triplet=aarch64-linux-gnu cpu=cortex-a53 ;;
    arm32) triplet=arm-linux-gnueabihf cpu=cortex-a7 ;;
    *) echo "unknown target $target (arm64 or arm32)" >&2; exit 2 ;;
  esac
  dir=$build/$target
  cmake -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/$triplet.cmake" \
    -DQLSBP_BUILD_TESTS=OFF -DQLSBP_BUILD_TOOLS=OFF -DQLSBP_BUILD_BENCH=OFF >/dev/null
  cmake --build "$dir" --target qlsbp_static -j2 >/dev/null
  "$triplet-g++" -O2 -x c "$root/bench/arm_frame.c" -x none -I"$root/include" \
    "$dir/libql_single_bokeh_preview.a" -lpthread -o "$dir/arm_frame"
  for scalar in 0 1; do
    kernels=NEON
    [ "$scalar" = 1 ] && kernels="scalar (QLSBP_FORCE_SCALAR=1)"
    n=$(per_frame "$cpu" "$dir/arm_frame" "$scalar")
    px=$(awk -v n="$n" -v p=$((width * height)) 'BEGIN { printf "%.1f", n / p }')
    echo "| $target | $cpu | $kernels | $n | $px |"
  done
done
