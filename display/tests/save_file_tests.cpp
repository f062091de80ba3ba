// The text-file helper: creating and opening by action, writing lines with CR LF
// in the system's code page, the first line, the remaining lines and lineNum.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "display/ledger.h"
#include "display/save_file.h"
#include "display_test.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace lumo::display::test {
namespace {

class SaveFileTest : public DisplayTest {
 protected:
  // Writes lines through a fresh helper and releases it.
  void save(const std::string& name, const std::vector<ustring>& lines) {
    SaveFile f;
    f.setAction(action::SaveFile);
    f.setFileName(path(name));
    for (const ustring& l : lines) f.writeTo(l);
  }
  std::unique_ptr<SaveFile> openForReading(const std::string& name) {
    auto f = std::make_unique<SaveFile>();
    f->setAction(action::OpenFile);
    f->setFileName(path(name));
    return f;
  }
  static std::vector<ustring> texts(const std::shared_ptr<Collection>& c) {
    std::vector<ustring> out;
    for (std::size_t i = 1; i <= c->count(); ++i) out.push_back(c->item(i).toString());
    return out;
  }
};

using Texts = std::vector<ustring>;

TEST_F(SaveFileTest, WriteToEndsEachLineWithCrLf) {
  save("a.txt", {u"first", u"second\tcell"});
  EXPECT_EQ(readBytes(file("a.txt")), "first\r\nsecond\tcell\r\n");
}

TEST_F(SaveFileTest, WriteToOfAnEmptyTextWritesAnEmptyLine) {
  save("a.txt", {u"", u"x", u""});
  EXPECT_EQ(readBytes(file("a.txt")), "\r\nx\r\n\r\n");
}

TEST_F(SaveFileTest, SavingOverALongerFileLeavesOnlyTheNewContent) {
  writeBytes(file("a.txt"), std::string(5000, 'o') + "\r\nold tail\r\n");
  save("a.txt", {u"new"});
  EXPECT_EQ(readBytes(file("a.txt")), "new\r\n");
}

TEST_F(SaveFileTest, SavingReplacesTheFileInsteadOfRewritingIt) {
  // Create (emptying the file), close, delete and create again: a second name
  // for the old file keeps the emptied old file, the saved name gets a new one.
  writeBytes(file("a.txt"), "old content\r\n");
  std::error_code ec;
  fs::create_hard_link(file("a.txt"), file("other-name.txt"), ec);
  if (ec) GTEST_SKIP() << "no hard links here";
  save("a.txt", {u"new"});
  EXPECT_EQ(readBytes(file("a.txt")), "new\r\n");
  EXPECT_EQ(readBytes(file("other-name.txt")), "");
}

TEST_F(SaveFileTest, SettingTheNameForSavingLeavesAnEmptyFileBeforeAnyLine) {
  writeBytes(file("a.txt"), "old");
  SaveFile f;
  f.setAction(action::SaveFile);
  f.setFileName(path("a.txt"));
  EXPECT_TRUE(fs::exists(file("a.txt")));
  EXPECT_EQ(fs::file_size(file("a.txt")), 0u);
  EXPECT_EQ(f.fileName(), path("a.txt"));
}

TEST_F(SaveFileTest, ChineseIsWrittenInTheSystemCodePage) {
  save("c.txt", {u"姓名\t中"});
  // 中 is U+4E2D: index 45 in the test code page, lead 0x81, trail 0x40 + 45.
  EXPECT_EQ(readBytes(file("c.txt")), ansi(u"姓名") + "\t\x81\x6d\r\n");
  auto f = openForReading("c.txt");
  EXPECT_EQ(f->readFirstLine(), u"姓名\t中");
}

TEST_F(SaveFileTest, CharactersOutsideTheCodePageBecomeQuestionMarks) {
  save("q.txt", {u"A한B\u00e9C"});
  EXPECT_EQ(readBytes(file("q.txt")), "A?B?C\r\n");
  auto f = openForReading("q.txt");
  EXPECT_EQ(f->readFirstLine(), u"A?B?C");
}

TEST_F(SaveFileTest, EachLineIsConvertedOnceAsAWhole) {
  fake.toAnsiCalls = fake.fromAnsiCalls = 0;
  save("n.txt", {u"张三\t12", u"李四\t7", u"王五\t3"});
  EXPECT_EQ(fake.toAnsiCalls, 3u);
  auto f = openForReading("n.txt");
  f->readFirstLine();
  f->readLeftLines();
  EXPECT_EQ(fake.fromAnsiCalls, 3u);
}

TEST_F(SaveFileTest, OpeningAMissingFileRaisesFileNotFoundToTheCaller) {
  SaveFile f;
  f.setAction(action::OpenFile);
  EXPECT_EQ(errorOf([&] { f.setFileName(path("missing.ldg")); }), 53);
  // The name is kept; nothing can be read.
  EXPECT_EQ(f.fileName(), path("missing.ldg"));
  EXPECT_EQ(f.readFirstLine(), u"");
  EXPECT_EQ(f.readLeftLines()->count(), 0u);
}

TEST_F(SaveFileTest, OpeningInAMissingFolderRaisesPathNotFound) {
  SaveFile f;
  f.setAction(action::OpenFile);
  EXPECT_EQ(errorOf([&] { f.setFileName(path("no/such.ldg")); }), 76);
  f.setAction(action::SaveFile);
  EXPECT_EQ(errorOf([&] { f.setFileName(path("no/such.ldg")); }), 76);
}

TEST_F(SaveFileTest, OpeningAFolderRaisesPermissionDenied) {
  fs::create_directory(file("dir"));
  SaveFile f;
  f.setAction(action::OpenFile);
  EXPECT_EQ(errorOf([&] { f.setFileName(path("dir")); }), 70);
}

TEST_F(SaveFileTest, AnActionOtherThanSaveOpensForReading) {
  writeBytes(file("r.txt"), "line\r\n");
  SaveFile f;  // action never set
  EXPECT_EQ(f.action(), 0);
  f.setFileName(path("r.txt"));
  EXPECT_EQ(f.readFirstLine(), u"line");
  // Nothing was created or truncated.
  EXPECT_EQ(readBytes(file("r.txt")), "line\r\n");
  SaveFile g;
  g.setAction(7);
  EXPECT_EQ(errorOf([&] { g.setFileName(path("absent.txt")); }), 53);
  EXPECT_FALSE(fs::exists(file("absent.txt")));
}

TEST_F(SaveFileTest, AReadOnlyTargetRaisesAndKeepsItsContent) {
  writeBytes(file("ro.ldg"), "precious\r\n");
  makeReadOnly(file("ro.ldg"));
  SaveFile f;
  f.setAction(action::SaveFile);
  EXPECT_EQ(errorOf([&] { f.setFileName(path("ro.ldg")); }), 70);
  EXPECT_EQ(errorOf([&] { f.writeTo(u"x"); }), 91);
  EXPECT_EQ(readBytes(file("ro.ldg")), "precious\r\n");
}

#ifdef _WIN32
// Only Windows lets a program keep others away from a file it holds open.
TEST_F(SaveFileTest, ATargetHeldOpenWithoutSharingRaisesPermissionDeniedAndKeepsItsContent) {
  const std::wstring name = file("held.ldg").wstring();
  HANDLE held = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, held);
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(held, "precious\r\n", 10, &written, nullptr));
  SaveFile f;
  f.setAction(action::SaveFile);
  EXPECT_EQ(errorOf([&] { f.setFileName(path("held.ldg")); }), 70);
  EXPECT_EQ(errorOf([&] { f.writeTo(u"x"); }), 91);
  const ListModel list;
  EXPECT_EQ(errorOf([&] { saveLedger(path("held.ldg"), list); }), 70) << "the window's save path too";
  CloseHandle(held);
  EXPECT_EQ(readBytes(file("held.ldg")), "precious\r\n");
}
#endif

