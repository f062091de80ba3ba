#include "ledger_fuzz_entry.h"

#include <memory>
#include <vector>

#include "code_page.h"
#include "display/ledger.h"
#include "display/list_model.h"
#include "display/save_file.h"

namespace lumo::display::fuzz {

namespace {

std::string fail(const std::string& what, std::size_t index = static_cast<std::size_t>(-1)) {
  return index == static_cast<std::size_t>(-1) ? what : what + " (at " + std::to_string(index) + ")";
}

// The bytes cut into lines a second way: one pass over the bytes, a line ending
// at CR LF, LF or CR, the last line with or without an ending.
std::vector<std::string> referenceLines(const std::string& bytes) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  const std::size_t n = bytes.size();
  for (std::size_t i = 0; i < n; ++i) {
    const char c = bytes[i];
    if (c != '\r' && c != '\n') continue;
    lines.push_back(bytes.substr(start, i - start));
    if (c == '\r' && i + 1 < n && bytes[i + 1] == '\n') ++i;
    start = i + 1;
  }
  if (start < n) lines.push_back(bytes.substr(start));
  return lines;
}

struct Expected {
  ustring header;
  std::vector<ustring> rows;
};

// What a ledger reader must find in these bytes.
Expected referenceLedger(const std::string& bytes, Platform& p) {
  Expected e;
  const std::vector<std::string> lines = referenceLines(bytes);
  if (lines.empty() || lines[0].empty()) return e;
  e.header = p.fromAnsi(lines[0]);
  for (std::size_t i = 1; i < lines.size() && !lines[i].empty(); ++i) e.rows.push_back(p.fromAnsi(lines[i]));
  return e;
}

std::string compareLedger(const LedgerContents& got, const Expected& want, const char* which) {
  const std::string w = which;
  if (got.header != want.header) return fail(w + ": first line differs");
  if (want.header.empty()) {
    if (got.rows) return fail(w + ": rows read after an empty first line");
    if (!got.columns.empty()) return fail(w + ": columns from an empty first line");
    if (got.lineNum != 0) return fail(w + ": lines counted after an empty first line");
    return {};
  }
  if (!got.rows) return fail(w + ": no row collection");
  if (got.rows->count() != want.rows.size())
    return fail(w + ": " + std::to_string(got.rows->count()) + " rows instead of " + std::to_string(want.rows.size()));
  for (std::size_t i = 0; i < want.rows.size(); ++i)
    if (got.rows->item(i + 1).toString() != want.rows[i]) return fail(w + ": row differs", i + 1);
  if (got.lineNum != static_cast<int32_t>(want.rows.size())) return fail(w + ": line count differs from the rows");
  return {};
}

// The header read a second way: every tab-separated piece but the last is a column.
std::string checkHeader(const std::vector<HeaderColumn>& got, const ustring& header) {
  std::vector<ustring> pieces = split(header, u"\t");
  pieces.pop_back();
  if (got.size() != pieces.size()) return fail("column count differs from the tabs");
  const ustring markers[] = {u"(字符)", u"(数字)", u"(中间)"};
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (got[i].title != pieces[i]) return fail("title differs", i);
    int32_t alignment = -1;
    for (int32_t a = 0; a < 3; ++a)
      if (endsWith(pieces[i], markers[a])) alignment = a;
    if (got[i].marked != (alignment >= 0)) return fail("marker not recognised as such", i);
    if (alignment >= 0 && got[i].alignment != alignment) return fail("marker gives the wrong alignment", i);
  }
  return {};
}

}  // namespace

