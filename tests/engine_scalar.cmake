# The fast engine against the reference once more on the scalar path, so
# that both engines are compared without any vector twin as well.
if(TARGET test_engine)
  add_test(NAME engine_scalar_path COMMAND test_engine)
  set_tests_properties(engine_scalar_path PROPERTIES
    ENVIRONMENT QLSBP_FORCE_SCALAR=1 LABELS "engine;scalar")
endif()
