package org.qlsbp.tests;

import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Random;
import org.qlsbp.BokehException;
import org.qlsbp.BokehSession;

/**
 * Camera-shaped planes through org.qlsbp.BokehSession, compared with dense frames through the
 * library's plain path. Planes are laid out the way android.media.Image hands them over: direct
 * buffers that end with their last sample, NV21 and NV12 chroma as two views one byte apart on
 * the same memory, I420 chroma as separate buffers. Prints "N passed, N failed"; exits non-zero
 * on any failure.
 */
public final class BokehSessionTest {
  private static int passed;
  private static int failed;

  private static void check(boolean ok, String what) {
    if (ok) {
      ++passed;
    } else {
      ++failed;
      System.out.println("FAILED: " + what);
    }
  }

  /** The samples of one frame: h x w luma, (h/2) x (w/2) for each chroma plane. */
  static final class Samples {
    final int w;
    final int h;
    final byte[] y;
    final byte[] u;
    final byte[] v;

    Samples(int w, int h, byte[] y, byte[] u, byte[] v) {
      this.w = w;
      this.h = h;
      this.y = y;
      this.u = u;
      this.v = v;
    }

    static Samples random(int w, int h, long seed) {
      Random rng = new Random(seed);
      byte[] y = new byte[w * h];
      byte[] u = new byte[(w / 2) * (h / 2)];
      byte[] v = new byte[(w / 2) * (h / 2)];
      rng.nextBytes(y);
      rng.nextBytes(u);
      rng.nextBytes(v);
      return new Samples(w, h, y, u, v);
    }
  }

  enum Shape { NV21, NV12, I420 }

  /** One plane: a view on a backing buffer, and where its samples are. */
  static final class Plane {
    final ByteBuffer view;
    final int rowStride;
    final int pixelStride;
    final int backingIndex;
    final int offset;  // of the view's index 0 in its backing buffer

    Plane(ByteBuffer view, int rowStride, int pixelStride, int backingIndex, int offset) {
      this.view = view;
      this.rowStride = rowStride;
      this.pixelStride = pixelStride;
      this.backingIndex = backingIndex;
      this.offset = offset;
    }

    int at(int r, int c) {
      return view.position() + r * rowStride + c * pixelStride;
    }
  }

  /** A camera frame: three planes over backing buffers filled with noise around the samples. */
  static final class Frame {
    final List<ByteBuffer> backing = new ArrayList<>();
    final List<boolean[]> isSample = new ArrayList<>();
    Plane y;
    Plane u;
    Plane v;

    ByteBuffer allocate(int bytes, long seed) {
      ByteBuffer b = ByteBuffer.allocateDirect(bytes);
      byte[] noise = new byte[bytes];
      new Random(seed).nextBytes(noise);
      b.put(noise);
      b.clear();
      backing.add(b);
      isSample.add(new boolean[bytes]);
      return b;
    }

    // A view of `length` bytes starting `offset` bytes into a backing buffer.
    static ByteBuffer view(ByteBuffer backing, int offset, int length) {
      ByteBuffer d = backing.duplicate();
      d.position(offset);
      d.limit(offset + length);
      return d.slice();
    }

    List<byte[]> snapshot() {
      List<byte[]> out = new ArrayList<>();
      for (ByteBuffer b : backing) {
        byte[] copy = new byte[b.capacity()];
        b.duplicate().get(copy);
        out.add(copy);
      }
      return out;
    }

    void process(BokehSession s, int[] p) {
      s.process(y.view, y.rowStride, y.pixelStride, u.view, u.rowStride, u.pixelStride,
          v.view, v.rowStride, v.pixelStride, p[0], p[1], p[2], p[3], p[4], p[5]);
    }
  }

  static int extent(int rowStride, int pixelStride, int rows, int cols) {
    return rowStride * (rows - 1) + (cols - 1) * pixelStride + 1;
  }

