// Headerless raw dumps of a buffer, for inspection in an external raw-image
// viewer. The file holds the buffer's bytes as they lie in memory and
// nothing else; width, height and layout are the caller's to remember.
#include <cstdio>

#include "qlsbp/diagnostics.h"

namespace {

// One element per stdio call: the file's content is what matters here, not
// speed. Short transfers are not detected, on purpose.
template <typename T>
int write_elements(const T* buf, int count, const char* path) {
  if (path == nullptr || (buf == nullptr && count > 0)) return 1;
  FILE* fp = fopen(path, "wb");
  if (fp == nullptr) return 1;
  for (int i = 0; i < count; ++i) {
    const size_t written = fwrite(buf + i, sizeof(T), 1, fp);
    (void)written;
  }
  fclose(fp);
  return 0;
}

}  // namespace

int img_write(unsigned char* buf, int count, char* path) {
  return write_elements(buf, count, path);
}

int img_write_uint16(unsigned short* buf, int count, char* path) {
  return write_elements(buf, count, path);
}

int img_read(unsigned char* buf, int count, char* path) {
  if (path == nullptr || (buf == nullptr && count > 0)) return 1;
  FILE* fp = fopen(path, "rb");
  if (fp == nullptr) return 1;
  // A file shorter than count leaves the rest of buf as it was.
  for (int i = 0; i < count; ++i) {
    const size_t got = fread(buf + i, 1, 1, fp);
    (void)got;
  }
  fclose(fp);
  return 0;
}
