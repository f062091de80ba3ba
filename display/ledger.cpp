#include "display/ledger.h"

#include "automation/prefetch.h"

namespace lumo::display {

namespace {
const char16_t* const kMarkers[] = {u"字符", u"数字", u"中间"};
}

ustring alignmentMarker(int32_t alignment) {
  if (alignment < 0 || alignment > 2) return {};
  return kMarkers[alignment];
}

ustring ledgerHeaderLine(const ListModel& list) {
  ustring line;
  for (int32_t c = 1; c <= list.columnCount(); ++c) {
    line += list.text(0, c);
    const ustring marker = alignmentMarker(list.column(c).alignment);
    if (!marker.empty()) {
      line += u'(';
      line += marker;
      line += u')';
    }
    line += u'\t';
  }
  return line;
}

std::vector<HeaderColumn> parseLedgerHeader(ustring_view header) {
  std::vector<HeaderColumn> columns;
  std::size_t start = 0;
  for (;;) {
    const std::size_t tab = header.find(u'\t', start);
    if (tab == ustring_view::npos) break;
    HeaderColumn col;
    col.title = ustring(header.substr(start, tab - start));
    // The title keeps its marker; the marker only sets the alignment.
    for (int32_t a = 0; a < 3; ++a) {
      if (col.title.ends_with(u"(" + ustring(kMarkers[a]) + u")")) {
        col.marked = true;
        col.alignment = a;
      }
    }
    columns.push_back(std::move(col));
    start = tab + 1;
  }
  return columns;
}

void writeLedger(SaveFile& file, const ListModel& list) {
  file.writeTo(ledgerHeaderLine(list));
  ustring scratch;
  for (int32_t r = 1; r < list.rowCount(); ++r) {
    list.willRead(r + kReadAhead);
    file.writeTo(list.joinedCells(r, scratch));
  }
}

std::size_t saveLedger(const ustring& path, const ListModel& list) {
  SaveFile file;
  file.setAction(action::SaveFile);
  file.setFileName(path);
  writeLedger(file, list);
  // Only a file whose every byte reached the system counts as saved.
  file.close();
  return file.replacedChars();
}

LedgerContents readLedger(SaveFile& file) {
  LedgerContents out;
  out.header = file.readFirstLine();
  if (!out.header.empty()) {
    out.columns = parseLedgerHeader(out.header);
    out.rows = file.readLeftLines();
  }
  out.lineNum = file.lineNum();
  return out;
}

LedgerContents openLedger(const ustring& path) {
  SaveFile file;
  file.setAction(action::OpenFile);
  file.setFileName(path);
  return readLedger(file);
}

}  // namespace lumo::display