  /**
   * Lays the samples out as a camera would: luma rows of w + yPad bytes, chroma rows of
   * (interleaved) w + cPad or (planar) w/2 + cPad bytes; every buffer ends with its last sample.
   */
  static Frame layOut(Samples px, Shape shape, int yPad, int cPad, int yOffset) {
    int w = px.w;
    int h = px.h;
    int cw = w / 2;
    int ch = h / 2;
    Frame f = new Frame();
    int ys = w + yPad;
    ByteBuffer yb = f.allocate(yOffset + extent(ys, 1, h, w), 7);
    ByteBuffer yView = yb.duplicate();
    yView.position(yOffset);  // a plane may start inside its buffer
    f.y = new Plane(yView, ys, 1, 0, 0);
    if (shape == Shape.I420) {
      int cs = cw + cPad;
      f.u = new Plane(f.allocate(extent(cs, 1, ch, cw), 8), cs, 1, 1, 0);
      f.v = new Plane(f.allocate(extent(cs, 1, ch, cw), 9), cs, 1, 2, 0);
    } else {
      int cs = w + cPad;
      int len = extent(cs, 2, ch, cw);
      ByteBuffer cb = f.allocate(len + 1, 8);
      int uAt = shape == Shape.NV12 ? 0 : 1;
      f.u = new Plane(Frame.view(cb, uAt, len), cs, 2, 1, uAt);
      f.v = new Plane(Frame.view(cb, 1 - uAt, len), cs, 2, 1, 1 - uAt);
    }
    put(f, f.y, h, w, px.y);
    put(f, f.u, ch, cw, px.u);
    put(f, f.v, ch, cw, px.v);
    return f;
  }

  private static void put(Frame f, Plane p, int rows, int cols, byte[] s) {
    for (int r = 0; r < rows; ++r) {
      for (int c = 0; c < cols; ++c) {
        p.view.put(p.at(r, c), s[r * cols + c]);
        f.isSample.get(p.backingIndex)[p.offset + p.at(r, c)] = true;
      }
    }
  }

  static Samples readBack(Frame f, int w, int h) {
    Samples s = new Samples(w, h, new byte[w * h], new byte[(w / 2) * (h / 2)],
        new byte[(w / 2) * (h / 2)]);
    get(f.y, h, w, s.y);
    get(f.u, h / 2, w / 2, s.u);
    get(f.v, h / 2, w / 2, s.v);
    return s;
  }

  private static void get(Plane p, int rows, int cols, byte[] out) {
    for (int r = 0; r < rows; ++r) {
      for (int c = 0; c < cols; ++c) {
        out[r * cols + c] = p.view.get(p.at(r, c));
      }
    }
  }

  static final int[][] PARAMS = {{20, 24, 10, 14, 4, 5}, {23, 23, 10, 14, 5, 5}};

  /** The frames as dense NV21 (layout 2) or YV12 (layout 3) through the library's plain path. */
  static Samples[] reference(int layout, Samples[] in) {
    int w = in[0].w;
    int h = in[0].h;
    int n = w * h;
    int c = n / 4;
    int frame = n + 2 * c;
    byte[] dense = new byte[frame * in.length];
    int[] params = new int[6 * in.length];
    for (int i = 0; i < in.length; ++i) {
      System.arraycopy(in[i].y, 0, dense, i * frame, n);
      for (int k = 0; k < c; ++k) {
        if (layout == BokehSession.LAYOUT_SEMIPLANAR) {
          dense[i * frame + n + 2 * k] = in[i].v[k];
          dense[i * frame + n + 2 * k + 1] = in[i].u[k];
        } else {
          dense[i * frame + n + k] = in[i].v[k];
          dense[i * frame + n + c + k] = in[i].u[k];
        }
      }
      System.arraycopy(PARAMS[i], 0, params, 6 * i, 6);
    }
    int rc = DenseReference.process(layout, w, h, dense, in.length, params);
    if (rc != 0) {
      throw new AssertionError("reference session failed: " + rc);
    }
    Samples[] out = new Samples[in.length];
    for (int i = 0; i < in.length; ++i) {
      Samples s = new Samples(w, h, Arrays.copyOfRange(dense, i * frame, i * frame + n),
          new byte[c], new byte[c]);
      for (int k = 0; k < c; ++k) {
        if (layout == BokehSession.LAYOUT_SEMIPLANAR) {
          s.v[k] = dense[i * frame + n + 2 * k];
          s.u[k] = dense[i * frame + n + 2 * k + 1];
        } else {
          s.v[k] = dense[i * frame + n + k];
          s.u[k] = dense[i * frame + n + c + k];
        }
      }
      out[i] = s;
    }
    return out;
  }

