/* Test-only JNI: the expected bytes for the Java binding's tests. Dense frames
 * (NV21 for layout 2, YV12 for layout 3) go straight to qlsbp_session_process,
 * the library's plain path, with no stride or buffer handling in between. */
#include <jni.h>
#include <stddef.h>

#include "ql_single_bokeh_preview.h"

/* Processes `count` dense frames, stored one after another in `frames`, in
 * order through one session, frame i with params[6 i .. 6 i + 5]. Returns the
 * first result that is not QLSBP_OK, or QLSBP_OK. */
JNIEXPORT jint JNICALL Java_org_qlsbp_tests_DenseReference_process(JNIEnv* env, jclass cls,
                                                                    jint layout, jint width,
                                                                    jint height, jbyteArray frames,
                                                                    jint count, jintArray params) {
  QL_IMAGEINFO info;
  qlsbp_session* session = NULL;
  const size_t frame_bytes = (size_t)width * (size_t)height * 3 / 2;
  jbyte* bytes;
  jint* p;
  int rc;
  jint i;
  (void)cls;
  if ((*env)->GetArrayLength(env, frames) < (jsize)(frame_bytes * (size_t)count) ||
      (*env)->GetArrayLength(env, params) < 6 * count) {
    return QLSBP_ERR_ARGUMENT;
  }
  info.format = layout;
  info.width = width;
  info.height = height;
  rc = qlsbp_session_open(&session, &info, NULL);
  if (rc != QLSBP_OK) return rc;
  bytes = (*env)->GetByteArrayElements(env, frames, NULL);
  p = (*env)->GetIntArrayElements(env, params, NULL);
  for (i = 0; i < count && rc == QLSBP_OK; ++i) {
    unsigned char* frame = (unsigned char*)bytes + frame_bytes * (size_t)i;
    QL_BokehParam param;
    info.plane[0] = frame;
    info.stride[0] = width;
    info.plane[1] = frame + (size_t)width * (size_t)height;
    info.stride[1] = layout == QL_FORMAT_YUV420_SEMIPLANAR ? width : width / 2;
    info.plane[2] = info.plane[1] + (size_t)(width / 2) * (size_t)(height / 2);
    info.stride[2] = info.stride[1];
    info.plane[3] = NULL;
    info.stride[3] = 0;
    param.focusRow = p[6 * i];
    param.focusCol = p[6 * i + 1];
    param.axisRows = p[6 * i + 2];
    param.axisCols = p[6 * i + 3];
    param.level = p[6 * i + 4];
    param.strength = p[6 * i + 5];
    rc = qlsbp_session_process(session, &info, &param);
  }
  (*env)->ReleaseIntArrayElements(env, params, p, JNI_ABORT);
  (*env)->ReleaseByteArrayElements(env, frames, bytes, 0);
  qlsbp_session_close(session);
  return rc;
}
