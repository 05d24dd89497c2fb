// The host entry points: session life cycle, pass-through safety, odd sizes,
// padding, parameter clamping and the banners.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/frame_param.h"
#include "api/test_frame.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"

namespace {

using namespace qlsbp_test_api;

struct Banner {
  int priority;
  std::string tag;
  std::string text;
};

void capture_banner(int priority, const char* tag, const char* text, void* user) {
  static_cast<std::vector<Banner>*>(user)->push_back({priority, tag, text});
}

const char kInitBanner1[] = "Quillon Single Bokeh Version 6.0 For Preview -2018.03.22:  \n";
const char kInitBanner2[] = "Preview Init:  \n";
const char kFrameBanner1[] = "Quillon Single Bokeh Version PV 5.0 -2018.03.02:  \n";
const char kFrameBanner2[] = "Preview process:  \n";

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
  void open(int format, int w, int h) {
    QL_IMAGEINFO info{};
    info.format = format;
    info.width = w;
    info.height = h;
    ASSERT_EQ(0, sb_top_pv_initial(&info));
  }
  std::vector<Banner> banners_;
};

void expect_banners(const std::vector<Banner>& got, const std::vector<const char*>& texts) {
  ASSERT_EQ(texts.size(), got.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    EXPECT_EQ(6, got[i].priority);
    EXPECT_EQ("QLOB", got[i].tag);
    EXPECT_EQ(texts[i], got[i].text) << "banner " << i;
  }
}

}  // namespace

// --- Version and banners ----------------------------------------------------

TEST_F(Session, VersionIsFixedAndSilent) {
  EXPECT_STREQ("QUILLON CBP VER 2.1.1", sb_top_pv_getVersion());
  EXPECT_EQ(sb_top_pv_getVersion(), sb_top_pv_getVersion());
  EXPECT_TRUE(banners_.empty());
}

TEST_F(Session, BannersComeInOrderOnSetUpAndEveryFrame) {
  Frame f(2, 64, 48, 0, 0, 1);
  QL_BokehParam param = centred(64, 48);
  open(2, 64, 48);
  sb_top_pv_processer(&f.info, &param);
  sb_top_pv_processer(&f.info, &param);
  sb_top_pv_deinit();
  expect_banners(banners_, {kInitBanner1, kInitBanner2, kFrameBanner1, kFrameBanner2, kFrameBanner1,
                            kFrameBanner2});
}

TEST_F(Session, BannersAreLoggedEvenForRefusedCalls) {
  QL_BokehParam param = centred(64, 48, 0);
  EXPECT_EQ(0, sb_top_pv_initial(nullptr));
  EXPECT_EQ(0, sb_top_pv_processer(nullptr, &param));
  EXPECT_EQ(0, sb_top_pv_processer(nullptr, nullptr));
  expect_banners(banners_, {kInitBanner1, kInitBanner2, kFrameBanner1, kFrameBanner2, kFrameBanner1,
                            kFrameBanner2});
}

TEST_F(Session, ClearingTheHookStopsDelivery) {
  sb_top_pv_set_log_hook(nullptr, &banners_);
  EXPECT_EQ(0, sb_top_pv_initial(nullptr));
  EXPECT_TRUE(banners_.empty());
}

// --- Life cycle -------------------------------------------------------------

TEST_F(Session, InitialCreatesBothGlobalsSizedByLayout) {
  open(2, 640, 480);
  ASSERT_NE(nullptr, pData);
  ASSERT_NE(nullptr, idat_pv);
  EXPECT_EQ(480, pData->rows);
  EXPECT_EQ(640, pData->cols);
  EXPECT_EQ(0, sb_top_pv_deinit());
  EXPECT_EQ(nullptr, pData);
  EXPECT_EQ(nullptr, idat_pv);
  EXPECT_EQ(0, sb_top_pv_deinit());  // twice is harmless
}

