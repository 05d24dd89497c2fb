# Checks the dynamic symbol table of the shared library (script mode):
#   cmake -DLIBRARY=<.so> -DINCLUDE_DIR=<include/> -DNM=<nm> -DCXXFILT=<c++filt>
#         -P QlsbpCheckExports.cmake
#
# Every exported name must be declared in the public headers (each part of a
# qualified C++ name appears there as an identifier), and nothing internal may
# leak: no internal qlsbp_ helpers (only what the headers declare), no per-ISA kernels (*_c, *_sse2, *_neon
# that the headers do not declare), no template instances (std:: or
# otherwise). The rule needs no list of
# names, so it keeps holding as functions are added with QLSBP_API.
foreach(var LIBRARY INCLUDE_DIR NM CXXFILT)
  if(NOT ${var})
    message(FATAL_ERROR "QlsbpCheckExports: ${var} not given")
  endif()
endforeach()

execute_process(COMMAND ${NM} -D --defined-only --format=posix ${LIBRARY}
  OUTPUT_VARIABLE nm_out RESULT_VARIABLE nm_rc)
if(NOT nm_rc EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()

# "name type value size" lines -> mangled names.
string(REPLACE "\n" ";" nm_lines "${nm_out}")
set(mangled "")
foreach(line IN LISTS nm_lines)
  if(line MATCHES "^([^ ]+) ")
    list(APPEND mangled "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(LENGTH mangled count)
if(count EQUAL 0)
  message(FATAL_ERROR "no exported symbols in ${LIBRARY}")
endif()

# Demangle all at once; c++filt keeps the line order.
string(REPLACE ";" "\n" mangled_text "${mangled}")
get_filename_component(list_file "${LIBRARY}.exports.txt" ABSOLUTE)
file(WRITE ${list_file} "${mangled_text}\n")
execute_process(COMMAND ${CXXFILT} INPUT_FILE ${list_file} OUTPUT_VARIABLE demangled_text)
file(REMOVE ${list_file})
string(REGEX REPLACE "\n$" "" demangled_text "${demangled_text}")
string(REPLACE "\n" ";" demangled "${demangled_text}")

# All public declarations as one text.
file(GLOB_RECURSE headers ${INCLUDE_DIR}/*.h)
set(header_text "")
foreach(h IN LISTS headers)
  file(READ ${h} text)
  string(APPEND header_text "\n${text}\n")
endforeach()

# Symbols the toolchain itself defines in every shared object, and the
# sanitizer runtimes' hooks in instrumented builds.
set(toolchain_regex "^(_init|_fini|_edata|_end|__bss_start|_DYNAMIC|_GLOBAL_OFFSET_TABLE_|__(a|ub|t|hwa|l)san_.*|__sanitizer_.*|__odr_asan.*)$")

set(errors "")
set(checked 0)
math(EXPR last "${count} - 1")
foreach(i RANGE ${last})
  list(GET mangled ${i} raw)
  list(GET demangled ${i} name)
  if(raw MATCHES "${toolchain_regex}")
    continue()
  endif()
  math(EXPR checked "${checked} + 1")
  # Keep the entity: drop "vtable for " style prefixes and the parameters.
  string(REGEX REPLACE "^(typeinfo name for|typeinfo for|vtable for|VTT for|guard variable for|non-virtual thunk to) " "" entity "${name}")
  string(REGEX REPLACE "\\(.*$" "" entity "${entity}")
  string(REGEX REPLACE " const$" "" entity "${entity}")
  if(entity MATCHES "<" OR entity MATCHES "^std::" OR entity MATCHES "^__gnu_cxx::")
    string(APPEND errors "  template/standard library instance: ${name}\n")
    continue()
  endif()
  string(REPLACE "::" ";" parts "${entity}")
  foreach(part IN LISTS parts)
    string(REGEX REPLACE "^~" "" part "${part}")
    if(NOT part MATCHES "^[A-Za-z_][A-Za-z0-9_]*$")
      string(APPEND errors "  unexpected symbol: ${name} (${raw})\n")
      break()
    endif()
    string(REGEX MATCH "[^A-Za-z0-9_]${part}[^A-Za-z0-9_]" found "${header_text}")
    if(NOT found)
      # Per-ISA row kernels stay inside the library; a public function may
      # carry such a suffix only because the headers declare it.
      if(part MATCHES "_(c|sse2|neon|avx2)$")
        string(APPEND errors "  internal kernel: ${name}\n")
      else()
        string(APPEND errors "  not declared in include/: ${name} (${part})\n")
      endif()
      break()
    endif()
  endforeach()
endforeach()

if(errors)
  message(FATAL_ERROR "Exported symbols of ${LIBRARY} that should not be there:\n${errors}")
endif()
message(STATUS "${checked} exported symbols, all declared in the public headers")
