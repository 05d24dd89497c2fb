// JNI side of org.qlsbp.BokehSession: a session handle held in a Java long,
// camera planes passed as direct ByteBuffers.
//
// Everything the library will touch is checked here against what the JVM
// says about each buffer (its address, its capacity, the caller's position
// and limit) before the library sees a pointer, so that a wrong buffer from
// Java becomes an exception and never a stray read or write. The code uses
// nothing but JNI and the library, so it builds unchanged for Android.
#include <jni.h>

#include <cstdint>
#include <cstdio>

#include "ql_single_bokeh_preview.h"

namespace {

void throw_new(JNIEnv* env, const char* class_name, const char* message) {
  jclass cls = env->FindClass(class_name);
  if (cls != nullptr) env->ThrowNew(cls, message);
}

// org.qlsbp.BokehException(int code, String message), the message being the
// library's own text for the code.
void throw_library_error(JNIEnv* env, int code) {
  jclass cls = env->FindClass("org/qlsbp/BokehException");
  if (cls == nullptr) return;
  jmethodID ctor = env->GetMethodID(cls, "<init>", "(ILjava/lang/String;)V");
  if (ctor == nullptr) return;
  jstring message = env->NewStringUTF(qlsbp_strerror(code));
  if (message == nullptr) return;
  jobject error = env->NewObject(cls, ctor, static_cast<jint>(code), message);
  if (error != nullptr) env->Throw(static_cast<jthrowable>(error));
}

void throw_argument(JNIEnv* env, const char* message) {
  throw_new(env, "java/lang/IllegalArgumentException", message);
}

// One plane as Java hands it over. A plane of `rows` rows of `cols` samples
// ends with its last sample: camera buffers stop there rather than after a
// whole last row, so exactly row_stride * (rows - 1) + (cols - 1) *
// pixel_stride + 1 bytes from the buffer's position must be there.
struct JavaPlane {
  const char* name;
  jobject buffer;
  jint position;
  jint limit;
  jint row_stride;
  jint pixel_stride;
};

unsigned char* plane_address(JNIEnv* env, const JavaPlane& p, int rows, int cols) {
  char message[256];
  if (p.buffer == nullptr) {
    snprintf(message, sizeof(message), "plane %s: null buffer", p.name);
    throw_new(env, "java/lang/NullPointerException", message);
    return nullptr;
  }
  unsigned char* base = static_cast<unsigned char*>(env->GetDirectBufferAddress(p.buffer));
  const jlong capacity = env->GetDirectBufferCapacity(p.buffer);
  if (base == nullptr || capacity < 0) {
    snprintf(message, sizeof(message),
             "plane %s: not a direct ByteBuffer (frames are processed in place)", p.name);
    throw_argument(env, message);
    return nullptr;
  }
  if (p.position < 0 || p.position > p.limit || p.limit > capacity) {
    snprintf(message, sizeof(message), "plane %s: position %d and limit %d outside capacity %lld",
             p.name, p.position, p.limit, static_cast<long long>(capacity));
    throw_argument(env, message);
    return nullptr;
  }
  if (p.row_stride < 1 || p.pixel_stride < 1) {
    snprintf(message, sizeof(message), "plane %s: row stride %d and pixel stride %d must be >= 1",
             p.name, p.row_stride, p.pixel_stride);
    throw_argument(env, message);
    return nullptr;
  }
  const int64_t needed = static_cast<int64_t>(p.row_stride) * (rows - 1) +
                         static_cast<int64_t>(cols - 1) * p.pixel_stride + 1;
  const int64_t available = static_cast<int64_t>(p.limit) - p.position;
  if (needed > available) {
    snprintf(message, sizeof(message),
             "plane %s: %lld bytes needed for %d rows of %d samples (row stride %d, pixel stride "
             "%d), %lld remaining",
             p.name, static_cast<long long>(needed), rows, cols, p.row_stride, p.pixel_stride,
             static_cast<long long>(available));
    throw_argument(env, message);
    return nullptr;
  }
  return base + p.position;
}

}  // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_org_qlsbp_BokehSession_nativeOpen(JNIEnv* env, jclass, jint width,
                                                               jint height, jint layout) {
  QL_IMAGEINFO info = {};
  info.format = layout;
  info.width = width;
  info.height = height;
  qlsbp_session* session = nullptr;
  const int rc = qlsbp_session_open(&session, &info, nullptr);
  if (rc != QLSBP_OK) {
    throw_library_error(env, rc);
    return 0;
  }
  return static_cast<jlong>(reinterpret_cast<intptr_t>(session));
}

JNIEXPORT void JNICALL Java_org_qlsbp_BokehSession_nativeProcess(
    JNIEnv* env, jclass, jlong handle, jint width, jint height, jobject y, jint y_position,
    jint y_limit, jint y_row_stride, jint y_pixel_stride, jobject u, jint u_position, jint u_limit,
    jint u_row_stride, jint u_pixel_stride, jobject v, jint v_position, jint v_limit,
    jint v_row_stride, jint v_pixel_stride, jint focus_row, jint focus_col, jint axis_rows,
    jint axis_cols, jint level, jint strength) {
  qlsbp_session* session = reinterpret_cast<qlsbp_session*>(static_cast<intptr_t>(handle));
  if (session == nullptr) {
    throw_new(env, "java/lang/IllegalStateException", "session is closed");
    return;
  }
  if (y_pixel_stride != 1) {
    throw_argument(env, "plane Y: pixel stride must be 1");
    return;
  }
  if (u_pixel_stride != v_pixel_stride) {
    throw_argument(env, "planes U and V: pixel strides differ");
    return;
  }
  const JavaPlane planes[3] = {{"Y", y, y_position, y_limit, y_row_stride, y_pixel_stride},
                               {"U", u, u_position, u_limit, u_row_stride, u_pixel_stride},
                               {"V", v, v_position, v_limit, v_row_stride, v_pixel_stride}};
  unsigned char* address[3];
  for (int i = 0; i < 3; ++i) {
    const int rows = i == 0 ? height : height / 2;
    const int cols = i == 0 ? width : width / 2;
    address[i] = plane_address(env, planes[i], rows, cols);
    if (address[i] == nullptr) return;
  }
  qlsbp_yuv420_888 frame = {width,        height,       address[0],   address[1],    address[2],
                            y_row_stride, u_row_stride, v_row_stride, u_pixel_stride};
  QL_BokehParam param = {focus_row, focus_col, axis_rows, axis_cols, level, strength};
  const int rc = qlsbp_session_process_yuv420_888(session, &frame, &param);
  if (rc < 0) throw_library_error(env, rc);
}

JNIEXPORT void JNICALL Java_org_qlsbp_BokehSession_nativeClose(JNIEnv*, jclass, jlong handle) {
  qlsbp_session_close(reinterpret_cast<qlsbp_session*>(static_cast<intptr_t>(handle)));
}

}  // extern "C"