TEST_F(Session, SecondInitialKeepsTheFirstSession) {
  open(2, 64, 48);
  SBData* first = pData;
  unsigned char* buffer = idat_pv;
  open(4, 128, 96);
  EXPECT_EQ(first, pData);
  EXPECT_EQ(buffer, idat_pv);
  EXPECT_EQ(48, pData->rows);
  EXPECT_EQ(64, pData->cols);

  // Frames of the second size pass through untouched; the first size is
  // still processed.
  Frame big(4, 128, 96, 0, 0, 2);
  const auto before = big.snapshot();
  QL_BokehParam param = centred(128, 96);
  EXPECT_EQ(0, sb_top_pv_processer(&big.info, &param));
  EXPECT_EQ(before, big.snapshot());
  Frame small(2, 64, 48, 0, 0, 3);
  const auto small_before = small.snapshot();
  param = centred(64, 48);
  sb_top_pv_processer(&small.info, &param);
  EXPECT_NE(small_before, small.snapshot());
}

TEST_F(Session, ZeroNegativeAndTinySizesOpenNothing) {
  for (auto wh : {std::pair<int, int>{0, 0}, {-64, 48}, {64, -48}, {1, 48}, {64, 1}}) {
    open(2, wh.first, wh.second);
    EXPECT_EQ(nullptr, pData) << wh.first << "x" << wh.second;
    EXPECT_EQ(nullptr, idat_pv);
  }
  // A session too large for 32-bit arena bookkeeping is refused as well.
  open(2, 65536, 65536);
  EXPECT_EQ(nullptr, pData);
  EXPECT_EQ(nullptr, idat_pv);
}

// --- Pass-through safety ----------------------------------------------------

TEST_F(Session, FramesPassUnchangedWithoutSession) {
  Frame f(2, 64, 48, 0, 0, 3);
  const auto before = f.snapshot();
  QL_BokehParam param = centred(64, 48);
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));  // never opened
  open(2, 64, 48);
  sb_top_pv_deinit();
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));  // closed again
  EXPECT_EQ(before, f.snapshot());

  open(2, 1, 1);  // opens nothing
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));
  EXPECT_EQ(before, f.snapshot());
}

TEST_F(Session, NullParamLowLevelAndRefusedLayoutsLeaveTheFrame) {
  open(3, 64, 48);
  Frame f(3, 64, 48, 0, 0, 4);
  const auto before = f.snapshot();
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, nullptr));
  for (int level : {0, -5}) {
    QL_BokehParam param = centred(64, 48, level);
    EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));
  }
  QL_BokehParam param = centred(64, 48);
  f.info.format = 5;
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));
  f.info.format = 3;
  f.info.stride[2] = f.info.stride[1] + 1;  // unequal chroma strides
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));
  f.info.stride[2] = f.info.stride[1];
  f.info.plane[2] = nullptr;
  EXPECT_EQ(0, sb_top_pv_processer(&f.info, &param));
  EXPECT_EQ(before, f.snapshot());
}

TEST_F(Session, LayoutNeedingALargerBufferPassesThrough) {
  QL_BokehParam param = centred(64, 48);
  // Layout 2 (and any unknown code) sizes the buffer for 4:2:0 frames: a
  // packed 4:2:2 frame of the same size needs more and passes through.
  for (int opened : {2, 5}) {
    open(opened, 64, 48);
    Frame packed(4, 64, 48, 0, 0, 5);
    const auto before = packed.snapshot();
    EXPECT_EQ(0, sb_top_pv_processer(&packed.info, &param));
    EXPECT_EQ(before, packed.snapshot()) << "opened for " << opened;
    Frame semi(2, 64, 48, 0, 0, 6);
    const auto semi_before = semi.snapshot();
    sb_top_pv_processer(&semi.info, &param);
    EXPECT_NE(semi_before, semi.snapshot()) << "opened for " << opened;
    sb_top_pv_deinit();
  }
  // A session opened for layout 4 has room for the 4:2:0 layouts too.
  open(4, 64, 48);
  Frame planar(3, 64, 48, 0, 0, 7);
  const auto before = planar.snapshot();
  sb_top_pv_processer(&planar.info, &param);
  EXPECT_NE(before, planar.snapshot());
}

