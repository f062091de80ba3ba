// Saves and reopens a ledger of N rows x 4 columns through the text-file helper
// and compares it with writing and reading the very same bytes with plain stdio,
// in the same run. Prints one table line per size:
//   ledger_bench [folder] [rows ...]      (default: the temp folder, 500000 1000000)
//
// helper save   : SaveFile (create-close-delete-create), WriteTo per line (one
//                 code-page conversion per line), close
// helper reopen : SaveFile open, readFirstLine, header parsed, readLeftLines into
//                 a collection of UTF-16 lines
// stdio write   : fopen, fwrite of each pre-encoded line and CR LF, fclose
// stdio read    : fopen, fgets line by line, each line kept as a std::string
// stdio bytes   : the same without keeping the lines (only their lengths summed)
// window        : the display window's own save (from its list) and open (into
//                 its rows), for reference
// Each figure is the best of five rounds; ratios are helper / stdio.
//
// A second table splits the helper's reopen into what it is made of, each step
// adding one thing to the one before (same file, same rounds):
// lines        : the helper's line reader, each line's bytes into one reused buffer
// + code page  : each line converted to UTF-16 by the platform, the text dropped
// + kept       : the UTF-16 lines kept in a vector sized ahead
// helper reopen: the lines kept as the collection readLeftLines returns
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "code_page.h"
#include "display/displayer.h"
#include "display/ledger.h"
#include "display/save_file.h"
#include "display/text_file.h"
#include "fake_view.h"

using namespace lumo;
using namespace lumo::display;

