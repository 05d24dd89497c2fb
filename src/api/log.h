// Banner logging of the entry points.
#ifndef QLSBP_API_LOG_H_
#define QLSBP_API_LOG_H_

#include "ql_single_bokeh_preview.h"

// Android's error priority and the tag under which the entry points log.
constexpr int kPvLogPriority = SB_TOP_PV_LOG_ERROR;
constexpr const char* kPvLogTag = "QLOB";

// Hands one fixed banner to the host's hook if one is installed, else to the
// default sink: the Android log on the device (and in builds with
// QLSBP_WITH_ANDROID_LOG), standard error when QLSBP_LOG asks for it
// elsewhere, nothing otherwise.
void pv_log_banner(const char* text);

#endif  // QLSBP_API_LOG_H_
