// The fuzzers' entries replayed in the normal suites, natively and under Wine:
// the seed tables compiled in by lumo_seed_table (fuzz/seeds.cmake), and
// pseudo-random inputs. An entry returns "" when its invariants held, otherwise
// what broke.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace lumo::test {

// One row of a seed table.
struct Seed {
  const char* name;
  std::vector<uint8_t> bytes;
};

using FuzzEntry = std::string (*)(const uint8_t* data, std::size_t size);

// The bytes as hexadecimal digits, for failure messages.
inline std::string hexOf(const std::vector<uint8_t>& bytes) {
  static const char* digits = "0123456789abcdef";
  std::string s;
  for (uint8_t b : bytes) {
    s.push_back(digits[b >> 4]);
    s.push_back(digits[b & 15]);
  }
  return s;
}

// 'count' inputs made by make(rng), from a generator seeded with 'seed', through
// the entry; each broken invariant fails the test with the input that broke it
// (the first five, so that one fault does not flood the log).
template <class Make>
void replayRandomInputs(FuzzEntry entry, Make make, uint32_t seed, int count = 3000) {
  std::mt19937 rng(seed);
  int failures = 0;
  for (int i = 0; i < count && failures < 5; ++i) {
    const std::vector<uint8_t> input = make(rng);
    const std::string broken = entry(input.data(), input.size());
    if (!broken.empty()) {
      ++failures;
      ADD_FAILURE() << broken << " input " << hexOf(input);
    }
  }
}

}  // namespace lumo::test
