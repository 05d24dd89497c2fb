# The bokehpreview GStreamer element (label "gst"): gst-inspect finds it in
# the build tree, and pipelines through it give, frame for frame, the bytes
# of a session of the library's own. GST_REGISTRY points into the build tree
# so that no registry in the home folder is read or written.
if(NOT TARGET gstbokehpreview)
  add_test(NAME gst.unavailable
           COMMAND sh -c "echo 'bokehpreview is not built (QLSBP_BUILD_GST=OFF, a cross build, or no GStreamer development files)'; exit 77")
  set_tests_properties(gst.unavailable PROPERTIES LABELS gst SKIP_RETURN_CODE 77)
  return()
endif()
find_package(PkgConfig QUIET)
pkg_check_modules(QLSBP_GST_TEST IMPORTED_TARGET gstreamer-app-1.0 gstreamer-video-1.0)
find_program(QLSBP_GST_INSPECT gst-inspect-1.0)

set(_gst_env
  GST_PLUGIN_PATH=$<TARGET_FILE_DIR:gstbokehpreview>
  GST_REGISTRY=${CMAKE_CURRENT_BINARY_DIR}/gst-registry.bin
  GST_REGISTRY_FORK=no)

# Sanitizer builds: gst-inspect-1.0 (and GStreamer's forked plugin scanner)
# are not instrumented and cannot load an instrumented plugin, so the
# registry is built inside the instrumented test program and gst-inspect is
# left out.
if(NOT QLSBP_SANITIZE STREQUAL "")
  # Slow unwinding reaches the loader frames that the suppression names.
  list(APPEND _gst_env ASAN_OPTIONS=fast_unwind_on_malloc=0
       LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_SOURCE_DIR}/gst/lsan.supp)
  set(QLSBP_GST_INSPECT "")
endif()

if(QLSBP_GST_INSPECT)
  add_test(NAME gst.inspect COMMAND ${QLSBP_GST_INSPECT} bokehpreview)
  set_tests_properties(gst.inspect PROPERTIES LABELS gst ENVIRONMENT "${_gst_env}"
    PASS_REGULAR_EXPRESSION "Filter/Effect/Video.*License +BSD.*focus-fx.*strength")
endif()

if(QLSBP_GST_TEST_FOUND)
  add_executable(test_gst ${CMAKE_CURRENT_SOURCE_DIR}/gst/bokehpreview_test.c)
  set_target_properties(test_gst PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
  target_compile_options(test_gst PRIVATE ${QLSBP_WARNINGS})
  target_link_libraries(test_gst PRIVATE ql_single_bokeh_preview PkgConfig::QLSBP_GST_TEST)
  add_dependencies(test_gst gstbokehpreview)
  foreach(case formats two-elements effect strides properties)
    add_test(NAME gst.${case} COMMAND test_gst ${case})
    set_tests_properties(gst.${case} PROPERTIES LABELS gst TIMEOUT 300
      ENVIRONMENT "${_gst_env};GST_REGISTRY=${CMAKE_CURRENT_BINARY_DIR}/gst-registry-${case}.bin")
  endforeach()
endif()
