// Work arena: a bump allocator over one caller-owned block.
//
// The preview path takes every per-frame buffer from here so that a frame
// never touches the heap; a view is "freed" by copying the saved record back.
#include "qlsbp/arena.h"

#include <cstring>

void* AssignMemSpace(QLMemInfoT* mem, unsigned size, int flag) {
  (void)flag;  // every caller passes 1; kept for the interface
  if (mem == nullptr || mem->base == nullptr) return nullptr;
  // Equivalent to "size + used > capacity" in unsigned 32-bit arithmetic,
  // except that a request large enough to wrap the sum is refused as well.
  if (mem->used > mem->capacity || size > mem->capacity - mem->used) return nullptr;
  unsigned char* p = mem->base + mem->used;
  if (size != 0) std::memset(p, 0, size);
  mem->used += size;
  return p;
}
