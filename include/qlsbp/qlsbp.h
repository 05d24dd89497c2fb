// Everything the library exports, for C++ callers.
#ifndef QLSBP_QLSBP_H_
#define QLSBP_QLSBP_H_

#include "ql_single_bokeh_preview.h"
#include "qlsbp/analysis.h"
#include "qlsbp/arena.h"
#include "qlsbp/blur.h"
#include "qlsbp/convert.h"
#include "qlsbp/diagnostics.h"
#include "qlsbp/gaussian.h"
#include "qlsbp/mask.h"
#include "qlsbp/packing.h"
#include "qlsbp/sb_data.h"

#endif  // QLSBP_QLSBP_H_
