# A timing program for the two engines (built, never run by CTest).
add_executable(fast_engine_timing ${CMAKE_CURRENT_SOURCE_DIR}/engine/timing/fast_engine_timing.cc)
target_compile_options(fast_engine_timing PRIVATE ${QLSBP_COMMON_FLAGS} ${QLSBP_WARNINGS})
target_include_directories(fast_engine_timing PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(fast_engine_timing PRIVATE qlsbp_static)