TEST_F(SaveFileTest, WriteErrorsRaiseDeviceIoErrorAndNothingCountsAsWritten) {
  auto out = std::make_shared<std::string>();
  SaveFile f;
  f.attachWriter(std::make_unique<FailingSink>(out, 100), 64);
  int32_t number = 0;
  for (int i = 0; i < 50 && number == 0; ++i) number = errorOf([&] { f.writeTo(u"0123456789"); });
  EXPECT_EQ(number, 57);
  EXPECT_EQ(errorOf([&] { f.writeTo(u"after"); }), 57);
  EXPECT_EQ(errorOf([&] { f.close(); }), 57);
}

TEST_F(SaveFileTest, CloseRaisesWhenTheBufferedLinesCannotBeWritten) {
  auto out = std::make_shared<std::string>();
  SaveFile f;
  f.attachWriter(std::make_unique<FailingSink>(out, 5));
  f.writeTo(u"a line that waits in the buffer");
  EXPECT_EQ(errorOf([&] { f.close(); }), 57);
}

#ifdef LUMO_HAVE_FILE_SIZE_LIMIT
TEST_F(SaveFileTest, AFileTheSystemCannotHoldIsNeverReportedAsWritten) {
  FileSizeLimit limit(64 * 1024);
  SaveFile f;
  f.setAction(action::SaveFile);
  f.setFileName(path("full.txt"));
  int32_t number = 0;
  for (int i = 0; i < 20000 && number == 0; ++i) number = errorOf([&] { f.writeTo(u"0123456789abcdef"); });
  if (number == 0) number = errorOf([&] { f.close(); });
  EXPECT_EQ(number, 57);
}
#endif

