// The ledger fuzzer's entry in the normal suite: every seed of its corpus, and
// pseudo-random files built from the bytes the reader reacts to.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ledger_fuzz_entry.h"
#include "tests/support/fuzz_replay.h"

namespace {

using lumo::test::Seed;

const std::vector<Seed>& seeds() {
  static const std::vector<Seed> all = {
#include "ledger_seeds.inc"
  };
  return all;
}

std::vector<uint8_t> randomLedger(std::mt19937& rng) {
  static const std::vector<std::string> atoms = {
      "\t", "\t", "\r\n", "\r", "\n", "\r\r\n", "A", "bc", "12.5", " ", "(", ")", "|", "\x00", "\xff", "\x80",
      "\x81\x40", "\xd7\xd6", "(\x8a\xa8\x8f\xa9)", "\xf0\xa1", "(\xd7\xd6\xb7\xfb)", "\xef\xfe"};
  std::vector<uint8_t> out;
  out.push_back(static_cast<uint8_t>(rng() & 0xFF));
  const unsigned count = rng() % 40;
  for (unsigned i = 0; i < count; ++i) {
    const std::string& a = atoms[rng() % atoms.size()];
    // "\x00" is a one-byte atom, not an empty one.
    if (a.empty()) out.push_back(0);
    out.insert(out.end(), a.begin(), a.end());
  }
  return out;
}

}  // namespace

TEST(LedgerFuzzReplay, CorpusHasSeeds) { EXPECT_GE(seeds().size(), 10u); }

TEST(LedgerFuzzReplay, SeedsKeepTheirInvariants) {
  for (const Seed& s : seeds())
    EXPECT_EQ(lumo::display::fuzz::ledgerReaderEntry(s.bytes.data(), s.bytes.size()), "") << s.name;
}

TEST(LedgerFuzzReplay, EveryBufferSizeKeepsTheInvariantsOfEachSeed) {
  for (const Seed& s : seeds()) {
    std::vector<uint8_t> b = s.bytes;
    if (b.empty()) continue;
    for (unsigned mode = 0; mode < 256; mode += 5) {
      b[0] = static_cast<uint8_t>(mode);
      ASSERT_EQ(lumo::display::fuzz::ledgerReaderEntry(b.data(), b.size()), "") << s.name << " mode " << mode;
    }
  }
}

TEST(LedgerFuzzReplay, RandomLedgersKeepTheirInvariants) {
  lumo::test::replayRandomInputs(lumo::display::fuzz::ledgerReaderEntry, randomLedger, 5150u);
}

TEST(LedgerFuzzReplay, EmptyInputIsHandled) { EXPECT_EQ(lumo::display::fuzz::ledgerReaderEntry(nullptr, 0), ""); }