  private static int changedOutsideSamples(Frame f, List<byte[]> before) {
    int changed = 0;
    for (int b = 0; b < f.backing.size(); ++b) {
      ByteBuffer buf = f.backing.get(b);
      for (int k = 0; k < buf.capacity(); ++k) {
        if (!f.isSample.get(b)[k] && buf.get(k) != before.get(b)[k]) {
          ++changed;
        }
      }
    }
    return changed;
  }

  /** Two frames of one shape through one session; samples and untouched padding checked. */
  static void frames(int layout, Shape shape, int w, int h, int yPad, int cPad, int yOffset) {
    String what = shape + " " + w + "x" + h + " pads " + yPad + "/" + cPad + " layout " + layout;
    Samples[] in = {Samples.random(w, h, 11), Samples.random(w, h, 12)};
    Samples[] want = reference(layout, in);
    try (BokehSession session = new BokehSession(w, h, layout)) {
      for (int i = 0; i < in.length; ++i) {
        Frame f = layOut(in[i], shape, yPad, cPad, yOffset);
        List<byte[]> before = f.snapshot();
        f.process(session, PARAMS[i]);
        Samples got = readBack(f, w, h);
        check(Arrays.equals(got.y, want[i].y), what + " frame " + i + ": luma");
        check(Arrays.equals(got.u, want[i].u), what + " frame " + i + ": U");
        check(Arrays.equals(got.v, want[i].v), what + " frame " + i + ": V");
        check(changedOutsideSamples(f, before) == 0, what + " frame " + i + ": padding kept");
        check(f.y.view.position() == yOffset, what + ": position kept");
      }
    }
  }

  interface Action {
    void run();
  }

  static void throwsKind(Class<? extends Throwable> kind, String what, Action action) {
    try {
      action.run();
      check(false, what + ": no exception");
    } catch (Throwable t) {
      check(kind.isInstance(t), what + ": " + t);
    }
  }

