package org.qlsbp;

import java.nio.ByteBuffer;

/**
 * A bokeh session for camera frames of one size in the YUV_420_888 format, as delivered by
 * {@code android.media.Image}: three planes, each a direct {@link ByteBuffer} with its row and
 * pixel stride. Frames are rewritten in place.
 *
 * <p>Interleaved chroma (pixel stride 2, the U and V buffers one byte apart, as most devices
 * deliver) is processed in place by a session of {@link #LAYOUT_SEMIPLANAR}, the default; planar
 * chroma (pixel stride 1) by a session of {@link #LAYOUT_PLANAR}. Any other frame, or a frame of
 * the other arrangement, is copied through a buffer the session keeps, processed and copied back;
 * the result is the same either way.
 *
 * <p>Misuse cannot crash the process: a heap (non-direct) or read-only buffer, a buffer shorter
 * than its strides require, or a closed session are refused with an exception before any byte is
 * touched. The methods are synchronized, so a session may be closed from another thread than the
 * one that processes.
 */
public final class BokehSession implements AutoCloseable {
  /** Interleaved chroma (NV21 or NV12 in memory). */
  public static final int LAYOUT_SEMIPLANAR = 2;
  /** Separate chroma planes (I420 or YV12 in memory). */
  public static final int LAYOUT_PLANAR = 3;

  // The library first, so that no platform has to find it as a dependency of
  // the JNI library by itself.
  static {
    System.loadLibrary("ql_single_bokeh_preview");
    System.loadLibrary("ql_single_bokeh_preview_jni");
  }

  private final int width;
  private final int height;
  private long handle;

  /** Opens a session of {@link #LAYOUT_SEMIPLANAR} for frames of width x height pixels. */
  public BokehSession(int width, int height) {
    this(width, height, LAYOUT_SEMIPLANAR);
  }

  /**
   * Opens a session for frames of width x height pixels (both even) that are processed in place
   * when their chroma has the given layout.
   *
   * @throws IllegalArgumentException for odd sides or a layout other than the two above
   * @throws BokehException when the library refuses the size or has no memory for it
   */
  public BokehSession(int width, int height, int layout) {
    if (layout != LAYOUT_SEMIPLANAR && layout != LAYOUT_PLANAR) {
      throw new IllegalArgumentException("layout must be LAYOUT_SEMIPLANAR or LAYOUT_PLANAR");
    }
    if ((width & 1) != 0 || (height & 1) != 0) {
      throw new IllegalArgumentException("YUV_420_888 frames have even sides: " + width + "x" + height);
    }
    this.width = width;
    this.height = height;
    this.handle = nativeOpen(width, height, layout);
  }

  public int getWidth() {
    return width;
  }

  public int getHeight() {
    return height;
  }

  /**
   * Applies the effect to one frame in place. Each plane starts at its buffer's position; the
   * buffer must hold, from there, rowStride * (rows - 1) + (samples - 1) * pixelStride + 1 bytes
   * (rows x samples is height x width for Y and height/2 x width/2 for U and V). The luma pixel
   * stride must be 1 and the two chroma pixel strides equal. Positions and limits are not changed.
   *
   * @param focusRow centre row of the sharp ellipse, in luma pixels
   * @param focusCol centre column
   * @param axisRows vertical semi-axis
   * @param axisCols horizontal semi-axis
   * @param level blur level 1..7 (above 7 is 7; below 1 leaves the frame unchanged)
   * @param strength width of the transition band, 1..10
   * @throws IllegalStateException after {@link #close()}
   * @throws IllegalArgumentException for a heap or read-only buffer or a buffer too short
   * @throws NullPointerException for a null buffer
   * @throws BokehException when the library refuses the frame (its message says why)
   */
  public synchronized void process(ByteBuffer y, int yRowStride, int yPixelStride,
      ByteBuffer u, int uRowStride, int uPixelStride,
      ByteBuffer v, int vRowStride, int vPixelStride,
      int focusRow, int focusCol, int axisRows, int axisCols, int level, int strength) {
    if (handle == 0) {
      throw new IllegalStateException("session is closed");
    }
    checkWritable("Y", y);
    checkWritable("U", u);
    checkWritable("V", v);
    nativeProcess(handle, width, height,
        y, y.position(), y.limit(), yRowStride, yPixelStride,
        u, u.position(), u.limit(), uRowStride, uPixelStride,
        v, v.position(), v.limit(), vRowStride, vPixelStride,
        focusRow, focusCol, axisRows, axisCols, level, strength);
  }

  /** Closes the session and frees its memory; later calls to close are harmless. */
  @Override
  public synchronized void close() {
    if (handle != 0) {
      nativeClose(handle);
      handle = 0;
    }
  }

  private static void checkWritable(String name, ByteBuffer buffer) {
    if (buffer == null) {
      throw new NullPointerException("plane " + name + ": null buffer");
    }
    if (buffer.isReadOnly()) {
      throw new IllegalArgumentException("plane " + name + ": read-only buffer");
    }
  }

  private static native long nativeOpen(int width, int height, int layout);

  private static native void nativeProcess(long handle, int width, int height,
      ByteBuffer y, int yPosition, int yLimit, int yRowStride, int yPixelStride,
      ByteBuffer u, int uPosition, int uLimit, int uRowStride, int uPixelStride,
      ByteBuffer v, int vPosition, int vLimit, int vRowStride, int vPixelStride,
      int focusRow, int focusCol, int axisRows, int axisCols, int level, int strength);

  private static native void nativeClose(long handle);
}