TEST_F(SaveFileTest, WriteToWithoutAStreamOrOnAReadingStreamRaises) {
  SaveFile f;
  EXPECT_EQ(errorOf([&] { f.writeTo(u"x"); }), 91);
  writeBytes(file("r.txt"), "x");
  f.setAction(action::OpenFile);
  f.setFileName(path("r.txt"));
  EXPECT_EQ(errorOf([&] { f.writeTo(u"x"); }), 54);
}

TEST_F(SaveFileTest, ReadFirstLineOfAnEmptyFileIsEmpty) {
  writeBytes(file("e.txt"), "");
  auto f = openForReading("e.txt");
  EXPECT_EQ(f->readFirstLine(), u"");
  EXPECT_EQ(f->readLeftLines()->count(), 0u);
  EXPECT_EQ(f->lineNum(), 0);
}

TEST_F(SaveFileTest, AnEmptyFirstLineIsEmptyAndStaysWhereItIs) {
  writeBytes(file("e.txt"), "\r\nA\tB\r\n1\t2\r\n");
  auto f = openForReading("e.txt");
  EXPECT_EQ(f->readFirstLine(), u"");
  EXPECT_EQ(f->readFirstLine(), u"");
  // The stream still stands at the empty line, so no line is left to read.
  EXPECT_EQ(f->readLeftLines()->count(), 0u);
  EXPECT_EQ(f->lineNum(), 0);
}

TEST_F(SaveFileTest, ReadFirstLineIgnoresErrors) {
  SaveFile none;
  EXPECT_EQ(none.readFirstLine(), u"");
  SaveFile writing;
  writing.setAction(action::SaveFile);
  writing.setFileName(path("w.txt"));
  EXPECT_EQ(writing.readFirstLine(), u"");
  SaveFile broken;
  struct Broken : ByteSource {
    std::size_t read(char*, std::size_t) override { throw fileError(fileerr::DeviceIoError); }
  };
  broken.attachReader(std::make_unique<Broken>());
  EXPECT_EQ(broken.readFirstLine(), u"");
}

TEST_F(SaveFileTest, AFileWhoseSecondLineIsEmptyHasNoLeftLines) {
  writeBytes(file("s.txt"), "header\t\r\n\r\nrow after the gap\r\n");
  auto f = openForReading("s.txt");
  EXPECT_EQ(f->readFirstLine(), u"header\t");
  EXPECT_EQ(f->readLeftLines()->count(), 0u);
  EXPECT_EQ(f->lineNum(), 0);
}

