// Banner logging: a host hook, or the platform's default sink.
#include "api/log.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ql_single_bokeh_preview.h"

#if defined(__ANDROID__) || defined(QLSBP_WITH_ANDROID_LOG)
#include <android/log.h>
#define QLSBP_LOG_TO_ANDROID 1
#else
#define QLSBP_LOG_TO_ANDROID 0
#endif

namespace {

// Like the session globals, the hook is only touched from the host thread
// that serialises the entry points; the pipeline's workers never log.
sb_top_pv_log_fn g_hook = nullptr;
void* g_hook_user = nullptr;

#if !QLSBP_LOG_TO_ANDROID
// Off the device two banners per frame would flood a terminal, so standard
// error only gets them on request. Read on every banner so that a host (or a
// test) may switch it at run time.
bool stderr_requested() {
  const char* env = getenv("QLSBP_LOG");
  return env != nullptr && env[0] != '\0' && strcmp(env, "0") != 0;
}
#endif

void default_sink(int priority, const char* tag, const char* text) {
#if QLSBP_LOG_TO_ANDROID
  // The banners are fixed texts; "%s" keeps them from ever being read as a
  // format.
  __android_log_print(priority, tag, "%s", text);
#else
  (void)priority;
  if (stderr_requested()) fprintf(stderr, "%s %s", tag, text);
#endif
}

}  // namespace

void pv_log_banner(const char* text) {
  if (g_hook != nullptr) {
    g_hook(kPvLogPriority, kPvLogTag, text, g_hook_user);
  } else {
    default_sink(kPvLogPriority, kPvLogTag, text);
  }
}

void sb_top_pv_set_log_hook(sb_top_pv_log_fn fn, void* user) {
  g_hook = fn;
  g_hook_user = fn != nullptr ? user : nullptr;
}
