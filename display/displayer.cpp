#include "display/displayer.h"

#include <algorithm>

#include "display/ledger.h"
#include "host/language.h"
#include "host/services.h"

namespace lumo::display {

namespace {

struct MenuText {
  const char16_t* name;
  const char16_t* caption;
};

// In the order of DisplayMenu.
const MenuText kMenus[kDisplayMenuCount] = {
    {u"mnuFile", u"文件(&F)"},
    {u"mnuFileOpen", u"打开"},
    {u"mnuFileSave", u"保存"},
    {u"mnuFilePrint", u"打印"},
    {u"mnuFilePrintSetup", u"打印设置"},
    {u"mnuFilePreview", u"打印预览(&P)"},
    {u"mnuFileClose", u"退出(&X)"},
    {u"mnuFormat", u"选项(&O)"},
    {u"mnuFormatPageSetup", u"页面设置(&G)..."},
    {u"mnuFormatTitleFont", u"标题字体(&T)..."},
    {u"mnuFormatFont", u"表格字体(&F)..."},
    {u"mnuView", u"视图(&V)"},
    {u"mnuViewToolbar", u"工具栏(&T)"},
    {u"mnuViewStatusBar", u"状态栏(&B)"},
    {u"mnuVDetailInfo", u"详细资料"},
    {u"mnuHelp", u"帮助(&H)"},
    {u"mnuHelpContents", u"目录(&C)"},
    {u"mnuHelpSearchForHelpOn", u"搜索帮助主题(&S)..."},
    {u"mnuHelpAbout", u"关于(&A) "},  // the trailing blank belongs to the caption
};

struct ToolText {
  const char16_t* key;
  const char16_t* caption;
  const char16_t* toolTip;
};

const ToolText kTools[5] = {
    {u"Open", u"打开", u"打开"},
    {u"Save", u"保存", u"保存"},
    {u"Print", u"打印", u"打印"},
    {u"PrintView", u"预览", u"打印预览"},
    {u"Exit", u"退出", u"退出"},
};

}  // namespace

const char16_t* const kToolButtonKeys[5] = {u"Open", u"Save", u"Print", u"PrintView", u"Exit"};
const char16_t* const kStatusPanelWait = u"Wait";
const char16_t* const kStatusPanelRows = u"Rows";

const char16_t* listCommandKey(ListCommand command) { return command == ListCommand::Copy ? u"复制" : u"全选"; }
const char16_t* const kDefaultCaption = u"Lumo显示器";
const char16_t* const kLedgerFilter = u"All Files (*.*)|*.*|Ledger Files" u"(*.ldg)|*.ldg";

const char16_t* menuName(DisplayMenu item) { return kMenus[static_cast<int>(item)].name; }
const char16_t* menuCaptionKey(DisplayMenu item) { return kMenus[static_cast<int>(item)].caption; }

DisplayerPresenter::DisplayerPresenter(DisplayerView& view) : view_(view) {
  for (const ToolText& t : kTools) toolButtons_[t.key] = ToolButton{t.caption, t.toolTip};
}

void DisplayerPresenter::load() {
  if (loaded_) return;
  loaded_ = true;

  caption_ = loadVtString(kDefaultCaption);
  baseCaption_ = caption_;
  view_.setCaption(caption_);
  for (int i = 0; i < kDisplayMenuCount; ++i) view_.setMenuText(static_cast<DisplayMenu>(i), loadVtString(kMenus[i].caption));
  for (const ToolText& t : kTools) {
    ToolButton& b = toolButtons_[t.key];
    b.caption = loadVtString(t.caption);
    b.toolTip = loadVtString(t.toolTip);
    view_.setToolButtonCaption(t.key, b.caption);
    view_.setToolButtonToolTip(t.key, b.toolTip);
  }
  view_.setToolBarVisible(toolBarVisible_);
  view_.setStatusBarVisible(statusBarVisible_);
  view_.setMenuChecked(DisplayMenu::ViewToolbar, toolBarVisible_);
  view_.setMenuChecked(DisplayMenu::ViewStatusBar, statusBarVisible_);

  // One wide column until whoever fills the window sets the real ones.
  view_.setListBackColor(kListBackColor);
  setColumnCount(1);
  setColumnWidth(1, kLoadColumnWidth);
  const std::size_t entries = rowSets()->count();
  setRowCount(static_cast<int32_t>(std::min<std::size_t>(entries, INT32_MAX - 1) + 1));
  updateRowsPanel();
  view_.refreshList();
}

void DisplayerPresenter::activated() {
  updateRowsPanel();
  view_.refreshList();
}

void DisplayerPresenter::unload() {
  struct Reset {
    DisplayerPresenter& d;
    ~Reset() {
      d.needDisplay_ = 0;
      d.displayStyle_ = 0;
      d.loaded_ = false;
    }
  } reset{*this};
  if (needDisplay_ > 0 && displayStyle_ >= msgbox::vbOKOnly && displayStyle_ <= msgbox::vbRetryCancel)
    promptResult_ = msgBoxEx(promptContent_, displayStyle_ + msgbox::vbInformation, promptTitle_);
}

void DisplayerPresenter::setCaption(const ustring& text) {
  caption_ = text;
  view_.setCaption(text);
}

ustring DisplayerPresenter::toolButtonCaption(const ustring& key) const {
  auto it = toolButtons_.find(key);
  if (it == toolButtons_.end()) throw Error(errnum::InvalidCall);
  return it->second.caption;
}

ustring DisplayerPresenter::toolTip(const ustring& key) const {
  auto it = toolButtons_.find(key);
  if (it == toolButtons_.end()) throw Error(errnum::InvalidCall);
  return it->second.toolTip;
}

void DisplayerPresenter::setToolTip(const ustring& key, const ustring& text) {
  auto it = toolButtons_.find(key);
  if (it == toolButtons_.end()) throw Error(errnum::InvalidCall);
  it->second.toolTip = text;
  view_.setToolButtonToolTip(key, text);
}

void DisplayerPresenter::setStatus(const ustring& text) {
  statusText_ = text;
  view_.setStatusPanelText(kStatusPanelWait, text);
}

void DisplayerPresenter::setRowsText(const ustring& text) {
  rowsText_ = text;
  view_.setStatusPanelText(kStatusPanelRows, text);
}

void DisplayerPresenter::updateRowsPanel() {
  ustring text = formatResString(u"共 %1 行", {Variant(std::max(0, list_.rowCount() - 1))});
  if (selected_ > 1) text += u"  " + formatResString(u"已选 %1 行", {Variant(selected_)});
  setRowsText(text);
}

void DisplayerPresenter::selectionChanged(int32_t selected) {
  selected_ = std::max(0, selected);
  updateRowsPanel();
}

// ---- the list ------------------------------------------------------------------------

void DisplayerPresenter::setColumnCount(int32_t n) {
  list_.setColumnCount(n);
  view_.setListColumnCount(n);
}

void DisplayerPresenter::setColumnWidth(int32_t col, int32_t twips) {
  if (list_.setColumnWidth(col, twips)) view_.setListColumnWidth(col, twips);
}

void DisplayerPresenter::setColumnAlignment(int32_t col, int32_t code) {
  if (list_.setColumnAlignment(col, code)) view_.setListColumnAlignment(col, code);
}

void DisplayerPresenter::setRowCount(int32_t n) {
  const int32_t current = list_.currentRow();
  list_.setRowCount(n);
  view_.setListRowCount(n);
  if (list_.currentRow() != current) view_.setListCurrentRow(list_.currentRow());
}

void DisplayerPresenter::setCurrentRow(int32_t row) {
  if (list_.setCurrentRow(row)) view_.setListCurrentRow(row);
}

void DisplayerPresenter::setCellText(int32_t row, int32_t col, const ustring& text) {
  if (!list_.setText(row, col, text)) return;
  if (row == 0) view_.setListHeaderText(col, text);
  else view_.listCellChanged(row, col);
}

void DisplayerPresenter::clearList() {
  sortColumn_ = 0;
  sortDescending_ = false;
  list_.setRows(nullptr);  // a new, empty collection: a caller's own stays as it was
  list_.clearCells();
  for (int32_t c = 1; c <= list_.columnCount(); ++c) view_.setListHeaderText(c, list_.text(0, c));
  setRowCount(1);
  view_.refreshList();
}

// ---- commands ------------------------------------------------------------------------

void DisplayerPresenter::menuClicked(DisplayMenu item) {
  switch (item) {
    case DisplayMenu::FileOpen: open(); break;
    case DisplayMenu::FileSave: save(); break;
    case DisplayMenu::FilePrint: print(); break;
    case DisplayMenu::FilePrintSetup: printSetup(); break;
    case DisplayMenu::FilePreview: preview(); break;
    case DisplayMenu::FileClose: close(); break;
    case DisplayMenu::FormatFont: chooseListFont(); break;
    case DisplayMenu::ViewToolbar: toggleToolBar(); break;
    case DisplayMenu::ViewStatusBar: toggleStatusBar(); break;
    case DisplayMenu::HelpContents:
    case DisplayMenu::HelpSearchForHelpOn: help(); break;
    default:
      // The menus themselves, page setup, title font, details and about carry
      // their captions only.
      break;
  }
}

void DisplayerPresenter::toolButtonClicked(const ustring& key) {
  if (key == u"Print") print();
  else if (key == u"PrintView") preview();
  else if (key == u"Open") open();
  else if (key == u"Save") save();
  else if (key == u"Exit") close();
}

void DisplayerPresenter::keyDown(int32_t keyCode, bool ctrl, bool shift) {
  if (keyCode == kKeyEscape) close();
  else if (keyCode == kKeyF1) help();
  else if (keyCode == kKeyF3) findAgain(!shift);
  else if (ctrl) {
    switch (keyCode) {
      case 'O': open(); break;
      case 'S': save(); break;
      case 'P': print(); break;
      case 'A': selectAll(); break;
      case 'C': copy(); break;
      case 'F': showFind(); break;
      default: break;
    }
  }
}

// ---- sorting, selection, clipboard, find ---------------------------------------------------

void DisplayerPresenter::columnClicked(int32_t col) {
  const bool descending = col == sortColumn_ && !sortDescending_;
  if (!list_.sortBy(col, descending, view_.collation())) return;
  sortColumn_ = col;
  sortDescending_ = descending;
  // The selection was of places, not of rows: only the current row, which
  // followed its entry, stays selected.
  view_.setListCurrentRow(list_.currentRow());
  view_.refreshList();
}

void DisplayerPresenter::columnResized(int32_t col, int32_t twips) { list_.setColumnWidth(col, twips); }

ustring DisplayerPresenter::listCommandText(ListCommand command) const { return loadVtString(listCommandKey(command)); }

void DisplayerPresenter::listCommand(ListCommand command) {
  if (command == ListCommand::Copy) copy();
  else selectAll();
}

void DisplayerPresenter::copy() {
  const std::vector<ui::RowRange> rows = view_.selectedRows();
  if (rows.empty()) return;
  // Another program holding the clipboard loses nothing: the selection stays
  // and the user copies again.
  const ui::CopyText text(list_, rows, view_.parallel());
  if (!view_.setClipboardText(text.size(), [&text](char16_t* out) { text.write(out); }))
    setRowsText(loadVtString(u"剪贴板正被其他程序使用，未能复制，请稍后再试"));
}

void DisplayerPresenter::find(const ui::FindRequest& request) {
  lastFind_ = request;
  searched_ = true;
  const int32_t row = ui::findRow(list_, list_.currentRow(), request);
  if (row < 1) {
    setRowsText(formatResString(u"找不到“%1”", {Variant(request.text)}));
    return;
  }
  list_.setCurrentRow(row);
  view_.setListCurrentRow(row);
}

void DisplayerPresenter::findAgain(bool down) {
  if (!searched_ || lastFind_.text.empty()) {
    showFind();
    return;
  }
  const bool dialogDirection = lastFind_.down;
  ui::FindRequest request = lastFind_;
  request.down = down;
  find(request);
  lastFind_.down = dialogDirection;  // the dialog keeps the direction the user chose there
}

void DisplayerPresenter::help() { showHelp(view_.windowHandle()); }

void DisplayerPresenter::save() {
  const FileChoice choice = view_.fileDialog(FileDialogKind::Save, kLedgerFilter, kLedgerFilterIndex, kFileDialogFlags);
  if (choice.cancelled) return;
  setStatus(loadVtString(u"保存 ..."));
  std::size_t replaced = 0;
  try {
    replaced = saveLedger(choice.path, list_);
  } catch (const std::exception&) {
    // Not reported: the status still says the save is under way, and nothing
    // claims that the file was saved.
    return;
  }
  fileName_ = choice.path;
  setCaption(baseCaption_ + u" - " + choice.path);
  setStatus(loadVtString(u"保存完毕"));
  if (replaced > 0)
    setRowsText(formatResString(u"%1 个字符不能按本机编码保存，已写作“?”",
                                {Variant(static_cast<int32_t>(std::min<std::size_t>(replaced, INT32_MAX)))}));
}

void DisplayerPresenter::open() {
  const FileChoice choice = view_.fileDialog(FileDialogKind::Open, kLedgerFilter, kLedgerFilterIndex, kFileDialogFlags);
  if (choice.cancelled) return;
  fileName_ = choice.path;
  setCaption(baseCaption_ + u" - " + choice.path);
  clearList();
  LedgerContents file;
  try {
    file = openLedger(choice.path);
  } catch (const std::exception&) {
    // Not reported: the list stays cleared.
    return;
  }
  if (file.header.empty()) return;
  const int32_t n = static_cast<int32_t>(std::min<std::size_t>(file.columns.size(), INT32_MAX));
  setColumnCount(n);
  for (int32_t c = 1; c <= n; ++c) {
    const HeaderColumn& h = file.columns[static_cast<std::size_t>(c - 1)];
    setCellText(0, c, h.title);
    // A title without a marker leaves the column's alignment as it was.
    if (h.marked) setColumnAlignment(c, h.alignment);
  }
  const std::size_t lines = file.rows ? file.rows->count() : 0;
  setRowSets(file.rows);
  setRowCount(static_cast<int32_t>(std::min<std::size_t>(lines, INT32_MAX - 1) + 1));
  updateRowsPanel();
  view_.refreshList();
}

void DisplayerPresenter::chooseListFont() {
  const FontChoice choice = view_.fontDialog(view_.listFont().name, kFontDialogFlags);
  if (choice.cancelled) return;
  view_.setListFont(choice.font);
}

void DisplayerPresenter::toggleToolBar() {
  toolBarVisible_ = !toolBarVisible_;
  view_.setToolBarVisible(toolBarVisible_);
  view_.setMenuChecked(DisplayMenu::ViewToolbar, toolBarVisible_);
  layout();
}

void DisplayerPresenter::toggleStatusBar() {
  statusBarVisible_ = !statusBarVisible_;
  view_.setStatusBarVisible(statusBarVisible_);
  view_.setMenuChecked(DisplayMenu::ViewStatusBar, statusBarVisible_);
  layout();
}

void DisplayerPresenter::layout() {
  const Size inner = view_.innerSize();
  const int32_t toolBar = toolBarVisible_ ? view_.toolBarHeight() : 0;
  const int32_t statusBar = statusBarVisible_ ? view_.statusBarHeight() : 0;
  // A window too small for both bars leaves the list with no height rather than a negative one.
  const int64_t height = int64_t(inner.height) - toolBar - statusBar;
  view_.moveList(Rect{.left = 0,
                      .top = toolBar,
                      .width = std::max(0, inner.width),
                      .height = static_cast<int32_t>(std::max<int64_t>(0, height))});
}

}  // namespace lumo::display