TEST_F(SaveFileTest, ReadLeftLinesStopsAtTheFirstEmptyLine) {
  writeBytes(file("s.txt"), "h\r\n1\r\n2\r\n\r\n3\r\n");
  auto f = openForReading("s.txt");
  f->readFirstLine();
  EXPECT_EQ(texts(f->readLeftLines()), (Texts{u"1", u"2"}));
  EXPECT_EQ(f->lineNum(), 2);
  // Called again at the empty line: nothing more, lineNum unchanged.
  EXPECT_EQ(f->readLeftLines()->count(), 0u);
  EXPECT_EQ(f->lineNum(), 2);
}

TEST_F(SaveFileTest, ReadLeftLinesStopsAtTheEndOfTheFile) {
  writeBytes(file("s.txt"), "h\r\n1\r\n2");
  auto f = openForReading("s.txt");
  f->readFirstLine();
  EXPECT_EQ(texts(f->readLeftLines()), (Texts{u"1", u"2"}));
}

TEST_F(SaveFileTest, LineNumAccumulatesAcrossCallsAndFiles) {
  writeBytes(file("a.txt"), "h\r\n1\r\n2\r\n");
  writeBytes(file("b.txt"), "h\r\nx\r\ny\r\nz\r\n");
  SaveFile f;
  f.setLineNum(5);
  f.setAction(action::OpenFile);
  f.setFileName(path("a.txt"));
  f.readFirstLine();
  f.readLeftLines();
  EXPECT_EQ(f.lineNum(), 7);
  f.setFileName(path("b.txt"));
  f.readFirstLine();
  f.readLeftLines();
  EXPECT_EQ(f.lineNum(), 10);
}

TEST_F(SaveFileTest, ReadFirstLineIsNotCounted) {
  writeBytes(file("a.txt"), "h\r\n");
  auto f = openForReading("a.txt");
  f->readFirstLine();
  EXPECT_EQ(f->lineNum(), 0);
}

TEST_F(SaveFileTest, ReadLeftLinesReturnsAFreshCollectionEachTime) {
  writeBytes(file("a.txt"), "1\r\n2\r\n");
  auto f = openForReading("a.txt");
  auto first = f->readLeftLines();
  auto second = f->readLeftLines();
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(texts(first), (Texts{u"1", u"2"}));
  EXPECT_EQ(second->count(), 0u);
  EXPECT_EQ(f->lastLines().get(), second.get());
}

TEST_F(SaveFileTest, ReadLeftLinesWithoutAReadingStreamIsEmpty) {
  SaveFile none;
  EXPECT_EQ(none.readLeftLines()->count(), 0u);
  SaveFile writing;
  writing.setAction(action::SaveFile);
  writing.setFileName(path("w.txt"));
  EXPECT_EQ(writing.readLeftLines()->count(), 0u);
  EXPECT_EQ(writing.lineNum(), 0);
}

TEST_F(SaveFileTest, ReadErrorsEndReadingWithTheLinesReadSoFar) {
  // Two lines, then the source fails.
  struct FailsLater : ByteSource {
    int calls = 0;
    std::size_t read(char* buf, std::size_t size) override {
      if (++calls > 1) throw fileError(fileerr::DeviceIoError);
      const std::string part = "a\r\nb\r\nc";
      const std::size_t n = std::min(size, part.size());
      std::copy(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(n), buf);
      return n;
    }
  };
  SaveFile f;
  f.attachReader(std::make_unique<FailsLater>(), 4096);
  EXPECT_EQ(texts(f.readLeftLines()), (Texts{u"a", u"b"}));
  // The line that failed was counted before it was read.
  EXPECT_EQ(f.lineNum(), 3);
}

TEST_F(SaveFileTest, ManyLinesOfChangingLengthAreAllRead) {
  // Short lines first and long ones after, then the other way round: however the
  // first lines misjudge the rest, every line arrives.
  std::vector<ustring> shortFirst, longFirst;
  for (int i = 0; i < 3000; ++i) shortFirst.push_back(i < 300 ? toText(i % 10) : ustring(200, u'x') + toText(i));
  for (int i = 0; i < 3000; ++i) longFirst.push_back(i < 300 ? ustring(500, u'y') + toText(i) : toText(i % 10));
  for (const auto* lines : {&shortFirst, &longFirst}) {
    save("m.txt", *lines);
    auto f = openForReading("m.txt");
    EXPECT_EQ(texts(f->readLeftLines()), *lines);
    EXPECT_EQ(f->lineNum(), 3000);
  }
}

