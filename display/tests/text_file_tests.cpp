// The file layer: line ends, buffer boundaries, buffered writing and the
// file-system errors of opening, creating and deleting.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "display/text_file.h"
#include "display_test.h"

namespace lumo::display::test {
namespace {

std::vector<std::string> readAll(const std::string& bytes, std::size_t chunk, std::size_t buffer) {
  LineReader r(std::make_unique<MemorySource>(bytes, chunk), buffer);
  std::vector<std::string> lines;
  std::string line;
  while (!r.atEndOfStream()) {
    r.readLine(line);
    lines.push_back(line);
  }
  return lines;
}

using Lines = std::vector<std::string>;

TEST(LineReader, LineEndsAtCrLfAtLoneLfAndAtLoneCr) {
  EXPECT_EQ(readAll("a\r\nb\nc\rd", 100, 64), (Lines{"a", "b", "c", "d"}));
}

TEST(LineReader, EveryBufferAndChunkSizeReadsTheSameLines) {
  const std::string bytes = "one\r\ntwo\rthree\n\r\nfive\r\r\nseven\n\nnine";
  const Lines expected = {"one", "two", "three", "", "five", "", "seven", "", "nine"};
  for (std::size_t buffer = 1; buffer <= 12; ++buffer)
    for (std::size_t chunk : {std::size_t(1), std::size_t(2), std::size_t(3), std::size_t(1000)})
      EXPECT_EQ(readAll(bytes, chunk, buffer), expected) << "buffer " << buffer << " chunk " << chunk;
}

TEST(LineReader, CrAtTheEndOfOneReadAndLfAtTheStartOfTheNextAreOneLineEnd) {
  // Buffer of 2: "A\r" fills it, "\n" starts the next read.
  EXPECT_EQ(readAll("A\r\nB", 1000, 2), (Lines{"A", "B"}));
  EXPECT_EQ(readAll("A\r\nB", 1, 1), (Lines{"A", "B"}));
}

TEST(LineReader, TheLastLineNeedsNoEnding) {
  EXPECT_EQ(readAll("x\r\ny", 1000, 64), (Lines{"x", "y"}));
  EXPECT_EQ(readAll("x\r\ny\r\n", 1000, 64), (Lines{"x", "y"}));
  EXPECT_EQ(readAll("x\r", 1000, 64), (Lines{"x"}));
}

TEST(LineReader, AnEmptySourceIsAtTheEndOfStreamAndOfLine) {
  LineReader r(std::make_unique<MemorySource>(""));
  EXPECT_TRUE(r.atEndOfStream());
  EXPECT_TRUE(r.atEndOfLine());
  std::string line;
  EXPECT_EQ(errorOf([&] { r.readLine(line); }), 62);
}

TEST(LineReader, AtEndOfLineBeforeEitherLineEndCharacter) {
  for (const char* bytes : {"\r\nx", "\nx", "\rx"}) {
    LineReader r(std::make_unique<MemorySource>(bytes));
    EXPECT_TRUE(r.atEndOfLine()) << bytes;
    EXPECT_FALSE(r.atEndOfStream());
    std::string line = "stale";
    r.readLine(line);
    EXPECT_EQ(line, "");
    EXPECT_FALSE(r.atEndOfLine());
    r.readLine(line);
    EXPECT_EQ(line, "x");
    EXPECT_TRUE(r.atEndOfLine());
  }
}

TEST(LineReader, TheLfOfACrLfIsNotTakenForAnEmptyLine) {
  LineReader r(std::make_unique<MemorySource>("A\r\nB", 1), 1);
  std::string line;
  r.readLine(line);
  EXPECT_FALSE(r.atEndOfLine());
  r.readLine(line);
  EXPECT_EQ(line, "B");
}

TEST(LineReader, NulAndHighBytesAreOrdinaryCharacters) {
  const std::string bytes("\x00\xff\t\x80\r\n\xfe", 7);
  EXPECT_EQ(readAll(bytes, 1000, 4), (Lines{std::string("\x00\xff\t\x80", 4), "\xfe"}));
}

TEST(LineReader, AFileOfCrOnlyLinesIsScannedOnce) {
  // 300,000 lines ended by CR alone in one large buffer: a reader that looked for
  // LF from each line to the end of the buffer would take minutes here.
  std::string bytes;
  for (int i = 0; i < 300000; ++i) bytes += "row\r";
  LineReader r(std::make_unique<MemorySource>(bytes));
  std::string line;
  int n = 0;
  while (!r.atEndOfStream()) {
    r.readLine(line);
    ASSERT_EQ(line, "row");
    ++n;
  }
  EXPECT_EQ(n, 300000);
}

TEST(LineReader, ALineLargerThanTheBufferArrivesWhole) {
  const std::string big(100000, 'x');
  EXPECT_EQ(readAll(big + "\r\nend", 1000, 4096), (Lines{big, "end"}));
}

TEST(LineReader, ASourceThatFailsRaises57) {
  struct Broken : ByteSource {
    std::size_t read(char*, std::size_t) override { throw fileError(fileerr::DeviceIoError); }
  };
  LineReader r(std::make_unique<Broken>());
  EXPECT_EQ(errorOf([&] { r.atEndOfLine(); }), 57);
}

TEST(LineWriter, EveryLineEndsWithCrLf) {
  auto out = std::make_shared<std::string>();
  LineWriter w(std::make_unique<MemorySink>(out), 8);
  w.writeLine("ab");
  w.writeLine("");
  w.writeLine("a longer line than the buffer");
  w.writeLine("z");
  w.close();
  EXPECT_EQ(*out, "ab\r\n\r\na longer line than the buffer\r\nz\r\n");
}

TEST(LineWriter, NothingReachesTheSinkBeforeTheBufferIsFull) {
  auto out = std::make_shared<std::string>();
  LineWriter w(std::make_unique<MemorySink>(out), 64);
  w.writeLine("abc");
  EXPECT_EQ(*out, "");
  w.close();
  EXPECT_EQ(*out, "abc\r\n");
}

TEST(LineWriter, AFailedWriteRaises57AndEveryLaterCallToo) {
  auto out = std::make_shared<std::string>();
  LineWriter w(std::make_unique<FailingSink>(out, 10), 8);
  int32_t failedAt = -1;
  for (int i = 0; i < 10 && failedAt < 0; ++i)
    if (errorOf([&] { w.writeLine("12345"); }) == 57) failedAt = i;
  EXPECT_GE(failedAt, 0);
  EXPECT_EQ(errorOf([&] { w.writeLine("more"); }), 57);
  EXPECT_EQ(errorOf([&] { w.close(); }), 57);
}

TEST(LineWriter, CloseRaises57WhenTheLastBytesCannotBeWritten) {
  auto out = std::make_shared<std::string>();
  LineWriter w(std::make_unique<FailingSink>(out, 3), 1024);
  w.writeLine("abcdef");  // still in the buffer
  EXPECT_EQ(errorOf([&] { w.close(); }), 57);
}

TEST(LineWriter, DestroyingAnUnclosedWriterWritesItsBuffer) {
  auto out = std::make_shared<std::string>();
  {
    LineWriter w(std::make_unique<MemorySink>(out), 1024);
    w.writeLine("kept");
  }
  EXPECT_EQ(*out, "kept\r\n");
}

class FileLayer : public DisplayTest {};

TEST_F(FileLayer, OpeningAMissingFileIsFileNotFound) {
  EXPECT_EQ(errorOf([&] { openFileForReading(path("missing.ldg")); }), 53);
  try {
    openFileForReading(path("missing.ldg"));
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), u"File not found");
  }
}

