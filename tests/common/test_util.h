// Small helpers shared by the unit tests: deterministic random buffers.
#ifndef QLSBP_TESTS_COMMON_TEST_UTIL_H_
#define QLSBP_TESTS_COMMON_TEST_UTIL_H_

#include <cstdint>
#include <random>
#include <vector>

namespace qlsbp_test {

inline std::vector<uint8_t> random_bytes(size_t n, uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<uint8_t> v(n);
  for (auto& b : v) b = static_cast<uint8_t>(rng() & 0xff);
  return v;
}

inline int random_int(std::mt19937& rng, int lo, int hi) {  // inclusive
  return std::uniform_int_distribution<int>(lo, hi)(rng);
}

}  // namespace qlsbp_test

#endif  // QLSBP_TESTS_COMMON_TEST_UTIL_H_