// --- What is processed ------------------------------------------------------

// Processes a frame in a fresh session opened for its layout and size.
void process_fresh(QL_IMAGEINFO& frame, const QL_BokehParam& p) {
  sb_top_pv_deinit();
  QL_IMAGEINFO info{};
  info.format = frame.format;
  info.width = frame.width;
  info.height = frame.height;
  sb_top_pv_initial(&info);
  QL_BokehParam param = p;
  sb_top_pv_processer(&frame, &param);
}

TEST_F(Session, PaddingDoesNotChangeTheResultAndIsNeverTouched) {
  for (int format = 2; format <= 4; ++format) {
    SCOPED_TRACE(format);
    Frame dense(format, 64, 48, 0, 0, 10 * format);
    Frame padded(format, 64, 48, 12, 6, 10 * format);
    // Layout 3 with unpadded luma and padded chroma keeps its luma by design;
    // pad both so that every plane is written back.
    const QL_BokehParam param = centred(64, 48, 5, 2);
    const std::vector<uint8_t> luma_before = dense.payload(0);
    process_fresh(dense.info, param);
    EXPECT_NE(luma_before, dense.payload(0)) << "the frame never reached the pipeline";
    process_fresh(padded.info, param);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dense.payload(i), padded.payload(i)) << "plane " << i;
    for (int i = 0; i < 3; ++i) {
      const Plane& p = padded.p[i];
      for (size_t o = 0; o < p.bytes.size(); ++o) {
        const bool in_row = o < static_cast<size_t>(p.rows) * p.stride && static_cast<int>(o % p.stride) < p.row_bytes;
        if (!in_row) {
          ASSERT_EQ(kSentinel, p.bytes[o]) << "plane " << i << " byte " << o;
        }
      }
    }
  }
}

TEST_F(Session, OddFrameProcessesItsEvenPartOnly) {
  for (int format = 2; format <= 4; ++format) {
    SCOPED_TRACE(format);
    Frame odd(format, 65, 49, 0, 0, 50 + format);
    auto copy = odd.snapshot();
    const auto before = odd.snapshot();
    const QL_BokehParam param = centred(64, 48, 3, 4);
    process_fresh(odd.info, param);
    EXPECT_EQ(48, pData->rows);
    EXPECT_EQ(64, pData->cols);

    // The same bytes described as a 64 x 48 frame with the odd frame's
    // pitches give the same result.
    QL_IMAGEINFO even = odd.info;
    even.width = 64;
    even.height = 48;
    for (int i = 0; i < 3; ++i) even.plane[i] = copy[i].empty() ? nullptr : copy[i].data();
    process_fresh(even, param);
    EXPECT_EQ(copy, odd.snapshot());

    // The last luma (or packed) column and row kept their input.
    const Plane& y = odd.p[0];
    const int last_col = format == 4 ? 128 : 64;
    for (int r = 0; r < 49; ++r)
      for (int c = last_col; c < y.stride; ++c) {
        const size_t o = static_cast<size_t>(r) * y.stride + c;
        ASSERT_EQ(before[0][o], y.bytes[o]) << r << "," << c;
      }
    EXPECT_EQ(0, memcmp(&y.bytes[48 * y.stride], &before[0][48 * y.stride], y.stride));
  }
}

TEST_F(Session, Code3WithUnpaddedLumaAndPaddedChromaKeepsItsLuma) {
  Frame f(3, 64, 48, 0, 8, 70);
  const auto before = f.snapshot();
  QL_BokehParam param = centred(64, 48, 7, 5);
  process_fresh(f.info, param);
  EXPECT_EQ(before[0], f.p[0].bytes);
}

// --- Parameter clamping -----------------------------------------------------

