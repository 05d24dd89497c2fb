// The host API: stride packing byte-for-byte against a per-byte model of the
// dense layouts (random frames of every layout, padded and unpadded, plus the
// hand-worked quirks and refusals); then the entry points: version and
// banners, session life cycle, pass-through safety, padding, odd sizes and
// parameter clamping.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "api/frame_param.h"
#include "common/test_util.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/packing.h"
#include "qlsbp/sb_data.h"

namespace {

// A caller frame: planes laid out the way a host allocates them, random
// payload, sentinel-filled padding and a guard after each plane, so any
// stray read or write shows.
using namespace qlsbp_test;  // random_bytes, random_int
using Bytes = std::vector<uint8_t>;
constexpr uint8_t kSentinel = 0xA5;
constexpr size_t kGuard = 64;  // sentinel bytes after every plane

// `rows` rows of `row_bytes` payload at pitch `stride`.
struct Plane { int rows = 0, row_bytes = 0, stride = 0; Bytes bytes; };

Plane make_plane(int rows, int row_bytes, int pad, uint32_t seed) {
  Plane p{rows, row_bytes, row_bytes + pad, Bytes(size_t(rows) * (row_bytes + pad) + kGuard, kSentinel)};
  const Bytes payload = random_bytes(size_t(rows) * row_bytes, seed);
  for (int y = 0; y < rows; ++y)
    std::copy_n(payload.begin() + size_t(y) * row_bytes, row_bytes, p.bytes.begin() + size_t(y) * p.stride);
  return p;
}

// A frame of layout 2, 3 or 4 and size w x h; pad0 extra bytes per luma (or
// packed) row, pad1 per chroma row.
struct Frame {
  QL_IMAGEINFO info{};
  Plane p[3];

  Frame(int format, int w, int h, int pad0, int pad1, uint32_t seed) {
    info = {format, w, h, {}, {}};
    p[0] = make_plane(h, format == 4 ? 2 * w : w, pad0, seed);
    if (format == 2) p[1] = make_plane(h / 2, w, pad1, seed + 1);
    if (format == 3) p[1] = make_plane(h / 2, w / 2, pad1, seed + 1), p[2] = make_plane(h / 2, w / 2, pad1, seed + 2);
    for (int i = 0; i < 3; ++i) info.plane[i] = p[i].bytes.empty() ? nullptr : p[i].bytes.data(), info.stride[i] = p[i].stride;
  }
  Frame(const Frame&) = delete;  // the descriptor points into the planes

