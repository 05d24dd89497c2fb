# Where the entry points' banners go.
#
# On Android they always go to liblog (__android_log_print). Off the device
# the default is the host's logging hook, with standard error on request
# (QLSBP_LOG=1). QLSBP_WITH_ANDROID_LOG builds the Android path on Linux
# against Debian's android-liblog-dev, so that it is compiled and tested here
# too; there liblog prints its lines to standard error.
if(ANDROID)
  set(QLSBP_WITH_ANDROID_LOG ON CACHE BOOL "Send banners to Android's liblog" FORCE)
else()
  option(QLSBP_WITH_ANDROID_LOG "Send banners to liblog (Debian android-liblog-dev) off the device" OFF)
endif()

set(QLSBP_ANDROID_LOG_LIBS "")
if(QLSBP_WITH_ANDROID_LOG AND NOT ANDROID)
  find_path(QLSBP_ANDROID_LOG_INCLUDE_DIR NAMES android/log.h PATH_SUFFIXES android)
  find_library(QLSBP_ANDROID_LOG_LIBRARY NAMES log
    HINTS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android
    PATH_SUFFIXES android)
  if(NOT QLSBP_ANDROID_LOG_INCLUDE_DIR OR NOT QLSBP_ANDROID_LOG_LIBRARY)
    message(FATAL_ERROR "QLSBP_WITH_ANDROID_LOG needs liblog: apt-get install android-liblog-dev")
  endif()
  target_compile_definitions(qlsbp_objects PRIVATE QLSBP_WITH_ANDROID_LOG=1)
  target_include_directories(qlsbp_objects SYSTEM PRIVATE ${QLSBP_ANDROID_LOG_INCLUDE_DIR})
  target_link_libraries(qlsbp_objects PUBLIC ${QLSBP_ANDROID_LOG_LIBRARY})
  set(QLSBP_ANDROID_LOG_LIBS ${QLSBP_ANDROID_LOG_LIBRARY})
  message(STATUS "Banners go to liblog: ${QLSBP_ANDROID_LOG_LIBRARY}")
endif()