std::string ledgerReaderEntry(const uint8_t* data, std::size_t size) {
  const uint8_t mode = size ? data[0] : 0;
  const std::string bytes = size ? std::string(reinterpret_cast<const char*>(data) + 1, size - 1) : std::string();
  const std::size_t bufferSize = (mode & 63u) + 1;
  const std::size_t chunk = (mode & 64u) ? 1 : static_cast<std::size_t>(-1);

  std::unique_ptr<lumo::test::FakePlatform> platform;
  if (mode & 128u) platform = std::make_unique<test::CodePagePlatform>();
  else platform = std::make_unique<lumo::test::FakePlatform>();
  lumo::test::FakePlatformScope scope(*platform);

  // ---- reading ---------------------------------------------------------------------
  const Expected want = referenceLedger(bytes, *platform);
  LedgerContents got;
  try {
    SaveFile file;
    file.attachReader(std::make_unique<MemorySource>(bytes, chunk), bufferSize);
    got = readLedger(file);
  } catch (const std::exception& e) {
    return std::string("reading raised: ") + e.what();
  }
  if (std::string broken = compareLedger(got, want, "read"); !broken.empty()) return broken;
  if (want.header.empty()) return {};
  if (std::string broken = checkHeader(got.columns, got.header); !broken.empty()) return broken;

  // ---- the list, as the window fills it ----------------------------------------------
  ListModel list;
  const int32_t n = static_cast<int32_t>(got.columns.size());
  const std::size_t rowCount = got.rows->count();
  try {
    list.setColumnCount(n);
    for (int32_t c = 1; c <= n; ++c) {
      const HeaderColumn& h = got.columns[static_cast<std::size_t>(c - 1)];
      list.setText(0, c, h.title);
      if (h.marked) list.setColumnAlignment(c, h.alignment);
    }
    list.setRows(got.rows);
    list.setRowCount(static_cast<int32_t>(rowCount + 1));
  } catch (const std::exception& e) {
    return std::string("filling the list raised: ") + e.what();
  }
  for (int32_t c = 1; c <= n; ++c)
    if (list.text(0, c) != got.columns[static_cast<std::size_t>(c - 1)].title) return fail("header cell differs", c);
  for (std::size_t i = 0; i < rowCount; ++i) {
    // Every row of a small file; the ends of a large one.
    if (rowCount > 200 && i >= 100 && i + 100 < rowCount) continue;
    const int32_t r = static_cast<int32_t>(i + 1);
    const ustring& row = want.rows[i];
    if (list.line(r + 1) != row + u"|") return fail("list line differs", i + 1);
    std::vector<ustring> cells = split(row, u"\t");
    for (int32_t c = 0; c <= n + 1 && c <= 9; ++c) {
      const ustring expect = (c >= 1 && c <= n && static_cast<std::size_t>(c) <= cells.size()) ? cells[c - 1] : ustring();
      if (list.text(r, c) != expect) return fail("cell differs", i + 1);
    }
    cells.resize(static_cast<std::size_t>(n));
    ustring scratch;
    if (list.joinedCells(r, scratch) != join(cells, u"\t")) return fail("joined cells differ", i + 1);
  }
  if (!list.text(static_cast<int32_t>(rowCount + 1), 1).empty()) return "a cell below the last row has text";

  // ---- save and read again -----------------------------------------------------------
  auto saved = std::make_shared<std::string>();
  std::string expectBytes = platform->toAnsi(ledgerHeaderLine(list)) + "\r\n";
  try {
    SaveFile out;
    out.attachWriter(std::make_unique<MemorySink>(saved), bufferSize + 1);
    writeLedger(out, list);
    out.close();
  } catch (const std::exception& e) {
    return std::string("saving raised: ") + e.what();
  }
  for (int32_t r = 1; r <= static_cast<int32_t>(rowCount); ++r) {
    ustring scratch;
    expectBytes += platform->toAnsi(list.joinedCells(r, scratch)) + "\r\n";
  }
  if (*saved != expectBytes) return "saved bytes differ from the header and rows with CR LF";
  LedgerContents again;
  try {
    SaveFile file;
    file.attachReader(std::make_unique<MemorySource>(*saved, chunk), bufferSize);
    again = readLedger(file);
  } catch (const std::exception& e) {
    return std::string("reading the saved file raised: ") + e.what();
  }
  if (std::string broken = compareLedger(again, referenceLedger(*saved, *platform), "reread"); !broken.empty())
    return broken;
  if (!again.header.empty() && again.columns.size() != got.columns.size()) return "a saved header has other columns";
  return {};
}

}  // namespace lumo::display::fuzz
