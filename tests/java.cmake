# The Java binding, exercised from plain Java (no Android classes): camera-
# shaped planes through org.qlsbp.BokehSession against dense frames through
# the library's plain path, reached by a test-only JNI library. Registered
# only when the binding was built (a JDK is there) and outside sanitizer
# builds, whose runtime the JVM does not load first.
if(TARGET qlsbp_java AND QLSBP_SANITIZE STREQUAL "")
  add_library(qlsbp_dense_reference_jni SHARED ${CMAKE_CURRENT_SOURCE_DIR}/java/dense_reference_jni.c)
  target_compile_options(qlsbp_dense_reference_jni PRIVATE -Wall -Wextra -Werror)
  target_link_libraries(qlsbp_dense_reference_jni PRIVATE ql_single_bokeh_preview qlsbp_jni_headers)

  include(UseJava)
  set(CMAKE_JAVA_COMPILE_FLAGS ${QLSBP_JAVA_FLAGS})
  add_jar(qlsbp_java_tests
    SOURCES
      ${CMAKE_CURRENT_SOURCE_DIR}/java/org/qlsbp/tests/BokehSessionTest.java
      ${CMAKE_CURRENT_SOURCE_DIR}/java/org/qlsbp/tests/DenseReference.java
    INCLUDE_JARS qlsbp_java)
  add_dependencies(qlsbp_java_tests ql_single_bokeh_preview_jni qlsbp_dense_reference_jni)

  get_target_property(QLSBP_JAVA_JAR qlsbp_java JAR_FILE)
  get_target_property(QLSBP_JAVA_TESTS_JAR qlsbp_java_tests JAR_FILE)
  add_test(NAME java_bokeh_session
    COMMAND ${Java_JAVA_EXECUTABLE}
      -Djava.library.path=$<TARGET_FILE_DIR:ql_single_bokeh_preview>:$<TARGET_FILE_DIR:ql_single_bokeh_preview_jni>:$<TARGET_FILE_DIR:qlsbp_dense_reference_jni>
      -cp ${QLSBP_JAVA_JAR}:${QLSBP_JAVA_TESTS_JAR}
      org.qlsbp.tests.BokehSessionTest)
  set_tests_properties(java_bokeh_session PROPERTIES LABELS java TIMEOUT 300)
endif()
