// Sessions against the host API and against each other: same bytes for the
// same accepted frames whatever runs them (threads per call, persistent
// workers, another thread, another session beside them), refusals that
// change nothing, and no thread left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "session/session_internal.h"
#include "session_frames.h"

namespace {

using qlsbp_test::open_session;
using qlsbp_test::param_for;
using qlsbp_test::TestFrame;
using qlsbp_test::thread_count;

struct Stream {
  int format, width, height, pad;
};

// The frames of a stream after processing, frame by frame.
std::vector<TestFrame> through_session(const Stream& st, int frames, int workers, uint32_t seed,
                                       int engine = QLSBP_ENGINE_FAST) {
  std::vector<TestFrame> out;
  qlsbp_session* s = open_session(st.format, st.width, st.height, workers, engine);
  EXPECT_NE(nullptr, s);
  if (s == nullptr) return out;
  for (int f = 0; f < frames; ++f) {
    TestFrame frame(st.format, st.width, st.height, st.pad, seed + 7 * f);
    const QL_BokehParam p = param_for(f, st.width, st.height);
    EXPECT_EQ(QLSBP_OK, qlsbp_session_process(s, &frame.info, &p));
    out.push_back(frame);
  }
  qlsbp_session_close(s);
  return out;
}

std::vector<TestFrame> through_host(const Stream& st, int frames, uint32_t seed) {
  std::vector<TestFrame> out;
  QL_IMAGEINFO setup{};
  setup.format = st.format, setup.width = st.width, setup.height = st.height;
  sb_top_pv_initial(&setup);
  for (int f = 0; f < frames; ++f) {
    TestFrame frame(st.format, st.width, st.height, st.pad, seed + 7 * f);
    QL_BokehParam p = param_for(f, st.width, st.height);
    sb_top_pv_processer(&frame.info, &p);
    out.push_back(frame);
  }
  sb_top_pv_deinit();
  return out;
}

void expect_same(const std::vector<TestFrame>& want, const std::vector<TestFrame>& got,
                 const char* what) {
  ASSERT_EQ(want.size(), got.size()) << what;
  for (size_t f = 0; f < want.size(); ++f) ASSERT_TRUE(want[f] == got[f]) << what << ", frame " << f;
}

// Layout 3 padded in luma and chroma alike (so that its luma-keeping
// write-back stays out of the way), odd sizes, every layout.
const Stream kStreams[] = {
    {QL_FORMAT_YUV420_SEMIPLANAR, 96, 64, 0},
    {QL_FORMAT_YUV420_PLANAR, 81, 67, 5},
    {QL_FORMAT_YUYV422, 74, 58, 6},
    {QL_FORMAT_YUV420_SEMIPLANAR, 101, 55, 3},
};

TEST(SessionBytes, PersistentWorkersAndThreadsPerCallMatchTheHostApi) {
  for (const Stream& st : kStreams) {
    SCOPED_TRACE(testing::Message() << "layout " << st.format << " " << st.width << "x"
                                    << st.height << " pad " << st.pad);
    const int frames = 40;
    const auto host = through_host(st, frames, 11);
    expect_same(host, through_session(st, frames, 0, 11), "threads per call");
    for (int workers : {1, 2, 3, 5}) {
      expect_same(host, through_session(st, frames, workers, 11), "persistent workers");
    }
  }
}

// Sizes whose half-resolution planes have even sides, so that the fast
// engine does the work itself rather than handing the frame to the
// reference engine, beside sizes it hands over.
const Stream kEngineStreams[] = {
    {QL_FORMAT_YUV420_SEMIPLANAR, 128, 96, 0},  {QL_FORMAT_YUV420_SEMIPLANAR, 200, 100, 7},
    {QL_FORMAT_YUV420_PLANAR, 160, 120, 16},    {QL_FORMAT_YUV420_PLANAR, 96, 64, 0},
    {QL_FORMAT_YUYV422, 96, 72, 8},             {QL_FORMAT_YUYV422, 100, 60, 0},
    {QL_FORMAT_YUV420_SEMIPLANAR, 102, 66, 3},  {QL_FORMAT_YUV420_PLANAR, 81, 67, 5},
    {QL_FORMAT_YUV420_SEMIPLANAR, 400, 304, 0},
};

TEST(SessionBytes, FastAndReferenceEnginesGiveTheSameBytes) {
  for (const Stream& st : kEngineStreams) {
    SCOPED_TRACE(testing::Message() << "layout " << st.format << " " << st.width << "x"
                                    << st.height << " pad " << st.pad);
    const int frames = 24;
    const auto reference = through_session(st, frames, 0, 5, QLSBP_ENGINE_REFERENCE);
    for (int workers : {0, 1, 3}) {
      expect_same(reference, through_session(st, frames, workers, 5, QLSBP_ENGINE_FAST),
                  "fast engine");
    }
    // The host API runs the fast engine unless QLSBP_ENGINE=reference was
    // set when its session opened.
    expect_same(reference, through_host(st, frames, 5), "host API, fast engine");
    setenv("QLSBP_ENGINE", "reference", 1);
    const auto host_reference = through_host(st, frames, 5);
    unsetenv("QLSBP_ENGINE");
    expect_same(reference, host_reference, "host API, reference engine");
  }
}

TEST(SessionBytes, TwoSessionsOnTwoThreadsGiveWhatEachGivesAlone) {
  const Stream a{QL_FORMAT_YUV420_SEMIPLANAR, 128, 72, 4}, b{QL_FORMAT_YUYV422, 90, 66, 0};
  const int frames = 24;
  const auto alone_a = through_session(a, frames, 2, 3);
  const auto alone_b = through_session(b, frames, 0, 5);
  std::vector<TestFrame> together_a, together_b;
  std::thread ta([&] { together_a = through_session(a, frames, 2, 3); });
  std::thread tb([&] { together_b = through_session(b, frames, 0, 5); });
  ta.join();
  tb.join();
  expect_same(alone_a, together_a, "first session");
  expect_same(alone_b, together_b, "second session");
  expect_same(through_host(a, frames, 3), alone_a, "host API, first stream");
  expect_same(through_host(b, frames, 5), alone_b, "host API, second stream");
}

TEST(SessionOpen, OptionsSizesAndLayouts) {
  qlsbp_session_options o;
  qlsbp_session_options_init(&o);
  EXPECT_EQ(static_cast<int>(sizeof o), o.size);
  EXPECT_GE(o.workers, 1);
  EXPECT_EQ(QLSBP_ENGINE_FAST, o.engine);
  EXPECT_EQ(0, o.clean_edges);

  struct Case {
    const char* what;
    int format, width, height, workers, engine, clean_edges, size, want;
  };
  const int full = static_cast<int>(sizeof o);
  const Case cases[] = {
      {"defaults", 2, 64, 48, 2, 0, 0, full, QLSBP_OK},
      {"reference engine, clean edges", 3, 64, 48, 0, 1, 1, full, QLSBP_OK},
      {"record of an older header: defaults for what it lacks", 4, 64, 48, -7, 9, 9, 4, QLSBP_OK},
      {"negative workers", 2, 64, 48, -1, 0, 0, full, QLSBP_ERR_ARGUMENT},
      {"unknown engine", 2, 64, 48, 0, 2, 0, full, QLSBP_ERR_ARGUMENT},
      {"clean edges 2", 2, 64, 48, 0, 0, 2, full, QLSBP_ERR_ARGUMENT},
      {"record size 0", 2, 64, 48, 0, 0, 0, 0, QLSBP_ERR_ARGUMENT},
      {"record larger than ours", 2, 64, 48, 0, 0, 0, full + 4, QLSBP_ERR_ARGUMENT},
      {"layout 5", 5, 64, 48, 0, 0, 0, full, QLSBP_ERR_LAYOUT},
      {"width 1", 2, 1, 48, 0, 0, 0, full, QLSBP_ERR_ARGUMENT},
      {"negative height", 2, 64, -48, 0, 0, 0, full, QLSBP_ERR_ARGUMENT},
      {"one pixel above the limit", 2, 16385, 8192, 0, 0, 0, full, QLSBP_ERR_TOO_LARGE},
      {"INT_MAX squared", 2, 2147483647, 2147483647, 0, 0, 0, full, QLSBP_ERR_TOO_LARGE},
  };
  for (const Case& c : cases) {
    qlsbp_session_options opt = o;
    opt.size = c.size, opt.workers = c.workers, opt.engine = c.engine,
    opt.clean_edges = c.clean_edges;
    QL_IMAGEINFO info{};
    info.format = c.format, info.width = c.width, info.height = c.height;
    qlsbp_session* s = reinterpret_cast<qlsbp_session*>(&o);  // must be overwritten
    EXPECT_EQ(c.want, qlsbp_session_open(&s, &info, &opt)) << c.what;
    EXPECT_EQ(c.want == QLSBP_OK, s != nullptr) << c.what;
    qlsbp_session_close(s);
  }
  qlsbp_session* s = nullptr;
  QL_IMAGEINFO info{};
  info.format = 2, info.width = 64, info.height = 48;
  EXPECT_EQ(QLSBP_ERR_ARGUMENT, qlsbp_session_open(nullptr, &info, nullptr));
  EXPECT_EQ(QLSBP_ERR_ARGUMENT, qlsbp_session_open(&s, nullptr, nullptr));
  EXPECT_EQ(QLSBP_OK, qlsbp_session_open(&s, &info, nullptr));
  qlsbp_session_close(s);
  qlsbp_session_close(nullptr);
  for (int code = 1; code >= -7; --code) EXPECT_NE(nullptr, qlsbp_strerror(code));
}

TEST(SessionRefusals, ARefusedFrameChangesNeitherTheFrameNorTheSession) {
  const Stream st{QL_FORMAT_YUV420_PLANAR, 64, 48, 2};
  for (int workers : {0, 2}) {
    qlsbp_session* s = open_session(st.format, st.width, st.height, workers);
    qlsbp_session* fresh = open_session(st.format, st.width, st.height, workers);
    ASSERT_TRUE(s != nullptr && fresh != nullptr);
    // Each refusal below comes with a new focus and level: had it reached
    // the state step, the next frame would come out differently.
    auto refuse = [&](int want, TestFrame& f, int f_index) {
      const TestFrame before = f;
      const QL_BokehParam p = param_for(f_index, 64, 48);
      EXPECT_EQ(want, qlsbp_session_process(s, &f.info, &p)) << "frame " << f_index;
      EXPECT_TRUE(before == f) << "frame " << f_index;
    };
    const TestFrame good(st.format, 64, 48, 2, 1);
    const struct {
      int want;
      void (*spoil)(QL_IMAGEINFO&);
    } refusals[] = {
        {QLSBP_ERR_LAYOUT, [](QL_IMAGEINFO& i) { i.format = QL_FORMAT_YUV420_SEMIPLANAR; }},
        {QLSBP_ERR_LAYOUT, [](QL_IMAGEINFO& i) { i.format = 9; }},
        {QLSBP_ERR_SIZE_MISMATCH, [](QL_IMAGEINFO& i) { i.width = 66; }},
        {QLSBP_ERR_ARGUMENT, [](QL_IMAGEINFO& i) { i.stride[2] += 1; }},
        {QLSBP_ERR_ARGUMENT, [](QL_IMAGEINFO& i) { i.plane[1] = nullptr; }},
        {QLSBP_ERR_ARGUMENT, [](QL_IMAGEINFO& i) { i.stride[0] = 63; }},
        {QLSBP_ERR_ARGUMENT, [](QL_IMAGEINFO& i) { i.stride[1] = i.stride[2] = 31; }},
    };
    int index = 1;
    for (const auto& r : refusals) {
      TestFrame f = good;
      r.spoil(f.info);
      refuse(r.want, f, index++);
    }
    s->busy.store(true);  // as if another thread were inside
    TestFrame f = good;
    refuse(QLSBP_ERR_BUSY, f, index);
    s->busy.store(false);
    EXPECT_EQ(QLSBP_ERR_ARGUMENT, qlsbp_session_process(s, nullptr, nullptr));

    TestFrame a = good, b = good;
    const QL_BokehParam p = param_for(0, 64, 48);
    EXPECT_EQ(QLSBP_OK, qlsbp_session_process(s, &a.info, &p));
    EXPECT_EQ(QLSBP_OK, qlsbp_session_process(fresh, &b.info, &p));
    EXPECT_TRUE(a == b) << "workers " << workers;
    EXPECT_FALSE(a == good);
    qlsbp_session_close(s);
    qlsbp_session_close(fresh);
  }
}

// The thread count once it has settled at `want`, or after two seconds
// whatever it is then: under qemu-user a joined thread can linger in
// /proc/self/task for a moment after pthread_join has returned.
int settled_thread_count(int want) {
  int n = thread_count();
  for (int i = 0; i < 200 && n != want; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    n = thread_count();
  }
  return n;
}

TEST(SessionThreads, ClosingJoinsEveryWorkerAndCyclesLeakNothing) {
  // A first thread makes a sanitizer start its own helper thread; count
  // after that.
  qlsbp_session_close(open_session(QL_FORMAT_YUV420_SEMIPLANAR, 8, 8, 1));
  int before = thread_count();
  for (int i = 0; i < 50; ++i) {  // let a lingering thread of that one go
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    before = std::min(before, thread_count());
  }
  ASSERT_GT(before, 0);
  qlsbp_session* s = open_session(QL_FORMAT_YUV420_SEMIPLANAR, 64, 48, 4);
  ASSERT_NE(nullptr, s);
  EXPECT_EQ(before + 4, thread_count());
  TestFrame f(QL_FORMAT_YUV420_SEMIPLANAR, 64, 48, 0, 9);
  const QL_BokehParam p = param_for(1, 64, 48);
  EXPECT_EQ(QLSBP_OK, qlsbp_session_process(s, &f.info, &p));
  EXPECT_EQ(before + 4, thread_count());  // parked, not gone, between frames
  qlsbp_session_close(s);
  EXPECT_EQ(before, settled_thread_count(before));

  // Leaks would show under the address sanitizer's leak check.
  for (int i = 0; i < 1000; ++i) {
    qlsbp_session* c = open_session(QL_FORMAT_YUV420_SEMIPLANAR, 8, 8, 1 + i % 3);
    ASSERT_NE(nullptr, c);
    if (i % 100 == 0) {
      TestFrame small(QL_FORMAT_YUV420_SEMIPLANAR, 8, 8, 0, i);
      EXPECT_EQ(QLSBP_OK, qlsbp_session_process(c, &small.info, &p));
    }
    qlsbp_session_close(c);
  }
  EXPECT_EQ(before, settled_thread_count(before));
}

TEST(SessionThreads, TwoThreadsOnOneSessionGetBusyOrTheRightBytes) {
  const Stream st{QL_FORMAT_YUV420_SEMIPLANAR, 160, 96, 0};
  const QL_BokehParam p = param_for(2, st.width, st.height);
  const TestFrame input(st.format, st.width, st.height, 0, 21);
  TestFrame want = input;
  qlsbp_session* s = open_session(st.format, st.width, st.height, 2);
  ASSERT_NE(nullptr, s);
  ASSERT_EQ(QLSBP_OK, qlsbp_session_process(s, &want.info, &p));
  int busy[2] = {0, 0}, wrong[2] = {0, 0};
  auto hammer = [&](int id) {
    for (int i = 0; i < 60; ++i) {
      TestFrame f = input;
      const int rc = qlsbp_session_process(s, &f.info, &p);
      if (rc == QLSBP_ERR_BUSY) {
        ++busy[id];
        wrong[id] += !(f == input);
      } else {
        wrong[id] += rc != QLSBP_OK || !(f == want);
      }
    }
  };
  std::thread t0(hammer, 0), t1(hammer, 1);
  t0.join();
  t1.join();
  qlsbp_session_close(s);
  EXPECT_EQ(0, wrong[0] + wrong[1]) << "busy " << busy[0] << " + " << busy[1];
}

}  // namespace
