// The display window frmDisplayer: a list with a caption, a menu bar, a tool bar
// and a status bar, which shows, prints, previews, saves and reopens a table.
// DisplayerPresenter holds every rule of the window; DisplayerView is what the window
// itself must do (the Win32 window implements it, tests fake it).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "automation/object.h"
#include "display/list_model.h"
#include "ui/list_table.h"

namespace lumo::display {

// The menu items, named as the program names them (menuName).
enum class DisplayMenu {
  File,
  FileOpen,
  FileSave,
  FilePrint,
  FilePrintSetup,
  FilePreview,
  FileClose,
  Format,
  FormatPageSetup,
  FormatTitleFont,
  FormatFont,
  View,
  ViewToolbar,
  ViewStatusBar,
  VDetailInfo,
  Help,
  HelpContents,
  HelpSearchForHelpOn,
  HelpAbout,
};
constexpr int kDisplayMenuCount = static_cast<int>(DisplayMenu::HelpAbout) + 1;

// "mnuFileOpen" and the like.
const char16_t* menuName(DisplayMenu item);
// The caption of a menu item as the program writes it (the lookup key).
const char16_t* menuCaptionKey(DisplayMenu item);

// The tool-bar buttons in order, by key.
extern const char16_t* const kToolButtonKeys[5];  // "Open", "Save", "Print", "PrintView", "Exit"
extern const char16_t* const kStatusPanelWait;    // "Wait"
extern const char16_t* const kStatusPanelRows;    // "Rows": the row counts, and what the list's own commands report
extern const char16_t* const kDefaultCaption;     // "Lumo显示器"

// Texts and numbers handed to the file dialogs.
extern const char16_t* const kLedgerFilter;  // "All Files (*.*)|*.*|Ledger Files(*.ldg)|*.ldg"
constexpr int32_t kLedgerFilterIndex = 2;
constexpr int32_t kFileDialogFlags = 4;   // the read-only box is hidden
constexpr int32_t kFontDialogFlags = 771;
constexpr uint32_t kListBackColor = 0xFFFFFF;  // RGB(255, 255, 255)
constexpr int32_t kLoadColumnWidth = 7640;   // twips
constexpr int32_t kKeyEscape = 27;
constexpr int32_t kKeyF1 = 112;
constexpr int32_t kKeyF3 = 114;

// The list's context menu, in its order.
enum class ListCommand { Copy, SelectAll };
constexpr int kListCommandCount = 2;
// "复制", "全选": the lookup keys of the context menu's items.
const char16_t* listCommandKey(ListCommand command);

enum class FileDialogKind { Save, Open };

struct FileChoice {
  bool cancelled = true;
  ustring path;
};

struct ListFont {
  ustring name;
  double size = 9;
  bool bold = false;
  bool italic = false;
};

struct FontChoice {
  bool cancelled = true;
  ListFont font;
};

struct Rect {
  int32_t left = 0, top = 0, width = 0, height = 0;
  bool operator==(const Rect&) const = default;
};

struct Size {
  int32_t width = 0, height = 0;
};

// What the window does when the presenter asks. Lengths in the layout calls are
// in one unit of the view's choosing (the inner size, the bar heights and the
// list rectangle agree); the list's column widths are twips; the window's own
// rectangle is in screen pixels, the unit of the system's window calls.
class DisplayerView {
 public:
  virtual ~DisplayerView() = default;

  // ---- captions and texts --------------------------------------------------------
  virtual void setCaption(const ustring& text) = 0;
  virtual void setMenuText(DisplayMenu item, const ustring& text) = 0;
  virtual void setMenuChecked(DisplayMenu item, bool checked) = 0;
  virtual void setToolButtonCaption(const ustring& key, const ustring& text) = 0;
  virtual void setToolButtonToolTip(const ustring& key, const ustring& text) = 0;
  virtual void setStatusPanelText(const ustring& panelKey, const ustring& text) = 0;

  // ---- bars and layout -------------------------------------------------------------
  virtual void setToolBarVisible(bool visible) = 0;
  virtual void setStatusBarVisible(bool visible) = 0;
  // The bars' own heights, whether shown or not.
  virtual int32_t toolBarHeight() const = 0;
  virtual int32_t statusBarHeight() const = 0;
  virtual Size innerSize() const = 0;
  virtual void moveList(const Rect& r) = 0;

