# Finds what bokeh-preview needs beyond the library: libpng, libjpeg(-turbo)
# and libyuv. Included by tools/CMakeLists.txt and by tests/tools.cmake (which
# is read before the tools folder), so both agree on whether the tool exists.
# No include guard: imported targets such as PNG::PNG belong to the directory
# that found them, so each includer runs the (cached) searches itself.
#
# A build that asks for the tool (QLSBP_BUILD_TOOLS, on by default) and lacks
# one of these stops here with the missing names: quietly dropping the tool
# only moves the failure to whoever then runs ./tools/bokeh-preview.

find_package(PNG QUIET)
find_package(JPEG QUIET)
# Debian's libyuv-dev ships neither a CMake package nor a pkg-config file.
find_path(LIBYUV_INCLUDE_DIR libyuv.h)
find_library(LIBYUV_LIBRARY yuv)

set(QLSBP_TOOL_DEPS_FOUND OFF)
if(PNG_FOUND AND JPEG_FOUND AND LIBYUV_INCLUDE_DIR AND LIBYUV_LIBRARY)
  set(QLSBP_TOOL_DEPS_FOUND ON)
elseif(QLSBP_BUILD_TOOLS)
  set(_qlsbp_missing "")
  if(NOT PNG_FOUND)
    list(APPEND _qlsbp_missing "libpng (libpng-dev)")
  endif()
  if(NOT JPEG_FOUND)
    list(APPEND _qlsbp_missing "libjpeg (libjpeg-dev)")
  endif()
  if(NOT LIBYUV_INCLUDE_DIR OR NOT LIBYUV_LIBRARY)
    list(APPEND _qlsbp_missing "libyuv (libyuv-dev)")
  endif()
  list(JOIN _qlsbp_missing ", " _qlsbp_missing)
  message(FATAL_ERROR
    "bokeh-preview (QLSBP_BUILD_TOOLS=ON) needs ${_qlsbp_missing}.\n"
    "Install them (Debian: apt-get install libpng-dev libjpeg-dev libyuv-dev) "
    "or configure with -DQLSBP_BUILD_TOOLS=OFF to build the library alone.")
endif()
