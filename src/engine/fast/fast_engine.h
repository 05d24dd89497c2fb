// The fast engine: the reference engine's bytes, written straight into the
// caller's strided planes in cache-sized row bands.
//
// The reference engine packs the frame into a dense buffer, splits it into
// three planes, blurs each plane at half resolution with 21 taps through a
// full-plane temporary image, enlarges it, blends it under the mask, joins
// the planes and unpacks them again. This engine reads the caller's planes
// directly: it cuts the rows of every plane into bands, and each band halves
// the source rows it needs into the processor's quarter-size scratch planes
// (splitting interleaved samples on the way), then runs the vertical pass,
// the horizontal pass, the enlargement and the blend row by row, so that a
// band's working rows stay in cache, and stores the blended rows back in the
// caller's layout, blending interleaved samples in place. Only the non-zero
// taps of the level's kernel are applied; sums stay exact, so the bytes are
// the same as with all 21. Where the mask weight is 0 the blend's result is
// the blurred pixel and where it is 1024 the caller's own, so those runs are
// copied or left alone, and the sharp middle of the mask is not blurred.
//
// Frames whose exact reference behaviour would cost more to reproduce here
// than it is worth are declined (see fast_engine_run), and the caller then
// packs the frame and runs the reference engine on it.
#ifndef QLSBP_ENGINE_FAST_FAST_ENGINE_H_
#define QLSBP_ENGINE_FAST_FAST_ENGINE_H_

#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"
#include "threads/executor.h"

// Results of fast_engine_run.
enum FastEngineResult {
  kFastEngineDone = 0,         // the frame's planes hold the result
  kFastEngineUseReference = 1  // nothing was written: pack and run the reference
};

// Processes one frame in place, after frame_state_update returned
// kFrameRunEngine for it. `frame` is the caller's frame cut to its even part:
// width and height equal to d->cols and d->rows, layout code 2, 3 or 4, any
// positive or negative strides. The planes receive exactly the bytes that
// img_move_stride, reference_engine_run and img_add_stride would give,
// including
//  - layout 3 with stride[0] == width and stride[1] != width / 2: the luma
//    plane keeps its input bytes, only the chroma planes take the result;
//  - the last (plane size mod 8) pixels of each plane, in dense plane order,
//    keep the enlarged blurred value (the blend works in blocks of eight);
//  - each chroma plane blurred with the settings of its own task record.
// The work runs on `ex`, cut into about as many pieces as ex.concurrency()
// suggests, but none smaller than `min_piece_pixels` pixels of all planes
// together; a frame with work for one piece only runs on the calling thread
// (starting a thread would cost more than it saves). Tests pass 1 to cut
// small frames as finely as large ones. The pieces run in one ex.run() call;
// a piece may wait a moment for another piece that is running (never for
// one that has not started), so any executor that runs every piece works.
//
// Returns kFastEngineUseReference, before touching the planes, for:
//  - task records that do not fit this frame's layout (stale records from a
//    frame of another layout) or whose settings are not the preview path's
//    (box method, full resolution, a kernel size other than 21);
//  - a plane with an odd number of rows or columns (4:2:0 frames whose width
//    or height is not a multiple of 4; 4:2:2 frames with an odd chroma
//    width), whose halving reads across row ends in the reference;
//  - chroma planes of one frame with different masks (the task records
//    always share one);
//  - a descriptor the packing would refuse (unknown code, layout 3 with
//    unequal chroma strides, a null plane, a size other than the
//    processor's), and a failed allocation of band scratch.
//
// After a frame done here, the contents of the processor's planarIn,
// planarOut and quarter-size scratch planes, and of the session's dense
// work buffer, are unspecified (they are not what the reference engine would
// leave there). The masks and task records are only read.
// About a tenth of a millisecond of one core's work: handing a smaller
// piece to another worker costs more than it saves. (Whether to start
// threads at all for a small frame is the caller's choice of executor.)
constexpr long long kFastEngineMinPiecePixels = 64 * 1024;
int fast_engine_run(SBData* d, QL_IMAGEINFO* frame, qlsbp::Executor& ex,
                    long long min_piece_pixels = kFastEngineMinPiecePixels);

#endif  // QLSBP_ENGINE_FAST_FAST_ENGINE_H_
