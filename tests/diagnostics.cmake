# The text stamp test writes a sample PGM into the build directory.
if(TARGET test_diagnostics)
  target_compile_definitions(test_diagnostics PRIVATE
    QLSBP_TEST_OUTPUT_DIR="${CMAKE_BINARY_DIR}")
endif()
