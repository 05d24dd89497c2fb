# The frame pipeline and the vector-twin programs once more on the scalar
# path only, so that the whole pipeline is checked without SIMD as well.
foreach(area processor convert blur gaussian simd)
  if(TARGET test_${area})
    add_test(NAME ${area}_scalar_path COMMAND test_${area})
    set_tests_properties(${area}_scalar_path PROPERTIES
      ENVIRONMENT QLSBP_FORCE_SCALAR=1 LABELS "${area};scalar")
  endif()
endforeach()
