# Installation: the shared library (and the static archive on request), the
# public headers, a CMake package and a pkg-config file (both name the
# licence, BSD-3-Clause, see LICENSE), and the licence text itself.
#
#   find_package(ql_single_bokeh_preview REQUIRED)
#   target_link_libraries(app PRIVATE ql_single_bokeh_preview::ql_single_bokeh_preview)
#
#   cc app.c $(pkg-config --cflags --libs ql_single_bokeh_preview)
include(CMakePackageConfigHelpers)

set(QLSBP_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/ql_single_bokeh_preview)
set(QLSBP_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Libraries that liblog-enabled builds add to the link (the shared object
# records them itself; the static archive and pkg-config need them spelled).
if(QLSBP_WITH_ANDROID_LOG AND NOT ANDROID)
  # The Debian liblog lives outside the loader's search path.
  set_property(TARGET ql_single_bokeh_preview PROPERTY INSTALL_RPATH_USE_LINK_PATH ON)
  get_filename_component(_qlsbp_log_dir "${QLSBP_ANDROID_LOG_LIBRARY}" DIRECTORY)
  # ... so static hosts are linked with a run path to it as well.
  set(QLSBP_PC_LOG_LIBS "-L${_qlsbp_log_dir} -Wl,-rpath,${_qlsbp_log_dir} -llog")
elseif(ANDROID)
  set(QLSBP_PC_LOG_LIBS "-llog")
else()
  set(QLSBP_PC_LOG_LIBS "")
endif()
# What the static archive needs from the host's link beyond pthreads: the
# C++ runtime and libm, spelled out so that a C-only host (whose link driver
# knows nothing of C++) links it too. NDK hosts get their C++ runtime from
# the toolchain's ANDROID_STL instead.
if(ANDROID)
  set(QLSBP_STATIC_EXTRA_LIBS "m;log")
else()
  set(QLSBP_STATIC_EXTRA_LIBS "stdc++;m")
  if(QLSBP_ANDROID_LOG_LIBS)
    list(APPEND QLSBP_STATIC_EXTRA_LIBS "${QLSBP_ANDROID_LOG_LIBS}")
  endif()
endif()

install(TARGETS ql_single_bokeh_preview EXPORT ql_single_bokeh_previewTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The archive is installed as a plain file (libql_single_bokeh_preview.a);
# the package config below wraps it in an imported target of its own. Without
# QLSBP_BUILD_STATIC it is still there on request:
#   cmake --install build --component ql_single_bokeh_preview_static
if(QLSBP_BUILD_STATIC)
  install(TARGETS qlsbp_static ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
else()
  install(TARGETS qlsbp_static ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT ql_single_bokeh_preview_static EXCLUDE_FROM_ALL)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/ql_single_bokeh_preview)
set(QLSBP_LICENSE BSD-3-Clause)

install(EXPORT ql_single_bokeh_previewTargets
  NAMESPACE ql_single_bokeh_preview::
  DESTINATION ${QLSBP_INSTALL_CMAKEDIR})
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/ql_single_bokeh_previewConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ql_single_bokeh_previewConfig.cmake
  INSTALL_DESTINATION ${QLSBP_INSTALL_CMAKEDIR}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/ql_single_bokeh_previewConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/ql_single_bokeh_previewConfig.cmake
  ${PROJECT_BINARY_DIR}/ql_single_bokeh_previewConfigVersion.cmake
  DESTINATION ${QLSBP_INSTALL_CMAKEDIR})

# The .pc file finds its prefix from its own location, so that an installed
# tree can be moved (or installed with `cmake --install --prefix`).
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(QLSBP_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH _qlsbp_up "/root/${QLSBP_INSTALL_PKGCONFIGDIR}" "/root")
  string(REGEX REPLACE "/$" "" _qlsbp_up "${_qlsbp_up}")
  set(QLSBP_PC_PREFIX "\${pcfiledir}/${_qlsbp_up}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/ql_single_bokeh_preview.pc.in
  ${PROJECT_BINARY_DIR}/ql_single_bokeh_preview.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ql_single_bokeh_preview.pc DESTINATION ${QLSBP_INSTALL_PKGCONFIGDIR})