TEST_F(SaveFileTest, LinesEndedByCrAloneOrLfAloneAreRead) {
  writeBytes(file("cr.txt"), "h\r1\r2\r");
  writeBytes(file("lf.txt"), "h\n1\n2\n");
  writeBytes(file("mix.txt"), "h\r\n1\r2\n3");
  for (const char* name : {"cr.txt", "lf.txt"}) {
    auto f = openForReading(name);
    EXPECT_EQ(f->readFirstLine(), u"h");
    EXPECT_EQ(texts(f->readLeftLines()), (Texts{u"1", u"2"})) << name;
  }
  auto f = openForReading("mix.txt");
  EXPECT_EQ(f->readFirstLine(), u"h");
  EXPECT_EQ(texts(f->readLeftLines()), (Texts{u"1", u"2", u"3"}));
}

TEST_F(SaveFileTest, ATenMegabyteLineSurvivesARoundTrip) {
  ustring big;
  big.reserve(10u << 20);
  const ustring piece = u"0123456789\t中文";
  while (big.size() < (10u << 20)) big += piece;
  save("big.txt", {u"head", big, u"tail"});
  EXPECT_EQ(fs::file_size(file("big.txt")), 4 + 2 + ansi(big).size() + 2 + 4 + 2);
  auto f = openForReading("big.txt");
  EXPECT_EQ(f->readFirstLine(), u"head");
  const auto lines = f->readLeftLines();
  ASSERT_EQ(lines->count(), 2u);
  EXPECT_TRUE(lines->item(1).toString() == big);
  EXPECT_EQ(lines->item(2).toString(), u"tail");
}

TEST_F(SaveFileTest, BinaryJunkIsReadWithoutHarm) {
  writeBytes(file("junk.bin"), std::string("\x00\xff\x00\r\n\xff\xfe\x81\r\n\x00\r\n\x81", 14));
  auto f = openForReading("junk.bin");
  // NUL stays a character; bytes that form no character read as "?".
  EXPECT_EQ(f->readFirstLine(), ustring(u"\0?\0", 3));
  EXPECT_EQ(texts(f->readLeftLines()), (Texts{u"???", ustring(1, u'\0'), u"?"}));
  EXPECT_EQ(f->lineNum(), 3);
}

TEST_F(SaveFileTest, ReleasingTheHelperClosesTheStream) {
  {
    SaveFile f;
    f.setAction(action::SaveFile);
    f.setFileName(path("r.txt"));
    f.writeTo(u"written before release");
  }
  EXPECT_EQ(readBytes(file("r.txt")), "written before release\r\n");
  // The file is free again: it can be replaced and deleted.
  save("r.txt", {u"again"});
  EXPECT_EQ(readBytes(file("r.txt")), "again\r\n");
  deleteFile(path("r.txt"));
}

TEST_F(SaveFileTest, SettingAnotherNameClosesThePreviousStream) {
  SaveFile f;
  f.setAction(action::SaveFile);
  f.setFileName(path("one.txt"));
  f.writeTo(u"one");
  f.setFileName(path("two.txt"));
  f.writeTo(u"two");
  EXPECT_EQ(readBytes(file("one.txt")), "one\r\n");
  f.close();
  EXPECT_EQ(readBytes(file("two.txt")), "two\r\n");
}

TEST_F(SaveFileTest, ClosingTwiceOrWithoutAStreamIsHarmless) {
  SaveFile f;
  f.close();
  f.setAction(action::SaveFile);
  f.setFileName(path("c.txt"));
  f.close();
  f.close();
  EXPECT_EQ(errorOf([&] { f.writeTo(u"late"); }), 91);
}

}  // namespace
}  // namespace lumo::display::test