  static void misuse() {
    final int w = 32;
    final int h = 16;
    final Samples px = Samples.random(w, h, 21);
    final int[] p = PARAMS[0];
    final BokehSession s = new BokehSession(w, h);
    final Frame f = layOut(px, Shape.NV21, 8, 8, 0);
    final List<byte[]> before = f.snapshot();

    throwsKind(IllegalArgumentException.class, "heap buffer", () -> s.process(
        ByteBuffer.allocate(w * h), w, 1, f.u.view, f.u.rowStride, 2, f.v.view, f.v.rowStride, 2,
        p[0], p[1], p[2], p[3], p[4], p[5]));
    ByteBuffer shortU = f.u.view.duplicate();
    shortU.limit(shortU.limit() - 1);
    throwsKind(IllegalArgumentException.class, "U one byte short", () -> s.process(
        f.y.view, f.y.rowStride, 1, shortU, f.u.rowStride, 2, f.v.view, f.v.rowStride, 2,
        p[0], p[1], p[2], p[3], p[4], p[5]));
    ByteBuffer shortY = f.y.view.duplicate();
    shortY.position(1);
    throwsKind(IllegalArgumentException.class, "Y one byte short from its position",
        () -> s.process(shortY, f.y.rowStride, 1, f.u.view, f.u.rowStride, 2, f.v.view,
            f.v.rowStride, 2, p[0], p[1], p[2], p[3], p[4], p[5]));
    throwsKind(IllegalArgumentException.class, "read-only buffer", () -> s.process(
        f.y.view.asReadOnlyBuffer(), f.y.rowStride, 1, f.u.view, f.u.rowStride, 2, f.v.view,
        f.v.rowStride, 2, p[0], p[1], p[2], p[3], p[4], p[5]));
    throwsKind(IllegalArgumentException.class, "luma pixel stride 2", () -> s.process(
        f.y.view, f.y.rowStride, 2, f.u.view, f.u.rowStride, 2, f.v.view, f.v.rowStride, 2,
        p[0], p[1], p[2], p[3], p[4], p[5]));
    throwsKind(IllegalArgumentException.class, "chroma pixel strides differ", () -> s.process(
        f.y.view, f.y.rowStride, 1, f.u.view, f.u.rowStride, 2, f.v.view, f.v.rowStride, 1,
        p[0], p[1], p[2], p[3], p[4], p[5]));
    throwsKind(IllegalArgumentException.class, "row stride 0", () -> s.process(
        f.y.view, 0, 1, f.u.view, f.u.rowStride, 2, f.v.view, f.v.rowStride, 2,
        p[0], p[1], p[2], p[3], p[4], p[5]));
    throwsKind(NullPointerException.class, "null buffer", () -> s.process(
        f.y.view, f.y.rowStride, 1, null, f.u.rowStride, 2, f.v.view, f.v.rowStride, 2,
        p[0], p[1], p[2], p[3], p[4], p[5]));
    // Luma rows shorter than the width: the buffer is long enough, the
    // library refuses the strides and says so.
    try {
      s.process(f.y.view, w - 1, 1, f.u.view, f.u.rowStride, 2, f.v.view, f.v.rowStride, 2,
          p[0], p[1], p[2], p[3], p[4], p[5]);
      check(false, "row stride below width: no exception");
    } catch (BokehException e) {
      check(e.getCode() == -1, "row stride below width: code " + e.getCode());
      check(e.getMessage().startsWith("invalid argument"), "library message: " + e.getMessage());
    }
    check(changedOutsideSamples(f, before) == 0
            && Arrays.equals(readBack(f, w, h).y, px.y)
            && Arrays.equals(readBack(f, w, h).u, px.u)
            && Arrays.equals(readBack(f, w, h).v, px.v),
        "refused frames unchanged");

    s.close();
    s.close();  // harmless
    throwsKind(IllegalStateException.class, "closed session", () -> f.process(s, p));
    check(Arrays.equals(readBack(f, w, h).y, px.y), "closed session leaves the frame");

    throwsKind(BokehException.class, "0 x 0 session", () -> new BokehSession(0, 0));
    throwsKind(IllegalArgumentException.class, "odd width", () -> new BokehSession(33, 16));
    throwsKind(IllegalArgumentException.class, "layout 4", () -> new BokehSession(32, 16, 4));
  }

  public static void main(String[] args) {
    final int semi = BokehSession.LAYOUT_SEMIPLANAR;
    final int planar = BokehSession.LAYOUT_PLANAR;
    for (int layout : new int[] {semi, planar}) {
      for (Shape shape : Shape.values()) {
        frames(layout, shape, 64, 48, 0, 0, 0);
        frames(layout, shape, 64, 48, 16, 24, 0);
      }
    }
    // A plane that starts inside its buffer; unpadded luma with padded planar
    // chroma, which goes through the session's copy; a size that always does.
    frames(semi, Shape.NV21, 64, 48, 8, 8, 5);
    frames(planar, Shape.I420, 64, 48, 0, 8, 0);
    frames(semi, Shape.NV12, 66, 50, 6, 2, 0);
    misuse();
    System.out.println(passed + " passed, " + failed + " failed");
    System.exit(failed == 0 ? 0 : 1);
  }
}
