# Finds what bokeh-preview needs beyond the library: libpng, libjpeg(-turbo)
# and libyuv. Included by tools/CMakeLists.txt and by tests/tools.cmake (which
# is read before the tools folder), so both agree on whether the tool exists.
# No include guard: imported targets such as PNG::PNG belong to the directory
# that found them, so each includer runs the (cached) searches itself.

find_package(PNG QUIET)
find_package(JPEG QUIET)
# Debian's libyuv-dev ships neither a CMake package nor a pkg-config file.
find_path(LIBYUV_INCLUDE_DIR libyuv.h)
find_library(LIBYUV_LIBRARY yuv)

set(QLSBP_TOOL_DEPS_FOUND OFF)
if(PNG_FOUND AND JPEG_FOUND AND LIBYUV_INCLUDE_DIR AND LIBYUV_LIBRARY)
  set(QLSBP_TOOL_DEPS_FOUND ON)
elseif(NOT QLSBP_TOOL_DEPS_WARNED)
  set(QLSBP_TOOL_DEPS_WARNED ON CACHE INTERNAL "")
  message(WARNING "bokeh-preview is not built: it needs libpng, libjpeg and libyuv "
                  "(Debian: apt-get install libpng-dev libjpeg-dev libyuv-dev)")
endif()