TEST_F(FileLayer, OpeningInAMissingFolderIsPathNotFound) {
  EXPECT_EQ(errorOf([&] { openFileForReading(path("nowhere/missing.ldg")); }), 76);
  EXPECT_EQ(errorOf([&] { createFile(path("nowhere/new.ldg")); }), 76);
}

TEST_F(FileLayer, OpeningAFolderIsPermissionDenied) {
  fs::create_directory(file("sub"));
  EXPECT_EQ(errorOf([&] { openFileForReading(path("sub")); }), 70);
  EXPECT_EQ(errorOf([&] { createFile(path("sub")); }), 70);
}

TEST_F(FileLayer, AnEmptyNameIsABadFileName) {
  EXPECT_EQ(errorOf([&] { openFileForReading(u""); }), 52);
  EXPECT_EQ(errorOf([&] { createFile(u""); }), 52);
}

TEST_F(FileLayer, AReadOnlyFileIsNeitherOverwrittenNorDeleted) {
  writeBytes(file("ro.ldg"), "keep");
  makeReadOnly(file("ro.ldg"));
  EXPECT_EQ(errorOf([&] { createFile(path("ro.ldg")); }), 70);
  EXPECT_EQ(errorOf([&] { deleteFile(path("ro.ldg")); }), 70);
  EXPECT_EQ(readBytes(file("ro.ldg")), "keep");
  // Reading it is fine.
  LineReader r(openFileForReading(path("ro.ldg")));
  std::string line;
  r.readLine(line);
  EXPECT_EQ(line, "keep");
}

TEST_F(FileLayer, DeletingAMissingFileIsFileNotFound) {
  EXPECT_EQ(errorOf([&] { deleteFile(path("gone.txt")); }), 53);
  EXPECT_EQ(errorOf([&] { deleteFile(path("nowhere/gone.txt")); }), 76);
}

TEST_F(FileLayer, CreateTruncatesAndDeleteRemoves) {
  writeBytes(file("f.txt"), "old content");
  createFile(path("f.txt"))->close();
  EXPECT_TRUE(fs::exists(file("f.txt")));
  EXPECT_EQ(fs::file_size(file("f.txt")), 0u);
  deleteFile(path("f.txt"));
  EXPECT_FALSE(fs::exists(file("f.txt")));
}

TEST_F(FileLayer, ChineseFileNamesAreUsedAsTheyStand) {
  const ustring name = (dir.path() / fs::path(u"台账 一.ldg")).u16string();
  {
    LineWriter w(createFile(name));
    w.writeLine("x");
    w.close();
  }
  EXPECT_TRUE(fs::exists(fs::path(name)));
  EXPECT_EQ(readBytes(fs::path(name)), "x\r\n");
}

#ifdef LUMO_HAVE_FILE_SIZE_LIMIT
TEST_F(FileLayer, AWriteTheSystemRefusesRaises57) {
  FileSizeLimit limit(4096);
  LineWriter w(createFile(path("big.txt")), 1024);
  int32_t number = 0;
  for (int i = 0; i < 100 && number == 0; ++i) number = errorOf([&] { w.writeLine(std::string(200, 'x')); });
  if (number == 0) number = errorOf([&] { w.close(); });
  EXPECT_EQ(number, 57);
}
#endif

}  // namespace
}  // namespace lumo::display::test
