// Work arena: one block, handed out by a bump allocator that never frees.
#ifndef QLSBP_ARENA_H_
#define QLSBP_ARENA_H_

#include "qlsbp/export.h"

struct QLMemInfoT {
  unsigned char* base;    // start of the block (zero-filled by its owner)
  unsigned int capacity;  // size of the block in bytes
  unsigned int used;      // bytes granted so far; the next grant starts here
};

// Grants `size` zero-filled bytes at base + used and advances `used`.
// Returns null, leaving the record unchanged, when size + used would exceed
// the capacity (compared as unsigned 32-bit, so a wrapping request is refused
// too). A grant of 0 bytes returns base + used. `flag` is ignored. Grants are
// not aligned: a caller that stores typed data first grants the padding
// bytes that bring base + used to the alignment it needs.
QLSBP_API void* AssignMemSpace(QLMemInfoT* mem, unsigned size, int flag);

#endif  // QLSBP_ARENA_H_
