// The host entry points at their limits: the one frame-size limit shared by
// the set-up, the sessions and the processor's arena; layouts other than the
// set-up's; and hosts that do not serialise their calls.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <chrono>
#include <thread>
#include <vector>

#include "../session/session_frames.h"
#include "processor/arena_plan.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"

namespace {

using qlsbp_test::open_session;
using qlsbp_test::param_for;
using qlsbp_test::TestFrame;

void open_host(int format, int w, int h) {
  QL_IMAGEINFO info{};
  info.format = format, info.width = w, info.height = h;
  sb_top_pv_initial(&info);
}

TEST(FrameLimit, SetUpSessionsAndArenaShareOneLimit) {
  // 16384 x 8192 is exactly the limit: the arena plan takes it, 15 bytes a
  // pixel, and its offsets still fit a 32-bit int.
  const ArenaPlan at = arena_plan(8192, 16384);
  ASSERT_TRUE(at.ok);
  EXPECT_EQ(15u * QLSBP_MAX_FRAME_PIXELS, at.capacity);
  EXPECT_LE(static_cast<long long>(at.capacity), static_cast<long long>(INT_MAX));
  EXPECT_TRUE(arena_plan(1, QLSBP_MAX_FRAME_PIXELS).ok);
  EXPECT_FALSE(arena_plan(1, QLSBP_MAX_FRAME_PIXELS + 1).ok);
  EXPECT_FALSE(arena_plan(8192, 16386).ok);
  EXPECT_FALSE(arena_plan(INT_MAX, INT_MAX).ok);

  // Above the limit the set-up opens nothing, so no frame is ever waved
  // through by a processor without memory; a later valid set-up opens.
  sb_top_pv_deinit();
  for (auto wh : {std::pair<int, int>{16386, 8192}, {8192, 16386}, {INT_MAX, INT_MAX},
                  {INT_MAX, 2}, {46341, 46341}}) {
    open_host(2, wh.first, wh.second);
    EXPECT_TRUE(pData == nullptr && idat_pv == nullptr) << wh.first << "x" << wh.second;
    QL_IMAGEINFO info{};
    info.format = 2, info.width = wh.first, info.height = wh.second;
    qlsbp_session* s = nullptr;
    EXPECT_EQ(QLSBP_ERR_TOO_LARGE, qlsbp_session_open(&s, &info, nullptr));
  }
  open_host(2, INT_MAX, INT_MAX);
  open_host(2, 64, 48);
  ASSERT_TRUE(pData != nullptr && pData->memBase != nullptr);
  TestFrame f(2, 64, 48, 0, 3);
  const TestFrame before = f;
  QL_BokehParam p = param_for(1, 64, 48);
  sb_top_pv_processer(&f.info, &p);
  EXPECT_FALSE(before == f);
  sb_top_pv_deinit();
}

// A layout-2 frame in a session set up for layout 4 used to be processed and
// leave 4:2:0 task records behind; a layout-4 frame whose focus column equals
// that level then kept them and wrote its second chroma plane from memory no
// frame had filled. Such frames now pass through and change nothing.
TEST(HostLayouts, AFrameOfAnotherLayoutPassesAndLeavesTheSessionAsItWas) {
  const int w = 64, h = 48;
  QL_BokehParam first = param_for(1, w, h), other = first, second = first;
  first.level = 3;
  other.level = 5, other.focusCol = 20;
  second.level = 2, second.focusCol = 5;  // the level of the refused frame

  auto run = [&](bool with_other) {
    sb_top_pv_deinit();
    open_host(QL_FORMAT_YUYV422, w, h);
    TestFrame a(QL_FORMAT_YUYV422, w, h, 0, 1), b(QL_FORMAT_YUYV422, w, h, 0, 2);
    sb_top_pv_processer(&a.info, &first);
    if (with_other) {
      TestFrame nv21(QL_FORMAT_YUV420_SEMIPLANAR, w, h, 0, 3);
      const TestFrame untouched = nv21;
      QL_BokehParam p = other;
      sb_top_pv_processer(&nv21.info, &p);
      EXPECT_TRUE(untouched == nv21);
    }
    QL_BokehParam p = second;
    sb_top_pv_processer(&b.info, &p);
    sb_top_pv_deinit();
    return b;
  };
  const TestFrame plain = run(false);
  EXPECT_TRUE(plain == run(true));
  // The same two layout-4 frames through a session agree as well.
  qlsbp_session* s = open_session(QL_FORMAT_YUYV422, w, h, 1);
  ASSERT_NE(nullptr, s);
  TestFrame a(QL_FORMAT_YUYV422, w, h, 0, 1), b(QL_FORMAT_YUYV422, w, h, 0, 2);
  EXPECT_EQ(QLSBP_OK, qlsbp_session_process(s, &a.info, &first));
  EXPECT_EQ(QLSBP_OK, qlsbp_session_process(s, &b.info, &second));
  qlsbp_session_close(s);
  EXPECT_TRUE(plain == b);
}

// Two camera threads hammering the host API while a third closes and opens
// the session: nothing crashes, and every frame is either processed exactly
// as alone or returned byte for byte unchanged. How many of each depends on
// the scheduler (under qemu the cycler can keep the session closed for a
// whole run), so the count is not asserted; a frame after the storm must be
// processed again.
TEST(HostThreads, UnserialisedCallsProcessOrPassButNeverCrash) {
  const int w = 96, h = 64;
  const QL_BokehParam param = param_for(2, w, h);
  const TestFrame inputs[2] = {TestFrame(2, w, h, 4, 10), TestFrame(2, w, h, 4, 20)};
  TestFrame wants[2] = {inputs[0], inputs[1]};
  for (TestFrame& want : wants) {  // each alone in a fresh session
    sb_top_pv_deinit();
    open_host(2, w, h);
    QL_BokehParam p = param;
    sb_top_pv_processer(&want.info, &p);
  }
  sb_top_pv_deinit();
  open_host(2, w, h);

  std::atomic<bool> stop{false};
  std::atomic<int> processed{0}, passed{0}, wrong{0};
  auto camera = [&](int id) {
    for (int i = 0; i < 150; ++i) {
      TestFrame f = inputs[id];
      QL_BokehParam p = param;
      sb_top_pv_processer(&f.info, &p);
      if (f == wants[id]) {
        ++processed;
      } else if (f == inputs[id]) {
        ++passed;
      } else {
        ++wrong;
      }
    }
  };
  std::thread cycler([&] {
    while (!stop.load()) {
      sb_top_pv_deinit();
      open_host(2, w, h);
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });
  std::thread c0(camera, 0), c1(camera, 1);
  c0.join();
  c1.join();
  stop.store(true);
  cycler.join();
  TestFrame after = inputs[0];
  QL_BokehParam p = param;
  sb_top_pv_processer(&after.info, &p);
  sb_top_pv_deinit();
  EXPECT_EQ(0, wrong.load());
  EXPECT_EQ(300, processed.load() + passed.load() + wrong.load());
  EXPECT_TRUE(after == wants[0]);
}

}  // namespace
