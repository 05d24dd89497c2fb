package org.qlsbp.tests;

/** Expected bytes: dense frames through the library's plain session path (test-only JNI). */
final class DenseReference {
  static {
    System.loadLibrary("qlsbp_dense_reference_jni");
  }

  private DenseReference() {}

  /**
   * Processes count dense frames (NV21 for layout 2, YV12 for layout 3), stored one after another
   * in frames, in place and in order through one session; params holds six values per frame.
   * Returns the library's result code.
   */
  static native int process(int layout, int width, int height, byte[] frames, int count,
      int[] params);
}
