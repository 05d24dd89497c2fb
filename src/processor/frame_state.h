// The frame-to-frame state of the processor, decided in one place.
//
// Every frame first updates what survives between frames (the clamped focus
// geometry, the band width, the masks, the task records, the frame counter);
// only then does an engine do the pixel work, reading the processor's masks
// and task records. Keeping the decision here means every engine follows the
// same rules frame by frame, quirks included, and an engine holds no state.
#ifndef QLSBP_PROCESSOR_FRAME_STATE_H_
#define QLSBP_PROCESSOR_FRAME_STATE_H_

#include "qlsbp/sb_data.h"

// Draws a focus mask of rows x cols into a zeroed mask (the signature of
// gen_ellipse4).
using MaskBuilder = void (*)(unsigned short* mask, int focusRow, int focusCol, int axisRows,
                             int axisCols, int bandWidth, int rows, int cols);

// What the caller of frame_state_update does next.
enum FrameStep {
  kFrameRunEngine = 1,  // run an engine on the frame
  kFrameDoneOk = 0,     // DataProcessor returns 0, no pixel work
  kFrameRefused = -1,   // DataProcessor returns -1, no pixel work
};

// Steps of DataProcessor before the pixel work, with its arguments. The mask
// is drawn with `builder` (gen_ellipse4 for the exact mask). On
// kFrameRunEngine the masks, task records and task arena views are ready for
// this frame and `format` is one of 2, 3, 4.
FrameStep frame_state_update(SBData* d, unsigned char* dst, unsigned char* src, int rows, int cols,
                             int format, int* frameParam, float factor, MaskBuilder builder);

#endif  // QLSBP_PROCESSOR_FRAME_STATE_H_