namespace {

double seconds(const std::function<void()>& f) {
  const auto start = std::chrono::steady_clock::now();
  f();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

const char16_t* const kNames[] = {u"张三", u"李四", u"王五", u"赵六", u"孙七", u"周八", u"吴九", u"郑十"};
const char16_t* const kDepartments[] = {u"销售部", u"财务部", u"研发部", u"人事部", u"生产部"};

ustring rowText(int i) {
  const int cents = static_cast<int>((int64_t(i) * 7919) % 10000000);
  return ustring(kNames[i % 8]) + toText(i % 1000) + u"\t" + toText(cents / 100) + u"." +
         (cents % 100 < 10 ? u"0" : u"") + toText(cents % 100) + u"\t2024-" + (i % 12 < 9 ? u"0" : u"") +
         toText(i % 12 + 1) + u"-15\t" + kDepartments[i % 5];
}

const ustring kHeader = u"姓名(字符)\t金额(数字)\t日期(中间)\t部门(字符)\t";

void fail(const char* what) {
  std::fprintf(stderr, "ledger_bench: %s\n", what);
  std::exit(1);
}

constexpr int kRounds = 5;

struct Figures {
  std::size_t rows = 0, bytes = 0;
  double helperSave = 0, helperOpen = 0, stdioWrite = 0, stdioRead = 0, stdioBytes = 0, windowSave = 0,
         windowOpen = 0;
  // The reopen split into its parts.
  double lines = 0, converted = 0, kept = 0;
};

Figures run(const std::filesystem::path& folder, int n, Platform& platform) {
  Figures f;
  f.rows = static_cast<std::size_t>(n);
  std::vector<ustring> rows;
  rows.reserve(f.rows);
  for (int i = 0; i < n; ++i) rows.push_back(rowText(i));

  // The same bytes for stdio, encoded outside the timing.
  std::vector<std::string> encoded;
  encoded.reserve(f.rows + 1);
  encoded.push_back(platform.toAnsi(kHeader));
  for (const ustring& r : rows) encoded.push_back(platform.toAnsi(r));

  const ustring helperPath = (folder / "bench-helper.ldg").u16string();
  const std::string stdioPath = (folder / "bench-stdio.ldg").string();
  const ustring windowPath = (folder / "bench-window.ldg").u16string();

  // ---- helper -------------------------------------------------------------------
  auto helperSave = [&] {
    SaveFile file;
    file.setAction(action::SaveFile);
    file.setFileName(helperPath);
    file.writeTo(kHeader);
    for (const ustring& r : rows) file.writeTo(r);
    file.close();
  };
  std::size_t opened = 0;
  auto helperOpen = [&] {
    SaveFile file;
    file.setAction(action::OpenFile);
    file.setFileName(helperPath);
    const ustring header = file.readFirstLine();
    if (parseLedgerHeader(header).size() != 4) fail("header not read back");
    opened = file.readLeftLines()->count();
  };

  // ---- stdio --------------------------------------------------------------------
  auto stdioWrite = [&] {
    std::FILE* out = std::fopen(stdioPath.c_str(), "wb");
    if (!out) fail("cannot create the stdio file");
    for (const std::string& line : encoded) {
      std::fwrite(line.data(), 1, line.size(), out);
      std::fwrite("\r\n", 1, 2, out);
    }
    if (std::fclose(out) != 0) fail("stdio write failed");
  };
  std::size_t readLines = 0, readBytes = 0;
  auto stdioRead = [&](bool keep) {
    std::FILE* in = std::fopen(stdioPath.c_str(), "rb");
    if (!in) fail("cannot open the stdio file");
    std::vector<std::string> lines;
    static char buf[1 << 16];
    readLines = readBytes = 0;
    while (std::fgets(buf, sizeof buf, in)) {
      std::size_t len = std::strlen(buf);
      while (len && (buf[len - 1] == '\n' || buf[len - 1] == '\r')) --len;
      if (keep) lines.emplace_back(buf, len);
      readBytes += len;
      ++readLines;
    }
    std::fclose(in);
  };

  // ---- the display window ---------------------------------------------------------
  display::test::FakeWindow window;
  {
    auto coll = std::make_shared<Collection>();
    for (const ustring& r : rows) coll->add(Variant(r));
    window.presenter.load();
    window.presenter.setRowSets(coll);
    window.presenter.setColumnCount(4);
    const char16_t* titles[] = {u"姓名", u"金额", u"日期", u"部门"};
    const int32_t aligns[] = {0, 1, 2, 0};
    for (int32_t c = 1; c <= 4; ++c) {
      window.presenter.setCellText(0, c, titles[c - 1]);
      window.presenter.setColumnAlignment(c, aligns[c - 1]);
    }
    window.presenter.setRowCount(n + 1);
  }
  auto windowSave = [&] {
    window.view.fileChoices.push_back(FileChoice{false, windowPath});
    window.presenter.save();
    if (window.presenter.statusText() != u"保存完毕") fail("window save failed");
  };
  display::test::FakeWindow reader;
  reader.presenter.load();
  auto windowOpen = [&] {
    reader.view.fileChoices.push_back(FileChoice{false, windowPath});
    reader.presenter.open();
    if (reader.presenter.list().rowCount() != n + 1) fail("window open lost rows");
  };

  // ---- the reopen's parts ------------------------------------------------------------
  enum class Part { Lines, Converted, Kept };
  std::size_t partLines = 0;
  auto readParts = [&](Part upTo) {
    LineReader reader(openFileForReading(helperPath));
    std::string bytes;
    std::vector<ustring> keptLines;
    if (upTo == Part::Kept) keptLines.reserve(f.rows + 1);
    std::size_t units = 0;
    partLines = 0;
    while (!reader.atEndOfStream()) {
      reader.readLine(bytes);
      ++partLines;
      if (upTo == Part::Lines) {
        units += bytes.size();
      } else if (upTo == Part::Converted) {
        units += platform.fromAnsi(bytes).size();
      } else {
        keptLines.push_back(platform.fromAnsi(bytes));
      }
    }
    if (units == 0 && keptLines.empty()) fail("nothing read");
  };

  // Alternate the contenders round by round so that a busy moment hits both.
  double hs = 1e30, ho = 1e30, sw = 1e30, sr = 1e30, sb = 1e30, ws = 1e30, wo = 1e30, pl = 1e30, pc = 1e30,
         pk = 1e30;
  for (int round = 0; round < kRounds; ++round) {
    sw = std::min(sw, seconds(stdioWrite));
    hs = std::min(hs, seconds(helperSave));
    sr = std::min(sr, seconds([&] { stdioRead(true); }));
    sb = std::min(sb, seconds([&] { stdioRead(false); }));
    ho = std::min(ho, seconds(helperOpen));
    pl = std::min(pl, seconds([&] { readParts(Part::Lines); }));
    pc = std::min(pc, seconds([&] { readParts(Part::Converted); }));
    pk = std::min(pk, seconds([&] { readParts(Part::Kept); }));
    ws = std::min(ws, seconds(windowSave));
    wo = std::min(wo, seconds(windowOpen));
  }
  if (partLines != f.rows + 1) fail("the line reader lost lines");
  f.lines = pl;
  f.converted = pc;
  f.kept = pk;
  f.helperSave = hs;
  f.helperOpen = ho;
  f.stdioWrite = sw;
  f.stdioRead = sr;
  f.stdioBytes = sb;
  f.windowSave = ws;
  f.windowOpen = wo;

  // Both sides wrote the same bytes and read the same lines.
  f.bytes = std::filesystem::file_size(folder / "bench-helper.ldg");
  if (f.bytes != std::filesystem::file_size(stdioPath)) fail("helper and stdio files differ in size");
  if (f.bytes != std::filesystem::file_size(folder / "bench-window.ldg")) fail("window file differs in size");
  if (opened != f.rows || readLines != f.rows + 1) fail("a reader lost lines");
  std::filesystem::remove(folder / "bench-helper.ldg");
  std::filesystem::remove(stdioPath);
  std::filesystem::remove(folder / "bench-window.ldg");
  return f;
}

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path folder = std::filesystem::temp_directory_path();
  std::vector<int> sizes;
  if (argc > 1) folder = argv[1];
  for (int i = 2; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
  if (sizes.empty()) sizes = {500000, 1000000};

  display::test::CodePagePlatform platform;
  lumo::test::FakePlatformScope scope(platform);

  std::printf("ledger save + reopen, 4 columns, double-byte code page, best of %d (seconds)\n", kRounds);
  std::printf("%9s %7s | %7s %7s %7s | %7s %7s %7s | %6s %6s | %7s %7s\n", "rows", "MB", "h.save", "h.open", "h.total",
              "s.write", "s.read", "s.total", "ratio", "ratio*", "w.save", "w.open");
  std::vector<Figures> all;
  for (int n : sizes) {
    const Figures f = run(folder, n, platform);
    all.push_back(f);
    const double helper = f.helperSave + f.helperOpen;
    const double stdioKeep = f.stdioWrite + f.stdioRead;
    const double stdioBytes = f.stdioWrite + f.stdioBytes;
    std::printf("%9zu %7.1f | %7.3f %7.3f %7.3f | %7.3f %7.3f %7.3f | %6.2f %6.2f | %7.3f %7.3f\n", f.rows,
                f.bytes / 1048576.0, f.helperSave, f.helperOpen, helper, f.stdioWrite, f.stdioRead, stdioKeep,
                helper / stdioKeep, helper / stdioBytes, f.windowSave, f.windowOpen);
  }
  std::printf("ratio = helper / stdio keeping the lines read; ratio* = helper / stdio summing line lengths only\n");
  std::printf("\nwhere the helper's reopen goes (seconds; each column adds one step to the one before)\n");
  std::printf("%9s | %7s %9s %7s %8s | %7s\n", "rows", "lines", "+codepage", "+kept", "+collect", "s.bytes");
  for (const Figures& f : all)
    std::printf("%9zu | %7.3f %9.3f %7.3f %8.3f | %7.3f\n", f.rows, f.lines, f.converted, f.kept, f.helperOpen,
                f.stdioBytes);
  return 0;
}