TEST(FrameParam, LevelStrengthAndBandWidth) {
  SBFrameParam fp{};
  float factor = -1.0f;
  QL_BokehParam p{10, 20, 30, 40, 9, 3};
  ASSERT_TRUE(pv_frame_param_fill(&fp, &factor, &p, 640, 480));
  EXPECT_EQ(7, fp.level);
  EXPECT_EQ(3.2f, factor);
  EXPECT_EQ(27, fp.bandWidth);  // 3 * (480 / 50)
  EXPECT_EQ(10, fp.focusRow);
  EXPECT_EQ(20, fp.focusCol);
  EXPECT_EQ(30, fp.axisRows);
  EXPECT_EQ(40, fp.axisCols);
  EXPECT_EQ(0, fp.reserved);
  EXPECT_EQ(1, fp.useGaussian);
  EXPECT_EQ(1, fp.blurOption);
  EXPECT_EQ(21, fp.kernelSize);
  EXPECT_EQ(0, fp.forceRebuild);

  p.strength = 0;
  ASSERT_TRUE(pv_frame_param_fill(&fp, &factor, &p, 640, 480));
  EXPECT_EQ(9, fp.bandWidth);
  p.strength = 25;
  ASSERT_TRUE(pv_frame_param_fill(&fp, &factor, &p, 480, 640));
  EXPECT_EQ(90, fp.bandWidth);
  for (int s : {1, 5, 10}) {
    p.strength = s;
    ASSERT_TRUE(pv_frame_param_fill(&fp, &factor, &p, 40, 30));
    EXPECT_EQ(0, fp.bandWidth) << s;
  }
  p.strength = 2;
  ASSERT_TRUE(pv_frame_param_fill(&fp, &factor, &p, 99, 100));
  EXPECT_EQ(2, fp.bandWidth);  // 99 / 50 = 1, division before the product
}

TEST(FrameParam, BlurFactorTableAndLowLevels) {
  const float expected[8] = {0.0f, 0.7f, 1.0f, 1.2f, 1.5f, 1.8f, 2.2f, 3.2f};
  for (int level = 1; level <= 7; ++level) {
    SBFrameParam fp{};
    float factor = 0.0f;
    QL_BokehParam p{0, 0, 0, 0, level, 5};
    ASSERT_TRUE(pv_frame_param_fill(&fp, &factor, &p, 64, 64));
    EXPECT_EQ(level, fp.level);
    EXPECT_EQ(expected[level], factor) << level;
  }
  for (int level : {0, -1, -1000}) {
    SBFrameParam fp{};
    fp.level = 99;
    float factor = 5.0f;
    QL_BokehParam p{0, 0, 0, 0, level, 5};
    EXPECT_FALSE(pv_frame_param_fill(&fp, &factor, &p, 64, 64));
    EXPECT_EQ(99, fp.level);
    EXPECT_EQ(5.0f, factor);
  }
}

// The processor keeps the clamped geometry, the band width and the level it
// gave its tasks; these show what the entry point handed it.
TEST_F(Session, ProcessorSeesClampedParameters) {
  Frame f(2, 640, 480, 0, 0, 80);
  open(2, 640, 480);
  QL_BokehParam p{5000, 320, 100, 100, 9, 3};
  sb_top_pv_processer(&f.info, &p);
  EXPECT_EQ(479, pData->focusRow);
  EXPECT_EQ(27, pData->bandWidth);
  EXPECT_EQ(7, pData->task[0].level);
  EXPECT_EQ(3.2f, pData->task[0].factor);
  EXPECT_EQ(21, pData->task[0].kernelSize);

  QL_BokehParam q{10, 300, 50, 60, 2, 25};
  sb_top_pv_processer(&f.info, &q);
  EXPECT_EQ(90, pData->bandWidth);
  EXPECT_EQ(2, pData->task[1].level);
  EXPECT_EQ(1.0f, pData->task[1].factor);
  q.strength = 0;
  sb_top_pv_processer(&f.info, &q);
  EXPECT_EQ(9, pData->bandWidth);
}
