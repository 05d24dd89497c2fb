// Which vector instruction sets this build can use, and the scalar override.
//
// Every hot kernel exists once as plain scalar code (the reference) and, where
// it pays, as SSE2 and NEON twins in sibling files (*_sse2.cc, *_neon.cc).
// The twins are compiled only when the target has the instruction set; the
// plane drivers pick a row kernel through qlsbp_simd_enabled() so that the
// whole library can be run on its scalar path (QLSBP_FORCE_SCALAR=1).
#ifndef QLSBP_SIMD_CPU_H_
#define QLSBP_SIMD_CPU_H_

#if defined(__SSE2__) || defined(_M_X64)
#define QLSBP_HAVE_SSE2 1
#else
#define QLSBP_HAVE_SSE2 0
#endif

#if defined(__ARM_NEON) || defined(__ARM_NEON__)
#define QLSBP_HAVE_NEON 1
#else
#define QLSBP_HAVE_NEON 0
#endif

// False when the environment variable QLSBP_FORCE_SCALAR is set to a value
// other than "0" (read once), or when the build has no vector twins.
bool qlsbp_simd_enabled();

#endif  // QLSBP_SIMD_CPU_H_
