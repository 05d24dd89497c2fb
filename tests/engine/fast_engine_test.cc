// The fast engine against the reference path, byte for byte.
//
// Two processors are fed the same frames and parameters: one through the
// path the host API has always taken (pack the caller's planes into a dense
// buffer, the reference engine, unpack), the other through the fast engine
// on the caller's strided planes (falling back to the same pack / reference
// / unpack when it declines the frame). The caller buffers, padding
// included, must come out identical.
#include "engine/fast/fast_engine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "api/frame_param.h"
#include "common/test_util.h"
#include "engine/reference/reference_engine.h"
#include "processor/frame_state.h"
#include "qlsbp/mask.h"
#include "qlsbp/packing.h"

namespace {

using qlsbp_test::random_int;

// A caller frame: each plane in a buffer of its own, with any stride; a
// negative stride puts row 0 at the end of the buffer (a bottom-up plane).
struct CallerFrame {
  std::vector<uint8_t> buf[3];
  QL_IMAGEINFO info;

  CallerFrame(const CallerFrame& o) : info(o.info) {
    for (int i = 0; i < 3; ++i) {
      buf[i] = o.buf[i];
      if (!buf[i].empty()) info.plane[i] = buf[i].data() + (o.info.plane[i] - o.buf[i].data());
    }
  }
  CallerFrame& operator=(const CallerFrame&) = delete;
  CallerFrame() : info() {}
};

int plane_count(int format) { return format == 4 ? 1 : (format == 2 ? 2 : 3); }

// Row bytes and rows of plane i of a layout.
void plane_shape(int format, int rows, int cols, int i, int* row_bytes, int* plane_rows) {
  if (format == 4) {
    *row_bytes = 2 * cols;
    *plane_rows = rows;
  } else if (i == 0) {
    *row_bytes = cols;
    *plane_rows = rows;
  } else {
    *row_bytes = format == 2 ? cols : cols / 2;
    *plane_rows = rows / 2;
  }
}

// strides[i]: the stride of plane i (stride[2] = stride[1] for layout 3).
CallerFrame make_frame(int format, int rows, int cols, const int* strides, std::mt19937& rng) {
  CallerFrame f;
  f.info.format = format;
  f.info.width = cols;
  f.info.height = rows;
  for (int i = 0; i < plane_count(format); ++i) {
    int row_bytes, prow;
    plane_shape(format, rows, cols, i, &row_bytes, &prow);
    const int stride = (format == 3 && i == 2) ? strides[1] : strides[i];
    const int pitch = stride < 0 ? -stride : stride;
    f.buf[i] = qlsbp_test::random_bytes(static_cast<size_t>(pitch) * (prow > 0 ? prow : 1),
                                        static_cast<uint32_t>(rng()));
    f.info.plane[i] = f.buf[i].data() + (stride < 0 ? static_cast<size_t>(pitch) * (prow - 1) : 0);
    f.info.stride[i] = stride;
  }
  return f;
}

size_t dense_bytes(int format, int rows, int cols) {
  const size_t n = static_cast<size_t>(rows) * cols;
  return format == 4 ? 2 * n : (3 * n) / 2;
}

// One side of the comparison: a processor and its dense work buffer.
struct Side {
  Side(int rows, int cols) : d(rows, cols), dense(dense_bytes(4, rows, cols)) {}
  SBData d;
  std::vector<uint8_t> dense;
};

void reference_frame(Side* s, QL_IMAGEINFO* info, SBFrameParam p, float factor,
                     qlsbp::Executor& ex) {
  img_move_stride(info, s->dense.data());
  const FrameStep step = frame_state_update(&s->d, s->dense.data(), s->dense.data(), info->height,
                                            info->width, info->format, &p.focusRow, factor,
                                            gen_ellipse4);
  if (step != kFrameRunEngine) return;
  reference_engine_run(&s->d, s->dense.data(), info->format, ex);
  img_add_stride(info, s->dense.data());
}

// Returns the fast engine's result (or -1 when no engine ran). Test frames
// are small, so by default they are cut into pieces as if they were large.
int fast_frame(Side* s, QL_IMAGEINFO* info, SBFrameParam p, float factor, qlsbp::Executor& ex,
               long long min_piece_pixels = 1) {
  const FrameStep step = frame_state_update(&s->d, s->dense.data(), s->dense.data(), info->height,
                                            info->width, info->format, &p.focusRow, factor,
                                            gen_ellipse4);
  if (step != kFrameRunEngine) return -1;
  const int r = fast_engine_run(&s->d, info, ex, min_piece_pixels);
  if (r == kFastEngineUseReference) {
    img_move_stride(info, s->dense.data());
    reference_engine_run(&s->d, s->dense.data(), info->format, ex);
    img_add_stride(info, s->dense.data());
  }
  return r;
}

size_t count_differences(const CallerFrame& a, const CallerFrame& b) {
  size_t bad = 0;
  for (int i = 0; i < 3; ++i) {
    if (a.buf[i].size() != b.buf[i].size()) return static_cast<size_t>(-1);
    for (size_t k = 0; k < a.buf[i].size(); ++k) bad += a.buf[i][k] != b.buf[i][k];
  }
  return bad;
}

// Executors with a chosen concurrency hint, running the pieces serially:
// the cut into pieces changes, the bytes must not.
// Backwards by default, so that no piece can lean on an earlier one having
// run; forwards, bands meet their neighbours from the other side.
class HintedExecutor final : public qlsbp::Executor {
 public:
  explicit HintedExecutor(int hint, bool backwards = true) : hint_(hint), backwards_(backwards) {}
  void run(int count, void (*fn)(void*, int), void* ctx) override {
    for (int k = 0; k < count; ++k) fn(ctx, backwards_ ? count - 1 - k : k);
  }
  int concurrency() const override { return hint_; }

