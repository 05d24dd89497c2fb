# Installs a build tree into a scratch prefix and builds and runs hosts
# against it, once through find_package and once through pkg-config
# (script mode):
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DCXX=... -DCC=...
#         [-DSANITIZE=address|thread] [-DGENERATOR=...] -P QlsbpInstallConsumerTest.cmake
foreach(var BUILD_DIR SOURCE_DIR WORK_DIR CXX CC)
  if(NOT ${var})
    message(FATAL_ERROR "QlsbpInstallConsumerTest: ${var} not given")
  endif()
endforeach()

function(run_step what)
  message(STATUS "${what}: ${ARGN}")
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc})")
  endif()
endfunction()

# Instrumented libraries need instrumented hosts.
set(san_flags "")
if(SANITIZE STREQUAL "address")
  set(san_flags -fsanitize=address,undefined)
elseif(SANITIZE STREQUAL "thread")
  set(san_flags -fsanitize=thread)
endif()
string(REPLACE ";" " " san_flags_text "${san_flags}")

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
run_step("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# --- find_package ---------------------------------------------------------------
set(generator_args "")
if(GENERATOR)
  set(generator_args -G ${GENERATOR})
endif()
run_step("configure consumer" ${CMAKE_COMMAND} ${generator_args}
  -S ${SOURCE_DIR}/tests/consumer -B ${WORK_DIR}/cmake-build
  -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
  -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_C_COMPILER=${CC}
  "-DCMAKE_CXX_FLAGS=${san_flags_text}" "-DCMAKE_EXE_LINKER_FLAGS=${san_flags_text}")
run_step("build consumer" ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build)
run_step("run consumer (find_package)" ${WORK_DIR}/cmake-build/consumer)
if(EXISTS ${WORK_DIR}/cmake-build/consumer_static)
  run_step("run consumer (find_package, static)" ${WORK_DIR}/cmake-build/consumer_static)
endif()

# --- pkg-config ------------------------------------------------------------------
find_program(PKG_CONFIG_EXECUTABLE NAMES pkg-config pkgconf REQUIRED)
file(GLOB_RECURSE pc_files ${prefix}/*/ql_single_bokeh_preview.pc)
if(NOT pc_files)
  message(FATAL_ERROR "ql_single_bokeh_preview.pc was not installed")
endif()
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
execute_process(COMMAND ${PKG_CONFIG_EXECUTABLE} --cflags --libs ql_single_bokeh_preview
  OUTPUT_VARIABLE pc_flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know ql_single_bokeh_preview")
endif()
execute_process(COMMAND ${PKG_CONFIG_EXECUTABLE} --variable=libdir ql_single_bokeh_preview
  OUTPUT_VARIABLE pc_libdir OUTPUT_STRIP_TRAILING_WHITESPACE)
message(STATUS "pkg-config flags: ${pc_flags}")
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
set(ENV{LD_LIBRARY_PATH} "${pc_libdir}")

run_step("build C++ consumer (pkg-config)" ${CXX} -std=c++17 ${san_flags}
  ${SOURCE_DIR}/tests/consumer/consumer.cpp -o ${WORK_DIR}/consumer_pc ${pc_flags})
run_step("run C++ consumer (pkg-config)" ${WORK_DIR}/consumer_pc)
run_step("build C99 host (pkg-config)" ${CC} -std=c99 -Wall -Wextra -Werror -pedantic ${san_flags}
  ${SOURCE_DIR}/tests/c_api/main.c -o ${WORK_DIR}/c_host_pc ${pc_flags})
run_step("run C99 host (pkg-config)" ${WORK_DIR}/c_host_pc)
