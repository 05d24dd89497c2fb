# Installs a build tree into a scratch prefix (with the static archive, which
# is always built) and builds and runs two hosts against it, a C-only one
# (tests/consumer/c, project(app C)) and a C++ one (tests/consumer/cpp), each
# linked to the shared library and to the static archive, once through
# find_package and once through pkg-config (script mode):
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
run_step("install the static archive" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
  --component ql_single_bokeh_preview_static)
if(NOT EXISTS ${prefix}/bin/bokeh-preview AND EXISTS ${BUILD_DIR}/tools/bokeh-preview)
  message(FATAL_ERROR "bokeh-preview was built but not installed")
endif()
if(EXISTS ${prefix}/bin/bokeh-preview AND NOT SANITIZE)
  # Its run path must find the installed library (LD_LIBRARY_PATH unset).
  unset(ENV{LD_LIBRARY_PATH})
  run_step("run the installed bokeh-preview" ${prefix}/bin/bokeh-preview --version)
endif()

# The shared library lives outside the loader's search path: hosts find it
# through the run path CMake gives them, or the one given on the pkg-config
# link line below. Static hosts must need neither.
unset(ENV{LD_LIBRARY_PATH})

# --- find_package ---------------------------------------------------------------
set(generator_args "")
if(GENERATOR)
  set(generator_args -G ${GENERATOR})
endif()
foreach(host c cpp)
  set(build ${WORK_DIR}/cmake-${host})
  run_step("configure ${host} host" ${CMAKE_COMMAND} ${generator_args}
    -S ${SOURCE_DIR}/tests/consumer/${host} -B ${build}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_CXX_COMPILER=${CXX} -DCMAKE_C_COMPILER=${CC}
    "-DCMAKE_C_FLAGS=${san_flags_text}" "-DCMAKE_CXX_FLAGS=${san_flags_text}"
    "-DCMAKE_EXE_LINKER_FLAGS=${san_flags_text}")
  run_step("build ${host} host" ${CMAKE_COMMAND} --build ${build})
  foreach(exe host host_static)
    if(NOT EXISTS ${build}/${exe})
      message(FATAL_ERROR "${host}: ${exe} was not built (no static target in the package?)")
    endif()
    run_step("run ${host} ${exe} (find_package)" ${build}/${exe})
  endforeach()
endforeach()

# --- pkg-config ------------------------------------------------------------------
find_program(PKG_CONFIG_EXECUTABLE NAMES pkg-config pkgconf REQUIRED)
file(GLOB_RECURSE pc_files ${prefix}/*/ql_single_bokeh_preview.pc)
if(NOT pc_files)
  message(FATAL_ERROR "ql_single_bokeh_preview.pc was not installed")
endif()
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
function(pc_query out)
  execute_process(COMMAND ${PKG_CONFIG_EXECUTABLE} ${ARGN} ql_single_bokeh_preview
    OUTPUT_VARIABLE text OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "pkg-config ${ARGN} ql_single_bokeh_preview failed")
  endif()
  message(STATUS "pkg-config ${ARGN}: ${text}")
  separate_arguments(text UNIX_COMMAND "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()
pc_query(pc_cflags --cflags)
pc_query(pc_libs --libs)
pc_query(pc_static_libs --static --libs)
pc_query(pc_libdir --variable=libdir)
# --static lists what the archive needs; the archive itself is picked over
# the shared object beside it with -Bstatic, as a host would do.
list(TRANSFORM pc_static_libs REPLACE "^-lql_single_bokeh_preview$"
  "-Wl,-Bstatic;-lql_single_bokeh_preview;-Wl,-Bdynamic")

set(c_compile ${CC} -std=c99 -Wall -Wextra -Werror -pedantic ${SOURCE_DIR}/tests/consumer/c/host.c)
set(cpp_compile ${CXX} -std=c++17 -Wall -Wextra -Werror ${SOURCE_DIR}/tests/consumer/cpp/host.cpp)
foreach(host c cpp)
  run_step("build ${host} host (pkg-config)" ${${host}_compile} ${san_flags} ${pc_cflags}
    -o ${WORK_DIR}/${host}_host_pc ${pc_libs} -Wl,-rpath,${pc_libdir})
  run_step("run ${host} host (pkg-config)" ${WORK_DIR}/${host}_host_pc)
  run_step("build static ${host} host (pkg-config --static)" ${${host}_compile} ${san_flags}
    ${pc_cflags} -o ${WORK_DIR}/${host}_host_pc_static ${pc_static_libs})
  run_step("run static ${host} host (pkg-config --static)" ${WORK_DIR}/${host}_host_pc_static)
endforeach()