 private:
  int hint_;
  bool backwards_;
};

struct Counts {
  int fast = 0;
  int declined = 0;
};

// Random strides for a frame: unpadded, padded, or negative (bottom-up).
void random_strides(int format, int rows, int cols, std::mt19937& rng, int* strides) {
  for (int i = 0; i < 3; ++i) {
    int row_bytes, prow;
    plane_shape(format, rows, cols, i, &row_bytes, &prow);
    const int kind = random_int(rng, 0, 3);
    int s = row_bytes + (kind >= 2 ? random_int(rng, 1, 40) : 0);
    if (kind == 3 || (kind == 1 && random_int(rng, 0, 1) == 1)) s = -s;
    strides[i] = s;
  }
}

// A sequence of frames of one size and layout with changing parameters.
void run_sequence(int format, int rows, int cols, int frames, uint32_t seed, qlsbp::Executor& ex,
                  Counts* counts, long long min_piece_pixels = 1) {
  std::mt19937 rng(seed);
  Side ref(rows, cols), fast(rows, cols);
  QL_BokehParam bp{rows / 2, cols / 2, rows / 4, cols / 4, 7, 5};
  for (int f = 0; f < frames; ++f) {
    int strides[3];
    random_strides(format, rows, cols, rng, strides);
    // Sometimes the layout-3 luma write-back case on purpose.
    if (format == 3 && random_int(rng, 0, 3) == 0) {
      strides[0] = cols;
      strides[1] = cols / 2 + random_int(rng, 1, 9);
    }
    // Parameters: often kept (mask cache), sometimes moved to or past a
    // border, sometimes the focus column set to the cached level.
    const int what = random_int(rng, 0, 7);
    if (what == 1) bp.level = random_int(rng, 1, 7);
    if (what == 2) bp.strength = random_int(rng, 1, 10);
    if (what == 3) {
      bp.focusRow = random_int(rng, -rows / 2, rows + 3);
      bp.focusCol = random_int(rng, -cols / 2, cols + 3);
    }
    if (what == 4) {
      bp.axisRows = random_int(rng, 0, rows);
      bp.axisCols = random_int(rng, 0, cols);
    }
    if (what == 5) bp.focusCol = bp.level;  // refresh quirk on the next frame
    if (what == 6) {
      bp.level = random_int(rng, 1, 7);
      bp.focusCol = fast.d.cachedLevel;  // records kept from the last frame
    }
    SBFrameParam p;
    float factor = 0;
    if (!pv_frame_param_fill(&p, &factor, &bp, cols, rows)) continue;
    // Now and then settings outside the preview path (the fast engine
    // declines them, and the next refresh may leave their records stale).
    if (random_int(rng, 0, 9) == 0) p.kernelSize = 61;
    if (random_int(rng, 0, 12) == 0) p.useGaussian = 0;

    CallerFrame a = make_frame(format, rows, cols, strides, rng);
    CallerFrame b(a);
    reference_frame(&ref, &a.info, p, factor, ex);
    const int r = fast_frame(&fast, &b.info, p, factor, ex, min_piece_pixels);
    if (r == kFastEngineDone) ++counts->fast;
    if (r == kFastEngineUseReference) ++counts->declined;
    ASSERT_EQ(0u, count_differences(a, b))
        << "format " << format << " " << cols << "x" << rows << " frame " << f << " level "
        << bp.level << " focus " << bp.focusRow << "," << bp.focusCol << " strides " << strides[0]
        << "," << strides[1] << "," << strides[2] << " result " << r;
  }
}

TEST(FastEngine, MatchesReferenceOnFrameSequences) {
  qlsbp::SerialExecutor serial;
  Counts counts;
  struct Size {
    int rows, cols;
  };
  const Size sizes[] = {{48, 64}, {60, 84}, {36, 120}, {100, 40}, {64, 64}, {44, 52}};
  uint32_t seed = 11;
  for (int format : {2, 3, 4}) {
    for (const Size& s : sizes) {
      SCOPED_TRACE(testing::Message() << "format " << format << " " << s.cols << "x" << s.rows);
      run_sequence(format, s.rows, s.cols, 14, seed++, serial, &counts);
    }
  }
  EXPECT_GT(counts.fast, 150);
  EXPECT_GT(counts.declined, 5);
}

// Frames wide enough for the sharp middle of the focus ellipse to spare the
// blur of whole stretches of half rows, with the ellipse moved, resized and
// pushed past the borders; 228 x 332 leaves chroma planes whose size is not
// a multiple of eight (an unblended end in the last row).
TEST(FastEngine, WideSharpRegions) {
  qlsbp::SerialExecutor serial;
  Counts counts;
  uint32_t seed = 300;
  for (int format : {2, 3, 4}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    run_sequence(format, 228, 332, 10, seed++, serial, &counts);
    run_sequence(format, 120, 400, 8, seed++, serial, &counts);
  }
  EXPECT_GT(counts.fast, 30);
}

TEST(FastEngine, TinyAndOddHalfSizes) {
  qlsbp::SerialExecutor serial;
  Counts counts;
  // 2x2 .. 8x8, then sides whose halves (and chroma) are odd: those 4:2:0
  // and 4:2:2 frames go to the reference.
  const int sides[] = {2, 4, 6, 8, 10, 12, 14, 18, 22, 26, 30};
  uint32_t seed = 100;
  for (int format : {2, 3, 4}) {
    for (int rows : sides) {
      for (int cols : {2, 4, 6, 8, 10, 14, 22, 26}) {
        SCOPED_TRACE(testing::Message() << "format " << format << " " << cols << "x" << rows);
        run_sequence(format, rows, cols, 3, seed++, serial, &counts);
      }
    }
  }
  EXPECT_GT(counts.fast, 60);
  EXPECT_GT(counts.declined, 100);
}

TEST(FastEngine, SameBytesWhateverTheCutIntoPieces) {
  qlsbp::PerCallExecutor threads;
  HintedExecutor one(1), three(3), many(40), many_forwards(40, false);
  qlsbp::Executor* executors[] = {&threads, &one, &three, &many, &many_forwards};
  uint32_t seed = 500;
  for (qlsbp::Executor* ex : executors) {
    Counts counts;
    for (int format : {2, 3, 4}) {
      SCOPED_TRACE(testing::Message() << "format " << format << " hint " << ex->concurrency());
      run_sequence(format, 72, 96, 6, seed++, *ex, &counts);
      run_sequence(format, 8, 200, 3, seed++, *ex, &counts);
      // Tall enough for several bands per plane: each band reads the half
      // rows around its neighbours' first and last rows, which those
      // neighbours blend in place.
      run_sequence(format, 300, 48, 3, seed++, *ex, &counts);
      run_sequence(format, 96, 40, 3, seed++, *ex, &counts);
    }
    EXPECT_GT(counts.fast, 10);
  }
  // With the engine's own piece size a 96 x 72 frame stays on the calling
  // thread, and a 1024 x 768 one is cut into pieces.
  Counts counts;
  for (int format : {2, 3, 4}) {
    SCOPED_TRACE(testing::Message() << "format " << format << " own piece size");
    run_sequence(format, 72, 96, 2, seed++, threads, &counts, kFastEngineMinPiecePixels);
    run_sequence(format, 768, 1024, 2, seed++, threads, &counts, kFastEngineMinPiecePixels);
  }
  EXPECT_GT(counts.fast, 3);
}

TEST(FastEngine, EveryLevelOnALargerFrame) {
  qlsbp::PerCallExecutor threads;
  for (int format : {2, 3, 4}) {
    for (int level = 1; level <= 7; ++level) {
      SCOPED_TRACE(testing::Message() << "format " << format << " level " << level);
      const int rows = 120, cols = 160;
      Side ref(rows, cols), fast(rows, cols);
      std::mt19937 rng(static_cast<uint32_t>(format * 10 + level));
      QL_BokehParam bp{50, 70, 30, 50, level, level};
      SBFrameParam p;
      float factor = 0;
      ASSERT_TRUE(pv_frame_param_fill(&p, &factor, &bp, cols, rows));
      const int strides[3] = {cols + 16, format == 4 ? 0 : cols / 2 + 8 + (format == 2) * cols / 2,
                              0};
      int s[3] = {format == 4 ? 2 * cols + 16 : strides[0], strides[1], strides[1]};
      CallerFrame a = make_frame(format, rows, cols, s, rng);
      CallerFrame b(a);
      reference_frame(&ref, &a.info, p, factor, threads);
      EXPECT_EQ(kFastEngineDone, fast_frame(&fast, &b.info, p, factor, threads));
      EXPECT_EQ(0u, count_differences(a, b));
    }
  }
}

TEST(FastEngine, DeclinesWithoutTouchingTheFrame) {
  qlsbp::SerialExecutor serial;
  const int rows = 40, cols = 64;
  SBData d(rows, cols);
  std::vector<uint8_t> dense(dense_bytes(4, rows, cols));
  std::mt19937 rng(3);
  const int strides[3] = {cols, cols, 0};
  CallerFrame f = make_frame(2, rows, cols, strides, rng);
  CallerFrame before(f);
  SBFrameParam p{20, 30, 10, 10, 4, 3, 0, 1, 0, 21, 0};  // full resolution
  ASSERT_EQ(kFrameRunEngine, frame_state_update(&d, dense.data(), dense.data(), rows, cols, 2,
                                                &p.focusRow, 2.0f, gen_ellipse4));
  EXPECT_EQ(kFastEngineUseReference, fast_engine_run(&d, &f.info, serial));
  EXPECT_EQ(0u, count_differences(f, before));

  // Records made for layout 4 do not fit a layout 2 frame (focus column equal
  // to the cached level keeps them).
  p = SBFrameParam{20, 30, 10, 10, 4, 3, 0, 1, 1, 21, 0};
  ASSERT_EQ(kFrameRunEngine, frame_state_update(&d, dense.data(), dense.data(), rows, cols, 4,
                                                &p.focusRow, 2.0f, gen_ellipse4));
  p = SBFrameParam{20, 4, 10, 10, 4, 3, 0, 1, 1, 21, 0};
  ASSERT_EQ(kFrameRunEngine, frame_state_update(&d, dense.data(), dense.data(), rows, cols, 2,
                                                &p.focusRow, 2.0f, gen_ellipse4));
  EXPECT_EQ(kFastEngineUseReference, fast_engine_run(&d, &f.info, serial));
  EXPECT_EQ(0u, count_differences(f, before));

  // Layout 3 with unequal chroma strides is refused by the packing.
  CallerFrame g = make_frame(3, rows, cols, strides, rng);
  g.info.format = 3;
  g.info.stride[2] = g.info.stride[1] + 1;
  EXPECT_EQ(kFastEngineUseReference, fast_engine_run(&d, &g.info, serial));
}

}  // namespace
