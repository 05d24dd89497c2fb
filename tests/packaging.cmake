# Packaging checks: the C header from a strict C99 program, the shared
# object's exported symbols, and an installed tree used by out-of-tree hosts.

# A C99 host compiled against the public header, linked to the shared library.
add_executable(test_c_api ${CMAKE_CURRENT_SOURCE_DIR}/c_api/main.c)
set_target_properties(test_c_api PROPERTIES C_STANDARD 99 C_STANDARD_REQUIRED ON C_EXTENSIONS OFF)
target_compile_options(test_c_api PRIVATE -Wall -Wextra -Werror -pedantic)
target_link_libraries(test_c_api PRIVATE ql_single_bokeh_preview)
add_test(NAME c_api COMMAND test_c_api)
set_tests_properties(c_api PROPERTIES LABELS c_api)

# Exported symbols: only what include/ declares.
find_program(QLSBP_CXXFILT NAMES c++filt ${CMAKE_CXX_COMPILER_TARGET}-c++filt)
if(CMAKE_NM AND QLSBP_CXXFILT)
  add_test(NAME exported_symbols
    COMMAND ${CMAKE_COMMAND}
      -DLIBRARY=$<TARGET_FILE:ql_single_bokeh_preview>
      -DINCLUDE_DIR=${PROJECT_SOURCE_DIR}/include
      -DNM=${CMAKE_NM} -DCXXFILT=${QLSBP_CXXFILT}
      -P ${PROJECT_SOURCE_DIR}/cmake/QlsbpCheckExports.cmake)
  set_tests_properties(exported_symbols PROPERTIES LABELS packaging)
endif()

# Install into a scratch prefix, then build and run hosts through
# find_package and pkg-config. Native builds only: the hosts must run here.
if(NOT CMAKE_CROSSCOMPILING)
  add_test(NAME install_consumer
    COMMAND ${CMAKE_COMMAND}
      -DBUILD_DIR=${PROJECT_BINARY_DIR}
      -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
      -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/install_consumer
      -DCXX=${CMAKE_CXX_COMPILER} -DCC=${CMAKE_C_COMPILER}
      -DSANITIZE=${QLSBP_SANITIZE}
      -DGENERATOR=${CMAKE_GENERATOR}
      -P ${PROJECT_SOURCE_DIR}/cmake/QlsbpInstallConsumerTest.cmake)
  set_tests_properties(install_consumer PROPERTIES LABELS packaging TIMEOUT 600)
endif()

# Builds with the Android log path compile the default-sink test for it.
if(QLSBP_WITH_ANDROID_LOG AND TARGET test_api)
  target_compile_definitions(test_api PRIVATE QLSBP_WITH_ANDROID_LOG=1)
endif()
