// Thread bodies of the threaded separable Gaussian filters: one strip of one
// pass each, described by a GaussianThreadArg.
//
// The 21- and 61-tap bodies exist as entry points of their own; the row
// kernels they call are compiled with exactly those tap counts (see the
// vector twins), so they share the general bodies. A record whose ksize is
// not the body's own is therefore still filtered correctly and never read
// past its ksize-entry tables. Zero outer taps (a narrow Gaussian in a wide
// window) are left out: their terms are zero, so the bytes are the same.
#include <cstddef>

#include "gaussian/gauss_rows.h"
#include "qlsbp/gaussian.h"

void* thread_vertical_gaussian(void* arg) {
  const GaussianThreadArg* a = static_cast<const GaussianThreadArg*>(arg);
  if (a == nullptr) return nullptr;
  // The vertical strip is packed: its pitch is the row length.
  const GaussVerticalRowFn row = gauss_vertical_row_pick();
  const int z = gauss_zero_outer_taps(a->kernel, a->ksize);
  for (int y = 0; y < a->rows; ++y) {
    const ptrdiff_t at = static_cast<ptrdiff_t>(y) * a->cols;
    row(a->dst + at, a->src + at, a->row_offsets + z, a->kernel + z, a->ksize - 2 * z, a->cols);
  }
  return nullptr;
}

void* thread_horizon_gaussian(void* arg) {
  const GaussianThreadArg* a = static_cast<const GaussianThreadArg*>(arg);
  if (a == nullptr) return nullptr;
  const GaussHorizontalRowFn row = gauss_horizontal_row_pick();
  const int z = gauss_zero_outer_taps(a->kernel, a->ksize);
  for (int y = 0; y < a->rows; ++y) {
    const ptrdiff_t at = static_cast<ptrdiff_t>(y) * a->stride;
    row(a->dst + at, a->src + at + z, a->kernel + z, a->ksize - 2 * z, a->cols);
  }
  return nullptr;
}

void* thread_vertical_gaussian_61(void* arg) { return thread_vertical_gaussian(arg); }
void* thread_horizon_gaussian_61(void* arg) { return thread_horizon_gaussian(arg); }
void* thread_vertical_gaussian_21(void* arg) { return thread_vertical_gaussian(arg); }
void* thread_horizon_gaussian_21(void* arg) { return thread_horizon_gaussian(arg); }