  // ---- the list ----------------------------------------------------------------------
  // The view draws cells from the presenter's list(); these tell it what changed.
  virtual void setListBackColor(uint32_t rgb) = 0;
  virtual void setListColumnCount(int32_t count) = 0;
  virtual void setListColumnWidth(int32_t col, int32_t twips) = 0;
  virtual void setListColumnAlignment(int32_t col, int32_t code) = 0;
  virtual void setListHeaderText(int32_t col, const ustring& text) = 0;
  virtual void setListRowCount(int32_t rows) = 0;
  virtual void setListCurrentRow(int32_t row) = 0;
  virtual void listCellChanged(int32_t row, int32_t col) = 0;
  // Asks for the lines again (lineText) and redraws.
  virtual void refreshList() = 0;
  virtual ListFont listFont() const = 0;
  virtual void setListFont(const ListFont& font) = 0;
  // The order of texts in the user's language, for sorting.
  virtual const ui::Collation& collation() const = 0;
  // Where the parts of a large copy run.
  virtual const ui::Parallel& parallel() const = 0;
  // The selected data rows (list rows from 1), in order, as ranges.
  virtual std::vector<ui::RowRange> selectedRows() const = 0;
  // Selects every data row.
  virtual void selectAllRows() = 0;
  // Puts a text of 'length' UTF-16 units on the clipboard, written by 'write'
  // into the clipboard's own memory: false when another program holds it open.
  virtual bool setClipboardText(std::size_t length, const std::function<void(char16_t*)>& write) = 0;
  // Shows the find dialog (brings it forward when it is open) starting with 'start'.
  virtual void showFindDialog(const ui::FindRequest& start) = 0;
  // The list's printing object.
  virtual void printList() = 0;
  virtual void previewList() = 0;
  virtual void printSetup() = 0;

  // ---- dialogs ----------------------------------------------------------------------
  virtual FileChoice fileDialog(FileDialogKind kind, const ustring& filter, int32_t filterIndex, int32_t flags) = 0;
  virtual FontChoice fontDialog(const ustring& fontName, int32_t flags) = 0;

  // ---- the window ------------------------------------------------------------------
  virtual intptr_t windowHandle() const = 0;
  virtual Rect windowRect() const = 0;
  virtual void setWindowState(int16_t state) = 0;
  virtual void showWindow(bool modal) = 0;
  // Closes the window. However the window closes (this call, the title bar, the
  // system), the view calls DisplayerPresenter::unload once before it goes.
  virtual void closeWindow() = 0;
};

class DisplayerPresenter {
 public:
  explicit DisplayerPresenter(DisplayerView& view);

  // ---- lifetime ------------------------------------------------------------------------
  // The window's load: captions through the resource lookup, a white list of one
  // column 7640 twips wide with one line per row entry plus the title line, both
  // bars shown. Runs once until the window is unloaded; later calls do nothing.
  void load();
  bool loaded() const { return loaded_; }
  // Each activation refreshes the list.
  void activated();
  // The window goes: the closing prompt (see NeedDisplay), then the prompt
  // settings are reset.
  void unload();

  // ---- what other windows fill -----------------------------------------------------------
  const ustring& titles() const { return list_.titles(); }
  void setTitles(const ustring& t) { list_.setTitles(t); }
  const std::shared_ptr<Collection>& rowSets() const { return list_.rows(); }
  void setRowSets(std::shared_ptr<Collection> rows) { list_.setRows(std::move(rows)); }

  const ustring& promptContent() const { return promptContent_; }
  void setPromptContent(const ustring& t) { promptContent_ = t; }
  const ustring& promptTitle() const { return promptTitle_; }
  void setPromptTitle(const ustring& t) { promptTitle_ = t; }
  int32_t needDisplay() const { return needDisplay_; }
  void setNeedDisplay(int32_t n) { needDisplay_ = n; }
  int32_t displayStyle() const { return displayStyle_; }
  void setDisplayStyle(int32_t s) { displayStyle_ = s; }
  int32_t promptResult() const { return promptResult_; }

  const ustring& caption() const { return caption_; }
  void setCaption(const ustring& text);
  const ustring& baseCaption() const { return baseCaption_; }
  void setBaseCaption(const ustring& text) { baseCaption_ = text; }
  // The file last saved or opened.
  const ustring& fileName() const { return fileName_; }

  ustring toolButtonCaption(const ustring& key) const;
  // The tool tip of a button; raises 5 for a key the tool bar does not have.
  ustring toolTip(const ustring& key) const;
  void setToolTip(const ustring& key, const ustring& text);
  const ustring& statusText() const { return statusText_; }
  bool toolBarVisible() const { return toolBarVisible_; }
  bool statusBarVisible() const { return statusBarVisible_; }

