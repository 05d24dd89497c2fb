// Reading fuzzer bytes as typed values, and caller frames in guarded
// buffers, shared by the fuzz targets.
#ifndef QLSBP_FUZZ_FUZZ_INPUT_H_
#define QLSBP_FUZZ_FUZZ_INPUT_H_

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "common/guarded.h"
#include "ql_single_bokeh_preview.h"

namespace fuzz {

// Stops the run with a message: a broken invariant is a finding like a crash.
[[noreturn]] inline void fail(const char* what, long long a = 0, long long b = 0) {
  fprintf(stderr, "invariant broken: %s (%lld, %lld)\n", what, a, b);
  abort();
}
#define FUZZ_CHECK(cond, ...)                        \
  do {                                               \
    if (!(cond)) ::fuzz::fail(#cond, ##__VA_ARGS__); \
  } while (0)

// How often each invariant was actually checked, printed at exit when
// QLSBP_FUZZ_STATS is set (to see that a campaign exercises them).
struct Stats {
  long long counts[8] = {};
  const char* names[8] = {};
  static Stats& get() {
    static Stats s;
    static const bool hooked = [] {
      if (getenv("QLSBP_FUZZ_STATS") != nullptr) {
        atexit([] {
          for (int i = 0; i < 8; ++i)
            if (get().names[i] != nullptr)
              fprintf(stderr, "checked %-28s %lld\n", get().names[i], get().counts[i]);
        });
      }
      return true;
    }();
    (void)hooked;
    return s;
  }
  static void count(int i, const char* name) {
    get().names[i] = name;
    ++get().counts[i];
  }
};

// Consumes the input from the front; past its end every value is 0.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return pos_ >= size_; }
  uint8_t byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  uint32_t u32() {
    uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | byte();
    return v;
  }
  // Uniform-ish in [lo, hi], both inclusive.
  int range(int lo, int hi) {
    const uint64_t span = static_cast<uint64_t>(static_cast<int64_t>(hi) - lo) + 1;
    return static_cast<int>(lo + static_cast<int64_t>(u32() % span));
  }
  // Any int, weighted towards small values and the edges of the range.
  int any_int() {
    static const int kEdges[] = {INT_MIN, INT_MIN + 1, -65536,      -1,     0, 1, 2, 7, 8, 255, 256,
                                 65535,   1 << 30,     INT_MAX - 1, INT_MAX};
    switch (byte() % 5) {
      case 0:
        return range(-4, 12);
      case 1:
        return kEdges[byte() % (sizeof(kEdges) / sizeof(kEdges[0]))];
      case 2:
        return range(-1000, 1000);
      case 3:
        return range(-100000, 100000);
      default:
        return static_cast<int>(u32());
    }
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

// Which side of the caller's buffers lies against the protected page:
// QLSBP_FUZZ_GUARD=before puts each buffer's first byte right after it,
// anything else its last byte right before it.
inline qlsbp_test::Guarded::Side guard_side() {
  static const qlsbp_test::Guarded::Side side = [] {
    const char* v = getenv("QLSBP_FUZZ_GUARD");
    return v != nullptr && strcmp(v, "before") == 0 ? qlsbp_test::Guarded::kGuardBefore
                                                    : qlsbp_test::Guarded::kGuardAfter;
  }();
  return side;
}

// n random bytes at p.
inline void fill(std::mt19937& rng, uint8_t* p, size_t n) {
  for (size_t i = 0; i < n; ++i) p[i] = static_cast<uint8_t>(rng());
}

// One caller plane: `rows` rows of `row_bytes` bytes, `stride` apart (any
// sign, possibly below row_bytes so that rows overlap), in a guarded buffer
// exactly as large as those rows need.
struct Plane {
  int rows = 0, row_bytes = 0, stride = 0;
  std::unique_ptr<qlsbp_test::Guarded> buf;
  unsigned char* first = nullptr;  // row 0
  std::vector<uint8_t> is_pixel;   // per buffer byte: inside some row

  void make(int r, int rb, int s, std::mt19937& rng) {
    rows = r > 0 ? r : 0;
    row_bytes = rb > 0 ? rb : 0;
    stride = s;
    const int64_t mag = s < 0 ? -static_cast<int64_t>(s) : s;
    const int64_t extent = rows > 0 && row_bytes > 0 ? (rows - 1) * mag + row_bytes : 1;
    buf.reset(new qlsbp_test::Guarded(static_cast<size_t>(extent), guard_side()));
    fill(rng, buf->data(), buf->size());
    first = buf->data() + (s < 0 && rows > 0 ? (rows - 1) * mag : 0);
    is_pixel.assign(buf->size(), 0);
    for (int y = 0; y < rows; ++y) {
      const size_t at = static_cast<size_t>(first - buf->data()) + static_cast<int64_t>(y) * s;
      memset(&is_pixel[at], 1, static_cast<size_t>(row_bytes));
    }
  }
  std::vector<uint8_t> bytes() const {
    return std::vector<uint8_t>(buf->data(), buf->data() + buf->size());
  }
  const uint8_t* row(int y) const { return first + static_cast<int64_t>(y) * stride; }
  bool overlapping() const {
    const int64_t mag = stride < 0 ? -static_cast<int64_t>(stride) : stride;
    return rows > 1 && mag < row_bytes;
  }
};

// Row counts and lengths of the planes a layout uses (code 2 for unknown
// codes, so that refused frames still have planes to be left alone).
inline int plane_count(int format) { return format == 3 ? 3 : format == 4 ? 1 : 2; }
inline void plane_shape(int format, int w, int h, int k, int* rows, int* row_bytes) {
  if (format == 4) {
    *rows = h, *row_bytes = 2 * w;
  } else if (k == 0) {
    *rows = h, *row_bytes = w;
  } else if (format == 3) {
    *rows = h / 2, *row_bytes = w / 2;
  } else {
    *rows = h / 2, *row_bytes = w;
  }
}

// A caller frame: up to three guarded planes with fuzzed strides.
struct Frame {
  int format = 2, width = 0, height = 0;
  Plane plane[3];
  QL_IMAGEINFO info{};

  // Stride of a plane: equal to the row, larger, smaller (rows overlap) or
  // negative (bottom-up).
  static int pick_stride(Input& in, int row_bytes) {
    switch (in.byte() % 6) {
      case 0:
      case 1:
        return row_bytes;
      case 2:
        return row_bytes + in.range(1, 40);
      case 3:
        return row_bytes > 1 ? in.range(1, row_bytes - 1) : row_bytes;
      case 4:
        return -(row_bytes + in.range(0, 24));
      default:
        return row_bytes + 64;
    }
  }

  void make(Input& in, int fmt, int w, int h, bool dense, uint32_t seed) {
    format = fmt, width = w, height = h;
    std::mt19937 rng(seed);
    info = QL_IMAGEINFO{};
    info.format = fmt, info.width = w, info.height = h;
    for (int k = 0; k < 3; ++k) {
      int rows = 0, rb = 0;
      plane_shape(fmt, w, h, k, &rows, &rb);
      int s = dense ? rb : pick_stride(in, rb);
      if (fmt == 3 && k == 2) s = in.byte() % 16 == 0 && !dense ? s + 2 : info.stride[1];
      plane[k].make(k < plane_count(fmt) ? rows : 1, rb, s, rng);
      info.plane[k] = plane[k].first;
      info.stride[k] = s;
    }
  }
  // Rows of every used plane, back to back.
  std::vector<uint8_t> pixels() const {
    std::vector<uint8_t> out;
    for (int k = 0; k < plane_count(format); ++k)
      for (int y = 0; y < plane[k].rows; ++y)
        out.insert(out.end(), plane[k].row(y), plane[k].row(y) + plane[k].row_bytes);
    return out;
  }
  void set_pixels(const std::vector<uint8_t>& v) {
    size_t at = 0;
    for (int k = 0; k < plane_count(format); ++k)
      for (int y = 0; y < plane[k].rows; ++y) {
        memcpy(const_cast<uint8_t*>(plane[k].row(y)), &v[at],
               static_cast<size_t>(plane[k].row_bytes));
        at += static_cast<size_t>(plane[k].row_bytes);
      }
  }
  std::vector<std::vector<uint8_t>> snapshot() const {
    std::vector<std::vector<uint8_t>> s;
    for (const Plane& p : plane) s.push_back(p.bytes());
    return s;
  }
  bool overlapping() const {
    for (int k = 0; k < plane_count(format); ++k)
      if (plane[k].overlapping()) return true;
    return false;
  }
  // Bytes outside every row (padding, and the unused planes) kept.
  void check_padding(const std::vector<std::vector<uint8_t>>& before) const {
    for (int k = 0; k < 3; ++k) {
      const bool used = k < plane_count(format);
      for (size_t i = 0; i < before[k].size(); ++i) {
        if ((!used || !plane[k].is_pixel[i]) && plane[k].buf->data()[i] != before[k][i]) {
          fail("padding byte changed", k, static_cast<long long>(i));
        }
      }
    }
  }
};

// Bytes of a dense frame of the layout (2 and 3: 4:2:0, 4: 4:2:2).
inline size_t dense_size(int format, int w, int h) {
  const size_t n = static_cast<size_t>(w > 0 ? w : 0) * static_cast<size_t>(h > 0 ? h : 0);
  return format == 4 ? 2 * n : (3 * n) >> 1;
}

// Caller parameters: every field over the whole int range, the level mostly
// near the useful range.
inline QL_BokehParam fuzzed_param(Input& in) {
  QL_BokehParam p;
  p.focusRow = in.any_int(), p.focusCol = in.any_int();
  p.axisRows = in.any_int(), p.axisCols = in.any_int();
  p.level = in.byte() % 4 == 0 ? in.any_int() : in.range(-1, 9);
  p.strength = in.any_int();
  return p;
}

// Layout 3 with unpadded luma and padded chroma keeps the luma as it came.
// Odd frames are processed as their even part through the same planes and
// strides, so "unpadded" is measured against the even width.
inline bool keeps_luma(const Frame& f) {
  const int even = f.width & ~1;
  return f.format == 3 && f.info.stride[0] == even && f.info.stride[1] != even / 2;
}

// The same rows as `f` (given as rows_in, taken before processing) in a
// dense frame, for a second session to process.
inline void make_dense(Frame& d, const Frame& f, const std::vector<uint8_t>& rows_in) {
  Input none(nullptr, 0);
  d.make(none, f.format, f.width, f.height, true, 0);
  d.set_pixels(rows_in);
}

// `f` against the dense frame `d` processed elsewhere; the luma as it came
// where the layout-3 write-back keeps it.
inline void check_same_as_dense(const Frame& f, const Frame& d, const std::vector<uint8_t>& rows_in,
                                int level, const char* what) {
  std::vector<uint8_t> want = d.pixels();
  if (keeps_luma(f) && level >= 1) {
    std::copy(rows_in.begin(), rows_in.begin() + static_cast<long>(f.width) * f.height,
              want.begin());
  }
  const std::vector<uint8_t> got = f.pixels();
  if (got == want) return;
  size_t i = 0;
  while (got[i] == want[i]) ++i;
  fprintf(stderr, "frame %dx%d, code %d, strides %d %d %d, level %d\n", f.width, f.height, f.format,
          f.info.stride[0], f.info.stride[1], f.info.stride[2], level);
  fail(what, static_cast<long long>(i), f.format);
}

}  // namespace fuzz

#endif  // QLSBP_FUZZ_FUZZ_INPUT_H_
