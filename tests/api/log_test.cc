// The default banner sink, used when the host installs no hook.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ql_single_bokeh_preview.h"

namespace {

// Runs one set-up and one frame call (both refused: nothing to process) and
// returns what reached standard error meanwhile.
std::string stderr_of_two_calls() {
  sb_top_pv_set_log_hook(nullptr, nullptr);
  ::testing::internal::CaptureStderr();
  sb_top_pv_initial(nullptr);
  sb_top_pv_processer(nullptr, nullptr);
  fflush(stderr);
  return ::testing::internal::GetCapturedStderr();
}

const char* const kBanners[] = {
    "Quillon Single Bokeh Version 6.0 For Preview -2018.03.22:  \n",
    "Preview Init:  \n",
    "Quillon Single Bokeh Version PV 5.0 -2018.03.02:  \n",
    "Preview process:  \n",
};

}  // namespace

#if defined(__ANDROID__)

TEST(DefaultLogSink, AndroidLogAcceptsTheBanners) {
  // On the device the banners go to logcat, which a test cannot read back;
  // at least run the path.
  sb_top_pv_set_log_hook(nullptr, nullptr);
  EXPECT_EQ(0, sb_top_pv_initial(nullptr));
  EXPECT_EQ(0, sb_top_pv_processer(nullptr, nullptr));
}

#elif defined(QLSBP_WITH_ANDROID_LOG)

TEST(DefaultLogSink, AndroidLogGetsEveryBannerInOrder) {
  // Off the device, liblog prints "TAG P date pid tid text" lines to
  // standard error, P being the priority letter (E for error).
  const std::string err = stderr_of_two_calls();
  size_t at = 0;
  for (const char* banner : kBanners) {
    std::string text(banner);
    text.pop_back();  // liblog ends the line itself
    const size_t found = err.find(text, at);
    ASSERT_NE(std::string::npos, found) << "missing banner '" << text << "' in:\n" << err;
    const size_t line = err.rfind('\n', found);
    const std::string prefix = err.substr(line == std::string::npos ? 0 : line + 1, 7);
    EXPECT_EQ("QLOB E ", prefix);
    at = found + text.size();
  }
}

#else

TEST(DefaultLogSink, SilentUnlessAskedForThenStandardError) {
  unsetenv("QLSBP_LOG");
  EXPECT_EQ("", stderr_of_two_calls());
  setenv("QLSBP_LOG", "0", 1);
  EXPECT_EQ("", stderr_of_two_calls());
  setenv("QLSBP_LOG", "1", 1);
  std::string expected;
  for (const char* banner : kBanners) expected += std::string("QLOB ") + banner;
  EXPECT_EQ(expected, stderr_of_two_calls());
  unsetenv("QLSBP_LOG");
}

#endif
