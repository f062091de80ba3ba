#include "fake_view.h"

#include <stdexcept>

#include "tests/support/text.h"

namespace lumo::display::test {

namespace {
using lumo::test::u8;
std::string num(long long v) { return std::to_string(v); }
}  // namespace

std::vector<std::string> FakeView::callsStartingWith(const std::string& prefix) const {
  std::vector<std::string> out;
  for (const std::string& c : calls)
    if (c.compare(0, prefix.size(), prefix) == 0) out.push_back(c);
  return out;
}

std::size_t FakeView::count(const std::string& text) const {
  std::size_t n = 0;
  for (const std::string& c : calls) n += c == text;
  return n;
}

void FakeView::setCaption(const ustring& text) {
  calls.push_back("setCaption(" + u8(text) + ")");
  caption = text;
}

void FakeView::setMenuText(DisplayMenu item, const ustring& text) {
  calls.push_back("setMenuText(" + u8(menuName(item)) + ", " + u8(text) + ")");
  menuTexts[item] = text;
}

void FakeView::setMenuChecked(DisplayMenu item, bool checked) {
  calls.push_back("setMenuChecked(" + u8(menuName(item)) + ", " + (checked ? "true" : "false") + ")");
  menuChecks[item] = checked;
}

void FakeView::setToolButtonCaption(const ustring& key, const ustring& text) {
  calls.push_back("setToolButtonCaption(" + u8(key) + ", " + u8(text) + ")");
  toolCaptions[key] = text;
}

void FakeView::setToolButtonToolTip(const ustring& key, const ustring& text) {
  calls.push_back("setToolButtonToolTip(" + u8(key) + ", " + u8(text) + ")");
  toolTips[key] = text;
}

void FakeView::setStatusPanelText(const ustring& panelKey, const ustring& text) {
  calls.push_back("setStatusPanelText(" + u8(panelKey) + ", " + u8(text) + ")");
  statusPanels[panelKey] = text;
  if (panelKey == u"Wait") statusHistory.push_back(text);
}

void FakeView::setToolBarVisible(bool visible) {
  calls.push_back(std::string("setToolBarVisible(") + (visible ? "true" : "false") + ")");
  toolBarShown = visible;
}

void FakeView::setStatusBarVisible(bool visible) {
  calls.push_back(std::string("setStatusBarVisible(") + (visible ? "true" : "false") + ")");
  statusBarShown = visible;
}

void FakeView::moveList(const Rect& r) {
  calls.push_back("moveList(" + num(r.left) + ", " + num(r.top) + ", " + num(r.width) + ", " + num(r.height) + ")");
  listRect = r;
}

void FakeView::setListBackColor(uint32_t rgb) {
  calls.push_back("setListBackColor(" + num(rgb) + ")");
  listBackColor = rgb;
}

void FakeView::setListColumnCount(int32_t n) {
  calls.push_back("setListColumnCount(" + num(n) + ")");
  listColumns = n;
}

void FakeView::setListColumnWidth(int32_t col, int32_t twips) {
  calls.push_back("setListColumnWidth(" + num(col) + ", " + num(twips) + ")");
  columnWidths[col] = twips;
}

void FakeView::setListColumnAlignment(int32_t col, int32_t code) {
  calls.push_back("setListColumnAlignment(" + num(col) + ", " + num(code) + ")");
  columnAlignments[col] = code;
}

void FakeView::setListHeaderText(int32_t col, const ustring& text) {
  calls.push_back("setListHeaderText(" + num(col) + ", " + u8(text) + ")");
  headerTexts[col] = text;
}

void FakeView::setListRowCount(int32_t rows) {
  calls.push_back("setListRowCount(" + num(rows) + ")");
  listRows = rows;
}

void FakeView::setListCurrentRow(int32_t row) {
  calls.push_back("setListCurrentRow(" + num(row) + ")");
  listCurrentRow = row;
  selection.clear();
  if (row >= 1) selection.push_back({row, row});
}

void FakeView::selectAllRows() {
  calls.push_back("selectAllRows()");
  selection.clear();
  if (listRows > 1) selection.push_back({1, listRows - 1});
}

bool FakeView::setClipboardText(std::size_t length, const std::function<void(char16_t*)>& write) {
  calls.push_back("setClipboardText()");
  if (clipboardBusy) return false;
  // One unit more than asked for: writing past the length shows as a changed end.
  ustring text(length + 1, u'#');
  write(text.data());
  if (text.back() != u'#') throw std::logic_error("the clipboard text was written past the length given");
  text.pop_back();
  clipboard = text;
  return true;
}

void FakeView::showFindDialog(const ui::FindRequest& start) {
  calls.push_back("showFindDialog()");
  ++findDialogs;
  findDialogStart = start;
}

void FakeView::listCellChanged(int32_t row, int32_t col) {
  calls.push_back("listCellChanged(" + num(row) + ", " + num(col) + ")");
}

void FakeView::refreshList() {
  calls.push_back("refreshList()");
  ++refreshes;
}

void FakeView::setListFont(const ListFont& f) {
  calls.push_back("setListFont(" + u8(f.name) + ", " + std::to_string(f.size) + ", " + (f.bold ? "bold" : "regular") +
                  ", " + (f.italic ? "italic" : "upright") + ")");
  font = f;
}

void FakeView::printList() {
  calls.push_back("printList()");
  ++prints;
}

void FakeView::previewList() {
  calls.push_back("previewList()");
  ++previews;
}

void FakeView::printSetup() {
  calls.push_back("printSetup()");
  ++printSetups;
}

FileChoice FakeView::fileDialog(FileDialogKind kind, const ustring& filter, int32_t filterIndex, int32_t flags) {
  calls.push_back(std::string("fileDialog(") + (kind == FileDialogKind::Save ? "save" : "open") + ")");
  fileDialogs.push_back({kind, filter, filterIndex, flags});
  if (fileChoices.empty()) return FileChoice{};
  FileChoice c = fileChoices.front();
  fileChoices.pop_front();
  return c;
}

FontChoice FakeView::fontDialog(const ustring& fontName, int32_t flags) {
  calls.push_back("fontDialog(" + u8(fontName) + ", " + num(flags) + ")");
  fontDialogs.push_back({fontName, flags});
  return fontChoice;
}

void FakeView::setWindowState(int16_t state) {
  calls.push_back("setWindowState(" + num(state) + ")");
  windowState = state;
}

void FakeView::showWindow(bool modal) {
  calls.push_back(std::string("showWindow(") + (modal ? "modal" : "modeless") + ")");
  ++shows;
  shownModal = modal;
}

void FakeView::closeWindow() {
  calls.push_back("closeWindow()");
  ++closes;
  if (presenter) presenter->unload();
}

std::unique_ptr<CommandWindow> FakeWindowFactory::commandWindow(Command) {
  throw Error(errnum::CannotCreateObject, u"no command windows here");
}

std::shared_ptr<DisplayerPresenter> FakeWindowFactory::listWindow() {
  if (none) return nullptr;
  auto w = std::make_shared<FakeWindow>();
  made.push_back(w);
  return std::shared_ptr<DisplayerPresenter>(w, &w->presenter);
}

FakeWindow& FakeWindowFactory::last() {
  if (made.empty() || made.back().expired()) throw std::logic_error("no live fake window");
  return *made.back().lock();
}

}  // namespace lumo::display::test
