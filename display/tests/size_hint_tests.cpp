// The remaining lines of a stream whose size hint promises far more than a
// process can hold: the room set aside ahead is only a guess, and whatever it
// comes to, every line of the stream is read. A 32-bit process (the product) has a
// few gigabytes of address space, so a file of a few gigabytes is such a stream.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "display/save_file.h"
#include "display_test.h"

namespace lumo::display::test {
namespace {

// Short numbered lines from memory, with a size hint of the test's choosing.
class HintedSource : public ByteSource {
 public:
  HintedSource(int lines, uint64_t hint) : hint_(hint) {
    for (int i = 1; i <= lines; ++i) bytes_ += std::to_string(i) + "\r\n";
  }
  std::size_t read(char* buf, std::size_t size) override {
    const std::size_t n = std::min(size, bytes_.size() - pos_);
    std::copy_n(bytes_.data() + pos_, n, buf);
    pos_ += n;
    return n;
  }
  uint64_t sizeHint() const override { return hint_; }

 private:
  std::string bytes_;
  std::size_t pos_ = 0;
  uint64_t hint_;
};

class SizeHintTest : public DisplayTest {
 protected:
  // Reads the remaining lines of a source of 'lines' lines and returns how many came.
  static std::size_t linesRead(int lines, uint64_t hint) {
    SaveFile f;
    f.attachReader(std::make_unique<HintedSource>(lines, hint), 4096);
    const std::shared_ptr<Collection> read = f.readLeftLines();
    EXPECT_EQ(f.lineNum(), lines);
    if (read->count() > 0) {
      EXPECT_EQ(read->item(read->count()).toString(), toText(lines));
    }
    return read->count();
  }
};

// More lines than the sample the guess is made from, so that the guess is made.
constexpr int kLines = 600;

TEST_F(SizeHintTest, AHintOfGigabytesStillReadsEveryLine) {
  // Three gigabytes of lines as short as the first ones would need more room than
  // 32 bits address.
  EXPECT_EQ(linesRead(kLines, uint64_t(3) << 30), std::size_t(kLines));
}

TEST_F(SizeHintTest, AHintBeyondAnyAddressSpaceStillReadsEveryLine) {
  EXPECT_EQ(linesRead(kLines, uint64_t(1) << 62), std::size_t(kLines));
}

TEST_F(SizeHintTest, AnHonestHintReadsEveryLine) {
  EXPECT_EQ(linesRead(kLines, 0), std::size_t(kLines));
  EXPECT_EQ(linesRead(kLines, 5000), std::size_t(kLines));
}

}  // namespace
}  // namespace lumo::display::test