  // ---- the list ----------------------------------------------------------------------------
  const ListModel& list() const { return list_; }
  // The list's data request for line r (1-based).
  ustring lineText(int32_t r) const { return list_.line(r); }
  void setColumnCount(int32_t n);
  void setColumnWidth(int32_t col, int32_t twips);
  void setColumnAlignment(int32_t col, int32_t code);
  void setRowCount(int32_t n);
  void setCurrentRow(int32_t row);
  // The user moved the list's focus to a row: it is the current row, and the
  // list's marks stay as the user left them.
  void focusMoved(int32_t row) { list_.setCurrentRow(row); }
  void setCellText(int32_t row, int32_t col, const ustring& text);

  // ---- commands -------------------------------------------------------------------------------
  void menuClicked(DisplayMenu item);
  // "Print", "PrintView", "Open", "Save", "Exit"; any other key does nothing.
  void toolButtonClicked(const ustring& key);
  // Esc closes the window, F1 opens the help, F3 finds the next row holding the
  // text last searched for (Shift+F3 the one before); with Ctrl: O opens, S
  // saves, P prints, A selects every row, C copies, F opens the find dialog.
  void keyDown(int32_t keyCode, bool ctrl = false, bool shift = false);
  // The window's inner size changed.
  void resized() { layout(); }

  void save();
  void open();
  void print() { view_.printList(); }
  void preview() { view_.previewList(); }
  void printSetup() { view_.printSetup(); }
  void chooseListFont();
  void toggleToolBar();
  void toggleStatusBar();
  void help();
  void close() { view_.closeWindow(); }
  // Puts the list below the tool bar and above the status bar.
  void layout();

  // ---- what the list does beyond a plain grid ------------------------------------------------
  // A click on column col's head: sorts the rows on it, ascending, or the other
  // way round when the rows are sorted on that column already.
  void columnClicked(int32_t col);
  // The column the rows were last sorted on (0: none) and in which direction.
  int32_t sortColumn() const { return sortColumn_; }
  bool sortDescending() const { return sortDescending_; }
  // The user gave a column another width (twips): the column keeps it.
  void columnResized(int32_t col, int32_t twips);
  // The number of selected rows changed.
  void selectionChanged(int32_t selected);
  int32_t selectedCount() const { return selected_; }
  // The rows panel shows the row count again (after rows came or went).
  void updateRowsPanel();
  const ustring& rowsText() const { return rowsText_; }
  // The context menu's item texts, looked up, and its commands.
  ustring listCommandText(ListCommand command) const;
  void listCommand(ListCommand command);
  // The header and the selected rows onto the clipboard as tab-separated lines.
  void copy();
  void selectAll() { view_.selectAllRows(); }
  void showFind() { view_.showFindDialog(lastFind_); }
  // Selects and shows the next row (searched from the current one) that holds
  // the text; says in the rows panel when none does.
  void find(const ui::FindRequest& request);
  // The last search again, downwards or upwards; the find dialog when there was none.
  void findAgain(bool down);
  const ui::FindRequest& lastFind() const { return lastFind_; }

  // ---- the window, for whoever shows it ---------------------------------------------------
  intptr_t windowHandle() const { return view_.windowHandle(); }
  Rect windowRect() const { return view_.windowRect(); }
  void setWindowState(int16_t state) { view_.setWindowState(state); }
  void show(bool modal) { view_.showWindow(modal); }
  DisplayerView& view() { return view_; }

 private:
  struct ToolButton {
    ustring caption, toolTip;
  };
  void setStatus(const ustring& text);
  void setRowsText(const ustring& text);
  // Empties the list before a file is read into it.
  void clearList();

  DisplayerView& view_;
  ListModel list_;
  bool loaded_ = false;
  ustring caption_, baseCaption_, fileName_;
  ustring promptContent_, promptTitle_;
  int32_t needDisplay_ = 0;
  int32_t displayStyle_ = 0;
  int32_t promptResult_ = 0;
  std::map<ustring, ToolButton> toolButtons_;
  ustring statusText_;
  bool toolBarVisible_ = true;
  bool statusBarVisible_ = true;
  int32_t sortColumn_ = 0;
  bool sortDescending_ = false;
  int32_t selected_ = 0;
  ustring rowsText_;
  ui::FindRequest lastFind_;
  bool searched_ = false;
};

}  // namespace lumo::display
