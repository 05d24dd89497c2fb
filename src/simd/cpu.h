// Which vector instruction sets this build and this CPU can use, as bits that
// tests can mask, and the scalar override.
//
// Every hot kernel exists once as plain scalar code (the reference) and, where
// it pays, as SSE2, AVX2 and NEON twins in sibling files (*_sse2.cc,
// *_avx2.cc, *_neon.cc). SSE2 and NEON are part of the targets' baselines and
// decided at compile time; AVX2 twins are compiled on x86-64 only (the build
// defines QLSBP_BUILD_AVX2 and gives just those files -mavx2) and used only
// when the CPU and the operating system support them. A family's chooser asks
// qlsbp_cpu_has() once per plane call, best twin first.
#ifndef QLSBP_SIMD_CPU_H_
#define QLSBP_SIMD_CPU_H_

#if defined(__SSE2__) || defined(_M_X64)
#define QLSBP_HAVE_SSE2 1
#else
#define QLSBP_HAVE_SSE2 0
#endif

#if QLSBP_HAVE_SSE2 && defined(QLSBP_BUILD_AVX2)
#define QLSBP_HAVE_AVX2 1
#else
#define QLSBP_HAVE_AVX2 0
#endif

#if defined(__ARM_NEON) || defined(__ARM_NEON__)
#define QLSBP_HAVE_NEON 1
#else
#define QLSBP_HAVE_NEON 0
#endif

// Feature bits. A bit is set only when this build has twins for it and the
// running CPU (for AVX2, also the OS: it must save the YMM registers) supports
// it.
enum : int {
  kCpuHasSSE2 = 0x1,
  kCpuHasAVX2 = 0x2,
  kCpuHasNEON = 0x4,
};

// The usable feature bits: detected once (thread-safe), zero when the
// environment variable QLSBP_FORCE_SCALAR is set to a value other than "0",
// and restricted by the test mask below.
int qlsbp_cpu_flags();

// True when every bit of `flag` is usable.
inline bool qlsbp_cpu_has(int flag) { return (qlsbp_cpu_flags() & flag) == flag; }

// For tests: keep only the feature bits in `mask` (-1 restores all), so that
// one process can run the AVX2, SSE2 and scalar paths in turn. Returns the
// previous mask. Not meant to change while kernels run on other threads.
int qlsbp_mask_cpu_flags(int mask);

// The detected bits without the mask and without QLSBP_FORCE_SCALAR.
int qlsbp_cpu_detected_flags();

// False when no vector twin may run (QLSBP_FORCE_SCALAR, a masked-out CPU, or
// a build without twins).
inline bool qlsbp_simd_enabled() { return qlsbp_cpu_flags() != 0; }

#endif  // QLSBP_SIMD_CPU_H_