  std::vector<Bytes> snapshot() const { return {p[0].bytes, p[1].bytes, p[2].bytes}; }
  Bytes payload(int i) const {  // plane i's rows without their padding
    Bytes out;
    for (int y = 0; y < p[i].rows; ++y) {
      const auto row = p[i].bytes.begin() + size_t(y) * p[i].stride;
      out.insert(out.end(), row, row + p[i].row_bytes);
    }
    return out;
  }
};

// ---- Stride packing ----------------------------------------------------------


// The model: calls fn(plane, plane_offset, dense_offset) for every byte a
// copy moves. A plane whose stride equals its dense row length moves as one
// block, otherwise row by row; the two differ for odd sizes.
template <typename Fn>
void for_each_moved_byte(const QL_IMAGEINFO& f, Fn fn) {
  const long w = f.width, h = f.height, n = w * h;
  auto copy = [&](int i, long rows, long row_bytes, long block, long dense) {
    if (f.stride[i] == row_bytes) {
      for (long k = 0; k < block; ++k) fn(i, k, dense + k);
    } else {
      for (long y = 0; y < rows; ++y)
        for (long x = 0; x < row_bytes; ++x) fn(i, y * f.stride[i] + x, dense + y * row_bytes + x);
    }
  };
  const long quarter = (w / 2) * (h / 2);
  if (f.format == 4) return copy(0, h, 2 * w, 2 * n, 0);
  copy(0, h, w, n, 0);
  if (f.format == 2) return copy(1, h / 2, w, 2 * quarter, n);
  copy(1, h / 2, w / 2, quarter, n);
  copy(2, h / 2, w / 2, quarter, n + (f.stride[1] == w / 2 ? quarter : n / 4));
}

TEST(StridePacking, BothDirectionsMatchTheModelOnRandomFrames) {
  std::mt19937 rng(7);
  for (int i = 0; i < 480; ++i) {
    const int format = 2 + i % 3, w = random_int(rng, 1, 70), h = random_int(rng, 1, 40);
    // Every combination of padded and unpadded luma and chroma.
    const int pad0 = (i / 3) % 2 ? random_int(rng, 1, 17) : 0, pad1 = (i / 6) % 2 ? random_int(rng, 1, 17) : 0;
    SCOPED_TRACE(testing::Message() << "format " << format << " " << w << "x" << h << " pad " << pad0 << "/" << pad1);
    Frame f(format, w, h, pad0, pad1, 100 + 3 * i);
    const std::vector<Bytes> before = f.snapshot();
    const Bytes dense_before = random_bytes(size_t(w) * h * 2 + kGuard, i);

    // Planes -> dense: only moved bytes change; the planes are only read.
    Bytes dense = dense_before, expected = dense_before;
    for_each_moved_byte(f.info, [&](int p, long po, long d) { expected[d] = before[p][po]; });
    ASSERT_EQ(0, img_move_stride(&f.info, dense.data()));
    EXPECT_EQ(expected, dense);
    EXPECT_EQ(before, f.snapshot());

    // Dense -> planes: padding and guards untouched. Code 3 with unpadded
    // luma and padded chroma copies its luma into the dense buffer instead.
    const bool exception = format == 3 && f.info.stride[0] == w && f.info.stride[1] != w / 2;
    dense = expected = dense_before;
    std::vector<Bytes> planes = before;
    for_each_moved_byte(f.info, [&](int p, long po, long d) {
      if (exception && p == 0) return void(expected[d] = planes[0][po]);
      planes[p][po] = dense_before[d];
    });
    ASSERT_EQ(0, img_add_stride(&f.info, dense.data()));
    EXPECT_EQ(planes, f.snapshot());
    EXPECT_EQ(expected, dense);
  }
}

TEST(StridePacking, OddCode3SecondChromaOffsetDependsOnStrategy) {
  // 641 x 481: chroma planes are 320 x 240. Blocks place the second plane at
  // 308,321 + 76,800, rows at 308,321 + (641 * 481) / 4 = 308,321 + 77,080.
  for (int pad : {0, 16}) {
    Frame f(3, 641, 481, 0, pad, 31);
    std::fill(f.p[1].bytes.begin(), f.p[1].bytes.end(), uint8_t{0x11});
    std::fill(f.p[2].bytes.begin(), f.p[2].bytes.end(), uint8_t{0x22});
    Bytes dense(641 * 481 * 3 / 2 + kGuard, 0);
    ASSERT_EQ(0, img_move_stride(&f.info, dense.data()));
    const size_t first_end = 308321 + 76800, second = 308321 + (pad == 0 ? 76800 : 77080);
    const Bytes got = {dense[308321], dense[first_end - 1], dense[first_end], dense[second],
                       dense[second + 76800 - 1], dense[second + 76800]};
    EXPECT_EQ(got, (Bytes{0x11, 0x11, uint8_t(pad == 0 ? 0x22 : 0x00), 0x22, 0x22, 0x00})) << "pad " << pad;
  }
}

TEST(StridePacking, RefusedOrEmptyFramesCopyNothing) {
  struct Case { const char* what; int format, width, height, stride2, null_plane, result; };
  const Case cases[] = {
      {"format 5", 5, 64, 48, 32, -1, 1},       {"code 3, stride[1] != stride[2]", 3, 64, 48, 40, -1, 1},
      {"null plane[0]", 2, 64, 48, 32, 0, 1},   {"null plane[1]", 3, 64, 48, 32, 1, 1},
      {"null plane[2]", 3, 64, 48, 32, 2, 1},   {"zero width", 3, 0, 48, 32, -1, 0},
      {"zero height", 4, 64, 0, 32, -1, 0},     {"negative width", 2, -64, 48, 32, -1, 0},
      {"negative height", 3, 64, -48, 32, -1, 0},
  };
  for (const Case& c : cases) {
    Frame f(3, 64, 48, 0, 0, 12);
    const std::vector<Bytes> before = f.snapshot();
    QL_IMAGEINFO info = f.info;
    info.format = c.format, info.width = c.width, info.height = c.height, info.stride[2] = c.stride2;
    if (c.null_plane >= 0) info.plane[c.null_plane] = nullptr;
    Bytes dense(64 * 48 * 2, kSentinel);
    EXPECT_EQ(2 * c.result, img_move_stride(&info, dense.data()) + img_add_stride(&info, dense.data())) << c.what;
    EXPECT_EQ(Bytes(dense.size(), kSentinel), dense) << c.what;
    EXPECT_EQ(before, f.snapshot()) << c.what;
  }
  Frame f(3, 16, 8, 0, 0, 9);
  EXPECT_EQ(2, img_move_stride(nullptr, f.p[0].bytes.data()) + img_add_stride(nullptr, f.p[0].bytes.data()));
  EXPECT_EQ(2, img_move_stride(&f.info, nullptr) + img_add_stride(&f.info, nullptr));
  // Layout 4 never looks at plane[1] or plane[2], layout 2 never at plane[2].
  Bytes dense(16 * 8 * 2);
  Frame packed(4, 16, 8, 0, 0, 10), semi(2, 16, 8, 0, 0, 11);
  EXPECT_EQ(0, img_move_stride(&packed.info, dense.data()) + img_move_stride(&semi.info, dense.data()));
}

TEST(StridePacking, NegativeStrideWalksABottomUpPlane) {
  Frame f(2, 16, 4, 0, 0, 41);
  Bytes flipped(64), dense(16 * 4 * 2, 0);
  for (int y = 0; y < 4; ++y) memcpy(&flipped[(3 - y) * 16], &f.p[0].bytes[y * 16], 16);
  f.info.plane[0] = &flipped[3 * 16], f.info.stride[0] = -16;  // the first row is at the bottom
  ASSERT_EQ(0, img_move_stride(&f.info, dense.data()));
  EXPECT_TRUE(std::equal(dense.begin(), dense.begin() + 64, f.p[0].bytes.begin()));
}

// ---- Entry points ------------------------------------------------------------

// Set-up banners, then per-frame banners, as the default sink on standard
// error prints them; the hook below records them the same way.
const std::string kInit = "QLOB Quillon Single Bokeh Version 6.0 For Preview -2018.03.22:  \nQLOB Preview Init:  \n";
const std::string kFrame = "QLOB Quillon Single Bokeh Version PV 5.0 -2018.03.02:  \nQLOB Preview process:  \n";

void capture_banner(int priority, const char* tag, const char* text, void* user) {
  *static_cast<std::string*>(user) += std::string(priority == 6 ? "" : "wrong priority ") + tag + " " + text;
}

QL_BokehParam centred(int w, int h, int level = 4, int strength = 3) {
  return QL_BokehParam{h / 2, w / 2, h / 4, w / 4, level, strength};
}

// Every test starts and ends without a session, with banners captured.
class Session : public ::testing::Test {
 protected:
  void SetUp() override {
    sb_top_pv_set_log_hook(capture_banner, &banners_);
    sb_top_pv_deinit();
  }
  void TearDown() override {
    sb_top_pv_deinit();
    sb_top_pv_set_log_hook(nullptr, nullptr);
  }
  static void open(int format, int w, int h) {
    QL_IMAGEINFO info{format, w, h, {}, {}};
    ASSERT_EQ(0, sb_top_pv_initial(&info));
  }
  // Processes a frame in a fresh session opened for its layout and size.
  static void process_fresh(QL_IMAGEINFO* frame, QL_BokehParam param) {
    sb_top_pv_deinit();
    open(frame->format, frame->width, frame->height);
    EXPECT_EQ(0, sb_top_pv_processer(frame, &param));
  }
  std::string banners_;
};

#if !defined(__ANDROID__) && !defined(QLSBP_WITH_ANDROID_LOG)
// Without a hook, banners reach standard error when QLSBP_LOG is set and not
// "0" (Android builds send them to the Android log instead).
TEST_F(Session, DefaultSinkIsSilentUnlessAskedFor) {
  sb_top_pv_set_log_hook(nullptr, nullptr);
  for (const char* setting : {"0", "1", static_cast<const char*>(nullptr)}) {
    setting ? setenv("QLSBP_LOG", setting, 1) : unsetenv("QLSBP_LOG");
    ::testing::internal::CaptureStderr();
    sb_top_pv_initial(nullptr);
    sb_top_pv_processer(nullptr, nullptr);
    EXPECT_EQ(setting && *setting == '1' ? kInit + kFrame : "", ::testing::internal::GetCapturedStderr());
  }
}
#endif

TEST_F(Session, LifeCycleVersionAndBanners) {
  EXPECT_STREQ("QUILLON CBP VER 2.1.1", sb_top_pv_getVersion());
  open(2, 65, 49);  // made for the even part
  ASSERT_TRUE(pData != nullptr && idat_pv != nullptr);
  EXPECT_EQ(std::make_pair(48, 64), std::make_pair(pData->rows, pData->cols));
  const void *first = pData, *buffer = idat_pv;
  open(4, 128, 96);  // a second set-up keeps the first session
  EXPECT_TRUE(pData == first && idat_pv == buffer && pData->rows == 48);
  Frame f(2, 64, 48, 0, 0, 1);
  QL_BokehParam param = centred(64, 48);
  sb_top_pv_processer(&f.info, &param);
  EXPECT_EQ(0, sb_top_pv_deinit());
  EXPECT_TRUE(pData == nullptr && idat_pv == nullptr);
  EXPECT_EQ(0, sb_top_pv_deinit());  // twice is harmless
  sb_top_pv_initial(nullptr);        // refused calls log their banners too
  sb_top_pv_processer(nullptr, &param);
  sb_top_pv_processer(&f.info, nullptr);
  EXPECT_EQ(kInit + kInit + kFrame + kInit + kFrame + kFrame, banners_);  // the version and closing log nothing
  // Too small, negative, or too large for 32-bit work-memory bookkeeping.
  for (auto wh : {std::pair<int, int>{0, 0}, {-64, 48}, {64, -48}, {1, 48}, {64, 1}, {65536, 65536}}) {
    open(2, wh.first, wh.second);
    EXPECT_TRUE(pData == nullptr && idat_pv == nullptr) << wh.first << "x" << wh.second;
  }
}

TEST_F(Session, FramesPassUntouchedWheneverTheyCannotBeProcessed) {
  QL_BokehParam param = centred(64, 48), low = centred(64, 48, 0);
  Frame f(3, 64, 48, 0, 0, 4);
  const std::vector<Bytes> before = f.snapshot();
  // Layouts the packing step refuses are covered with it above.
  auto expect_untouched = [&](const char* why, QL_BokehParam* p) {
    EXPECT_EQ(0, sb_top_pv_processer(&f.info, p));
    EXPECT_EQ(before, f.snapshot()) << why;
  };
  expect_untouched("never opened", &param);
  open(3, 1, 1);
  expect_untouched("opened too small", &param);
  open(3, 66, 48);
  expect_untouched("opened for another size", &param);
  sb_top_pv_deinit();
  open(3, 64, 48);
  sb_top_pv_deinit();
  expect_untouched("closed again", &param);
  open(3, 64, 48);
  expect_untouched("null param", nullptr);
  expect_untouched("level 0", &low);
  // Only frames of the set-up's layout are processed: another layout would
  // meet masks, task records and a buffer made for other chroma planes. A
  // set-up with an unknown code sizes a 4:2:0 buffer but processes nothing.
  for (int opened : {2, 3, 4, 5}) {
    sb_top_pv_deinit();
    open(opened, 64, 48);
    for (int format = 2; format <= 4; ++format) {
      Frame f(format, 64, 48, 0, 0, 5 + format);
      const std::vector<Bytes> frame_before = f.snapshot();
      sb_top_pv_processer(&f.info, &param);
      EXPECT_EQ(format != opened, frame_before == f.snapshot()) << "opened for " << opened << ", frame " << format;
    }
  }
}

TEST_F(Session, PaddingChangesNothingAndIsNeverTouched) {
  const QL_BokehParam param = centred(64, 48, 5, 2);
  for (int format = 2; format <= 4; ++format) {
    // Both planes padded, so that layout 3 avoids its luma-keeping write-back.
    Frame dense(format, 64, 48, 0, 0, 10 * format), padded(format, 64, 48, 12, 6, 10 * format);
    const Bytes luma_before = dense.payload(0);
    process_fresh(&dense.info, param);
    process_fresh(&padded.info, param);
    EXPECT_NE(luma_before, dense.payload(0)) << "format " << format << " never reached the pipeline";
    for (int i = 0; i < 3; ++i) {
      const Plane& p = padded.p[i];
      EXPECT_EQ(dense.payload(i), padded.payload(i)) << "format " << format << " plane " << i;
      for (size_t o = 0; o < p.bytes.size(); ++o) {  // padding and guard: still the sentinel
        const bool pad = o >= size_t(p.rows) * p.stride || int(o % p.stride) >= p.row_bytes;
        ASSERT_TRUE(!pad || p.bytes[o] == kSentinel) << "plane " << i << " byte " << o;
      }
    }
  }
  // Code 3 with unpadded luma but padded chroma keeps its luma on purpose.
  Frame f(3, 64, 48, 0, 8, 70);
  const std::vector<Bytes> before = f.snapshot();
  process_fresh(&f.info, param);
  EXPECT_EQ(before[0], f.p[0].bytes);
  EXPECT_NE(before[1], f.p[1].bytes);
}

TEST_F(Session, OddFrameProcessesItsEvenPartOnly) {
  // The same bytes described as 64 x 48 with the odd frame's pitches give the
  // same result, so the last column and row keep their input.
  for (int format = 2; format <= 4; ++format) {
    Frame odd(format, 65, 49, 0, 0, 50 + format);
    std::vector<Bytes> copy = odd.snapshot();
    QL_IMAGEINFO even = odd.info;
    even.width = 64, even.height = 48;
    for (int i = 0; i < 3; ++i) even.plane[i] = copy[i].empty() ? nullptr : copy[i].data();
    process_fresh(&odd.info, centred(64, 48, 3, 4));
    EXPECT_NE(copy, odd.snapshot()) << "format " << format << " never reached the pipeline";
    process_fresh(&even, centred(64, 48, 3, 4));
    EXPECT_EQ(copy, odd.snapshot()) << "format " << format;
  }
}

TEST(FrameParam, LevelStrengthBandWidthAndFactor) {
  struct Case { int level, strength, width, height, want_level, want_band; float want_factor; };
  const Case cases[] = {
      {9, 3, 640, 480, 7, 27, 3.2f},   // level above 7 is 7; band 3 * (480 / 50)
      {1, 0, 640, 480, 1, 9, 0.7f},    // strength below 1 is 1
      {2, 25, 480, 640, 2, 90, 1.0f},  // strength above 10 is 10
      {3, 5, 40, 30, 3, 0, 1.2f},      // a side below 50: no band
      {4, 2, 99, 100, 4, 2, 1.5f},     // 99 / 50 = 1: division before the product
      {5, 1, 64, 64, 5, 1, 1.8f},
      {6, 10, 64, 64, 6, 10, 2.2f},
      {0, 3, 64, 64, -9, -9, -1.0f},   // refused: outputs untouched
  };
  for (const Case& c : cases) {
    SBFrameParam fp{0, 0, 0, 0, -9, -9, 0, 0, 0, 0, 0};
    float factor = -1.0f;
    QL_BokehParam p{10, 20, 30, 40, c.level, c.strength};
    EXPECT_EQ(c.level > 0, pv_frame_param_fill(&fp, &factor, &p, c.width, c.height));
    EXPECT_EQ(std::make_pair(c.want_level, c.want_band), std::make_pair(fp.level, fp.bandWidth)) << c.level;
    EXPECT_EQ(c.want_factor, factor) << c.level;
    EXPECT_TRUE(c.level <= 0 || (fp.focusRow == 10 && fp.focusCol == 20 && fp.axisRows == 30 && fp.axisCols == 40 &&
                                 fp.reserved == 0 && fp.useGaussian == 1 && fp.blurOption == 1 &&
                                 fp.kernelSize == 21 && fp.forceRebuild == 0));
  }
}

// What the entry point handed the processor: the focus clamped to the frame,
// the band width and the level's blur.
TEST_F(Session, ProcessorSeesClampedParameters) {
  Frame f(2, 640, 480, 0, 0, 80);
  open(2, 640, 480);
  QL_BokehParam p{5000, 320, 100, 100, 9, 25};
  sb_top_pv_processer(&f.info, &p);
  EXPECT_EQ(std::make_pair(479, 90), std::make_pair(pData->focusRow, pData->bandWidth));
  EXPECT_TRUE(pData->task[0].level == 7 && pData->task[0].factor == 3.2f && pData->task[0].kernelSize == 21);
}

}  // namespace
