// The fuzzers' entry functions run in the normal suite: every seed of the corpus
// and a few thousand pseudo-random inputs built from the grammar's own characters.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "fuzz/entries.h"
#include "tests/support/fuzz_replay.h"

namespace {

using lumo::test::replayRandomInputs;
using lumo::test::Seed;

// Named "<target>/<file>".
const std::vector<Seed>& seeds() {
  static const std::vector<Seed> all = {
#include "fuzz_seeds.inc"
  };
  return all;
}

std::string targetOf(const Seed& s) {
  const std::string n = s.name;
  return n.substr(0, n.find('/'));
}

// Inputs made mostly of the characters the parsers react to, so that random
// cases reach braces, separators, markers and placeholders.
std::vector<uint8_t> randomInput(std::mt19937& rng) {
  static const std::vector<std::string> atoms = {
      "=", ";", "{", "}", " ", "  ", "A", "a", "B", "Name", "UserName", "UserID", "Language", "LANGUAGE",
      "chs", "en", "cht", "DBMS Name", "ConnectString", "1", "32767", "32768", "-32768", "&H", "1.5", "abc",
      "^|^", "~$~", "^|", "~$", "%", "%1", "%2", "%10", "%0", "\x01", "\x01", "\x01", "张三", "保存", "\xff",
      "\t", "\xe4\xb8", "\x1f\x1d\x1f", "\x1e\x1d\x1e", "\x1f", "\x1d", "\x1e"};
  std::vector<uint8_t> out;
  out.push_back(static_cast<uint8_t>(rng() & 0xFF));
  const unsigned count = rng() % 24;
  for (unsigned i = 0; i < count; ++i) {
    if (rng() % 8 == 0) {
      out.push_back(static_cast<uint8_t>(rng() & 0xFF));
      continue;
    }
    const std::string& a = atoms[rng() % atoms.size()];
    out.insert(out.end(), a.begin(), a.end());
  }
  return out;
}

}  // namespace

TEST(FuzzReplay, CorpusHasSeedsForBothTargets) {
  int session = 0, language = 0;
  for (const Seed& s : seeds()) {
    if (targetOf(s) == "session_string_fuzzer") ++session;
    if (targetOf(s) == "language_texts_fuzzer") ++language;
  }
  EXPECT_GE(session, 5);
  EXPECT_GE(language, 5);
}

TEST(FuzzReplay, SessionStringSeedsKeepTheirInvariants) {
  for (const Seed& s : seeds()) {
    if (targetOf(s) != "session_string_fuzzer") continue;
    EXPECT_EQ(lumo::fuzz::sessionStringEntry(s.bytes.data(), s.bytes.size()), "") << s.name;
  }
}

TEST(FuzzReplay, LanguageTextSeedsKeepTheirInvariants) {
  for (const Seed& s : seeds()) {
    if (targetOf(s) != "language_texts_fuzzer") continue;
    EXPECT_EQ(lumo::fuzz::languageTextsEntry(s.bytes.data(), s.bytes.size()), "") << s.name;
  }
}

TEST(FuzzReplay, RandomSessionStringsKeepTheirInvariants) {
  replayRandomInputs(lumo::fuzz::sessionStringEntry, randomInput, 20240611u);
}

TEST(FuzzReplay, RandomLanguageTextsKeepTheirInvariants) {
  replayRandomInputs(lumo::fuzz::languageTextsEntry, randomInput, 7u);
}

TEST(FuzzReplay, BulkRowSeedsKeepTheirInvariants) {
  int seen = 0;
  for (const Seed& s : seeds()) {
    if (targetOf(s) != "bulk_rows_fuzzer") continue;
    ++seen;
    EXPECT_EQ(lumo::fuzz::bulkRowsEntry(s.bytes.data(), s.bytes.size()), "") << s.name;
  }
  EXPECT_GE(seen, 5);
}

TEST(FuzzReplay, RandomBulkRowsKeepTheirInvariants) {
  replayRandomInputs(lumo::fuzz::bulkRowsEntry, randomInput, 31u);
}

TEST(FuzzReplay, EmptyInputIsHandled) {
  EXPECT_EQ(lumo::fuzz::sessionStringEntry(nullptr, 0), "");
  EXPECT_EQ(lumo::fuzz::languageTextsEntry(nullptr, 0), "");
  EXPECT_EQ(lumo::fuzz::bulkRowsEntry(nullptr, 0), "");
}
