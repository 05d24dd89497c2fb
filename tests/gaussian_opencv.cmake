# Comparison of the zero-bordered integral image with OpenCV's cv::integral.
# A separate program, so that test_gaussian never needs OpenCV; without
# OpenCV the same program is built and reports its test as skipped.
find_package(OpenCV QUIET COMPONENTS core imgproc)

add_executable(test_gaussian_opencv ${CMAKE_CURRENT_SOURCE_DIR}/gaussian/opencv/integral_opencv_test.cc)
target_compile_options(test_gaussian_opencv PRIVATE ${QLSBP_COMMON_FLAGS} ${QLSBP_WARNINGS})
target_include_directories(test_gaussian_opencv PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(test_gaussian_opencv PRIVATE qlsbp_static GTest::gtest_main)
if(OpenCV_FOUND)
  target_include_directories(test_gaussian_opencv SYSTEM PRIVATE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(test_gaussian_opencv PRIVATE ${OpenCV_LIBS})
  target_compile_definitions(test_gaussian_opencv PRIVATE QLSBP_TEST_HAVE_OPENCV=1)
else()
  message(STATUS "OpenCV not found: test_gaussian_opencv will skip its comparisons")
endif()
gtest_discover_tests(test_gaussian_opencv DISCOVERY_TIMEOUT 60 PROPERTIES LABELS gaussian)
