# Command-line tests of bokeh-preview (label "tools"). The GoogleTest program
# test_tools comes from tests/tools/*.cc by the usual glob; here it learns
# where the tool is, and the ffmpeg interoperability script is registered.
# This file is read before the tools folder, so the tool's dependencies are
# checked here the same way tools/CMakeLists.txt checks them.
if(NOT TARGET test_tools)
  return()
endif()
include(${CMAKE_CURRENT_LIST_DIR}/../tools/deps.cmake)
set(QLSBP_TOOL_TESTS OFF)
if(QLSBP_BUILD_TOOLS AND QLSBP_TOOL_DEPS_FOUND
   AND EXISTS ${CMAKE_CURRENT_LIST_DIR}/../tools/CMakeLists.txt)
  set(QLSBP_TOOL_TESTS ON)
endif()
if(QLSBP_TOOL_DEPS_FOUND)
  target_link_libraries(test_tools PRIVATE PNG::PNG JPEG::JPEG)
else()
  # Without libpng and libjpeg the harness cannot even build; leave it out.
  set_target_properties(test_tools PROPERTIES EXCLUDE_FROM_ALL ON)
  return()
endif()
if(NOT QLSBP_TOOL_TESTS)
  return()  # the tests skip themselves: no tool in this build
endif()
target_compile_definitions(test_tools PRIVATE BOKEH_PREVIEW_EXE="$<TARGET_FILE:bokeh-preview>")
add_dependencies(test_tools bokeh-preview)

add_test(NAME tools.ffmpeg_reads_y4m
         COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/tools/ffmpeg_reads_y4m.sh $<TARGET_FILE:bokeh-preview>)
set_tests_properties(tools.ffmpeg_reads_y4m PROPERTIES LABELS tools SKIP_RETURN_CODE 77)
