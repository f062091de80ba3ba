// A display window for the tests: it records every call the presenter makes and
// answers the dialogs from queues the test fills.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "display/displayer.h"
#include "host/windows.h"

namespace lumo::display::test {

struct FileDialogCall {
  FileDialogKind kind;
  ustring filter;
  int32_t filterIndex;
  int32_t flags;
};

struct FontDialogCall {
  ustring fontName;
  int32_t flags;
};

class FakeView : public DisplayerView {
 public:
  // The presenter that closeWindow unloads, as a real window does.
  DisplayerPresenter* presenter = nullptr;

  // Every call in order: "setCaption(Lumo显示器)", "refreshList()", ...
  std::vector<std::string> calls;
  // Calls whose text starts with prefix.
  std::vector<std::string> callsStartingWith(const std::string& prefix) const;
  std::size_t count(const std::string& text) const;
  void clearCalls() { calls.clear(); }

  // What the window shows.
  ustring caption;
  std::map<DisplayMenu, ustring> menuTexts;
  std::map<DisplayMenu, bool> menuChecks;
  std::map<ustring, ustring> toolCaptions, toolTips;
  std::map<ustring, ustring> statusPanels;
  std::vector<ustring> statusHistory;  // every text the "Wait" panel got
  bool toolBarShown = false, statusBarShown = false;
  uint32_t listBackColor = 0;
  int32_t listColumns = -1, listRows = -1, listCurrentRow = -1;
  std::map<int32_t, int32_t> columnWidths, columnAlignments;
  std::map<int32_t, ustring> headerTexts;
  int refreshes = 0;
  Rect listRect{-1, -1, -1, -1};
  ListFont font{u"宋体", 9, false, false};
  int prints = 0, previews = 0, printSetups = 0;
  int16_t windowState = -1;
  int shows = 0;
  bool shownModal = false;
  int closes = 0;
  // The list's selection (a current row set by the presenter selects that row
  // alone, as the real list does), the clipboard and the find dialog.
  std::vector<ui::RowRange> selection;
  ustring clipboard;
  bool clipboardBusy = false;  // another program holds it open
  int findDialogs = 0;
  ui::FindRequest findDialogStart;

  // What the window answers.
  int32_t toolBarH = 420, statusBarH = 300;
  Size inner{9600, 7200};
  intptr_t handle = 0x1234;
  Rect rect{100, 80, 640, 480};
  std::deque<FileChoice> fileChoices;  // empty: the dialog is cancelled
  std::vector<FileDialogCall> fileDialogs;
  ui::OrdinalCollation ordinal;
  const ui::Collation* collationInUse = &ordinal;
  FontChoice fontChoice;  // cancelled unless the test says otherwise
  std::vector<FontDialogCall> fontDialogs;

  void setCaption(const ustring& text) override;
  void setMenuText(DisplayMenu item, const ustring& text) override;
  void setMenuChecked(DisplayMenu item, bool checked) override;
  void setToolButtonCaption(const ustring& key, const ustring& text) override;
  void setToolButtonToolTip(const ustring& key, const ustring& text) override;
  void setStatusPanelText(const ustring& panelKey, const ustring& text) override;
  void setToolBarVisible(bool visible) override;
  void setStatusBarVisible(bool visible) override;
  int32_t toolBarHeight() const override { return toolBarH; }
  int32_t statusBarHeight() const override { return statusBarH; }
  Size innerSize() const override { return inner; }
  void moveList(const Rect& r) override;
  void setListBackColor(uint32_t rgb) override;
  void setListColumnCount(int32_t n) override;
  void setListColumnWidth(int32_t col, int32_t twips) override;
  void setListColumnAlignment(int32_t col, int32_t code) override;
  void setListHeaderText(int32_t col, const ustring& text) override;
  void setListRowCount(int32_t rows) override;
  void setListCurrentRow(int32_t row) override;
  void listCellChanged(int32_t row, int32_t col) override;
  void refreshList() override;
  ListFont listFont() const override { return font; }
  void setListFont(const ListFont& f) override;
  const ui::Collation& collation() const override { return *collationInUse; }
  const ui::Parallel& parallel() const override { return ui::inTurn(); }
  std::vector<ui::RowRange> selectedRows() const override { return selection; }
  void selectAllRows() override;
  bool setClipboardText(std::size_t length, const std::function<void(char16_t*)>& write) override;
  void showFindDialog(const ui::FindRequest& start) override;
  void printList() override;
  void previewList() override;
  void printSetup() override;
  FileChoice fileDialog(FileDialogKind kind, const ustring& filter, int32_t filterIndex, int32_t flags) override;
  FontChoice fontDialog(const ustring& fontName, int32_t flags) override;
  intptr_t windowHandle() const override { return handle; }
  Rect windowRect() const override { return rect; }
  void setWindowState(int16_t state) override;
  void showWindow(bool modal) override;
  void closeWindow() override;
};

// A presenter and its fake view kept alive together.
struct FakeWindow {
  FakeView view;
  DisplayerPresenter presenter{view};
  FakeWindow() { view.presenter = &presenter; }
};

// Makes fake list windows and keeps a handle on each so that tests can look at
// them; 'none' makes it a factory without list windows.
class FakeWindowFactory : public WindowFactory {
 public:
  std::unique_ptr<CommandWindow> commandWindow(Command command) override;
  std::shared_ptr<DisplayerPresenter> listWindow() override;
  std::vector<std::weak_ptr<FakeWindow>> made;
  bool none = false;
  FakeWindow& last();
};

}  // namespace lumo::display::test
