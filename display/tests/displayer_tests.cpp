// The display window's rules: captions on load, lines on demand, tool bar and
// menus, saving and opening ledger files, the closing prompt, layout and help.
#include <gtest/gtest.h>

#include <memory>

#include "display/displayer.h"
#include "display/ledger.h"
#include "display_test.h"
#include "fake_view.h"

namespace lumo::display::test {
namespace {

class DisplayerTest : public DisplayTest {
 protected:
  FakeWindow w;
  FakeView& view = w.view;
  DisplayerPresenter& d = w.presenter;

  // A loaded window holding two columns and rows, as a caller fills it.
  void fillTwoColumns() {
    d.setTitles(u"姓名\t金额|");
    auto rows = std::make_shared<Collection>();
    rows->add(Variant(u"张三\t12.50"));
    rows->add(Variant(u"李四\t8"));
    d.setRowSets(rows);
    d.load();
    d.setColumnCount(2);
    d.setColumnAlignment(2, align::Number);
    d.setCellText(0, 1, u"姓名");
    d.setCellText(0, 2, u"金额");
    d.setRowCount(3);
  }
  void choose(const ustring& p) { view.fileChoices.push_back(FileChoice{false, p}); }
};

// ---- load ------------------------------------------------------------------------

TEST_F(DisplayerTest, LoadSetsTheDefaultCaptionAsBaseCaption) {
  d.load();
  EXPECT_EQ(view.caption, u"Lumo显示器");
  EXPECT_EQ(d.caption(), u"Lumo显示器");
  EXPECT_EQ(d.baseCaption(), u"Lumo显示器");
}

TEST_F(DisplayerTest, LoadSetsEveryMenuCaption) {
  d.load();
  const std::pair<DisplayMenu, const char16_t*> expected[] = {
      {DisplayMenu::File, u"文件(&F)"},
      {DisplayMenu::FileOpen, u"打开"},
      {DisplayMenu::FileSave, u"保存"},
      {DisplayMenu::FilePrint, u"打印"},
      {DisplayMenu::FilePrintSetup, u"打印设置"},
      {DisplayMenu::FilePreview, u"打印预览(&P)"},
      {DisplayMenu::FileClose, u"退出(&X)"},
      {DisplayMenu::Format, u"选项(&O)"},
      {DisplayMenu::FormatPageSetup, u"页面设置(&G)..."},
      {DisplayMenu::FormatTitleFont, u"标题字体(&T)..."},
      {DisplayMenu::FormatFont, u"表格字体(&F)..."},
      {DisplayMenu::View, u"视图(&V)"},
      {DisplayMenu::ViewToolbar, u"工具栏(&T)"},
      {DisplayMenu::ViewStatusBar, u"状态栏(&B)"},
      {DisplayMenu::VDetailInfo, u"详细资料"},
      {DisplayMenu::Help, u"帮助(&H)"},
      {DisplayMenu::HelpContents, u"目录(&C)"},
      {DisplayMenu::HelpSearchForHelpOn, u"搜索帮助主题(&S)..."},
      {DisplayMenu::HelpAbout, u"关于(&A) "},
  };
  EXPECT_EQ(view.menuTexts.size(), std::size(expected));
  for (const auto& [item, text] : expected) EXPECT_EQ(view.menuTexts[item], text) << toUtf8(menuName(item));
}

TEST_F(DisplayerTest, MenuItemsKeepTheProgramsNames) {
  EXPECT_EQ(ustring(menuName(DisplayMenu::FileOpen)), u"mnuFileOpen");
  EXPECT_EQ(ustring(menuName(DisplayMenu::VDetailInfo)), u"mnuVDetailInfo");
  EXPECT_EQ(ustring(menuName(DisplayMenu::HelpSearchForHelpOn)), u"mnuHelpSearchForHelpOn");
}

TEST_F(DisplayerTest, LoadSetsToolButtonCaptionsAndToolTips) {
  d.load();
  EXPECT_EQ(view.toolCaptions[u"Open"], u"打开");
  EXPECT_EQ(view.toolCaptions[u"Save"], u"保存");
  EXPECT_EQ(view.toolCaptions[u"Print"], u"打印");
  EXPECT_EQ(view.toolCaptions[u"PrintView"], u"预览");
  EXPECT_EQ(view.toolCaptions[u"Exit"], u"退出");
  EXPECT_EQ(view.toolTips[u"Open"], u"打开");
  EXPECT_EQ(view.toolTips[u"Save"], u"保存");
  EXPECT_EQ(view.toolTips[u"Print"], u"打印");
  EXPECT_EQ(view.toolTips[u"PrintView"], u"打印预览");
  EXPECT_EQ(view.toolTips[u"Exit"], u"退出");
  EXPECT_EQ(d.toolTip(u"PrintView"), u"打印预览");
  EXPECT_THROW(d.toolTip(u"Help"), Error);
}

TEST_F(DisplayerTest, CaptionsPassThroughTheResourceLookup) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader");
  d.load();
  EXPECT_EQ(view.caption, u"en:Lumo显示器");
  EXPECT_EQ(view.menuTexts[DisplayMenu::FileSave], u"en:保存");
  // The blank after the about caption is put back around the translation.
  EXPECT_EQ(view.menuTexts[DisplayMenu::HelpAbout], u"en:关于(&A) ");
  EXPECT_EQ(view.toolTips[u"PrintView"], u"en:打印预览");
  EXPECT_EQ(view.toolCaptions[u"PrintView"], u"en:预览");
}

TEST_F(DisplayerTest, LoadMakesOneWhiteColumnWithALinePerEntryPlusTheTitle) {
  auto rows = std::make_shared<Collection>();
  for (int i = 0; i < 4; ++i) rows->add(Variant(u"r" + toText(i)));
  d.setRowSets(rows);
  d.load();
  EXPECT_EQ(view.listBackColor, 0xFFFFFFu);
  EXPECT_EQ(view.listColumns, 1);
  EXPECT_EQ(view.columnWidths[1], 7640);
  EXPECT_EQ(d.list().column(1).width, 7640);
  EXPECT_EQ(view.listRows, 5);
  EXPECT_EQ(d.list().rowCount(), 5);
  EXPECT_EQ(view.calls.back(), "refreshList()");
}

TEST_F(DisplayerTest, LoadShowsBothBarsChecked) {
  d.load();
  EXPECT_TRUE(view.toolBarShown);
  EXPECT_TRUE(view.statusBarShown);
  EXPECT_TRUE(view.menuChecks[DisplayMenu::ViewToolbar]);
  EXPECT_TRUE(view.menuChecks[DisplayMenu::ViewStatusBar]);
}

TEST_F(DisplayerTest, LoadRunsOnceUntilTheWindowIsUnloaded) {
  d.load();
  d.setColumnCount(3);
  view.clearCalls();
  d.load();
  EXPECT_TRUE(view.calls.empty());
  EXPECT_EQ(d.list().columnCount(), 3);
  d.unload();
  d.load();
  EXPECT_EQ(d.list().columnCount(), 1);
}

TEST_F(DisplayerTest, EachActivationRefreshesTheList) {
  d.load();
  const int before = view.refreshes;
  d.activated();
  d.activated();
  EXPECT_EQ(view.refreshes, before + 2);
}

// ---- lines -----------------------------------------------------------------------

TEST_F(DisplayerTest, LineOneIsTitlesAndLineRIsEntryRMinusOneWithABar) {
  d.setTitles(u"显示信息|");
  auto rows = std::make_shared<Collection>();
  rows->add(Variant(u"启用[A]短信通知成功！"));
  rows->add(Variant(u"启用[B]短信通知成功！"));
  d.setRowSets(rows);
  d.load();
  EXPECT_EQ(d.lineText(1), u"显示信息|");
  EXPECT_EQ(d.lineText(2), u"启用[A]短信通知成功！|");
  EXPECT_EQ(d.lineText(3), u"启用[B]短信通知成功！|");
  EXPECT_EQ(d.lineText(4), u"");
  EXPECT_EQ(d.list().text(0, 1), u"显示信息");
  EXPECT_EQ(d.list().text(2, 1), u"启用[B]短信通知成功！");
}

TEST_F(DisplayerTest, RowSetsStartEmptyAndCanBeHandedOver) {
  ASSERT_TRUE(d.rowSets());
  EXPECT_EQ(d.rowSets()->count(), 0u);
  auto mine = std::make_shared<Collection>();
  d.setRowSets(mine);
  EXPECT_EQ(d.rowSets().get(), mine.get());
}

// ---- tool bar and menus ------------------------------------------------------------

TEST_F(DisplayerTest, ToolButtonsDispatchOnTheirKey) {
  d.load();
  d.toolButtonClicked(u"Print");
  EXPECT_EQ(view.prints, 1);
  d.toolButtonClicked(u"PrintView");
  EXPECT_EQ(view.previews, 1);
  d.toolButtonClicked(u"Open");
  ASSERT_EQ(view.fileDialogs.size(), 1u);
  EXPECT_EQ(view.fileDialogs[0].kind, FileDialogKind::Open);
  d.toolButtonClicked(u"Save");
  ASSERT_EQ(view.fileDialogs.size(), 2u);
  EXPECT_EQ(view.fileDialogs[1].kind, FileDialogKind::Save);
  d.toolButtonClicked(u"Exit");
  EXPECT_EQ(view.closes, 1);
}

TEST_F(DisplayerTest, OtherToolKeysDoNothing) {
  d.load();
  view.clearCalls();
  for (const char16_t* key : {u"", u"print", u"EXIT", u"Help", u"PrintSetup"}) d.toolButtonClicked(key);
  EXPECT_TRUE(view.calls.empty());
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(DisplayerTest, MenuItemsDoWhatTheirToolButtonsDo) {
  d.load();
  d.menuClicked(DisplayMenu::FilePrint);
  d.menuClicked(DisplayMenu::FilePreview);
  d.menuClicked(DisplayMenu::FilePrintSetup);
  EXPECT_EQ(view.prints, 1);
  EXPECT_EQ(view.previews, 1);
  EXPECT_EQ(view.printSetups, 1);
  d.menuClicked(DisplayMenu::FileOpen);
  d.menuClicked(DisplayMenu::FileSave);
  EXPECT_EQ(view.fileDialogs.size(), 2u);
  d.menuClicked(DisplayMenu::FileClose);
  EXPECT_EQ(view.closes, 1);
}

TEST_F(DisplayerTest, CaptionOnlyItemsDoNothing) {
  d.load();
  view.clearCalls();
  for (DisplayMenu m : {DisplayMenu::File, DisplayMenu::Format, DisplayMenu::View, DisplayMenu::Help,
                        DisplayMenu::FormatPageSetup, DisplayMenu::FormatTitleFont, DisplayMenu::VDetailInfo,
                        DisplayMenu::HelpAbout})
    d.menuClicked(m);
  EXPECT_TRUE(view.calls.empty());
  EXPECT_TRUE(fake.helpCalls.empty());
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(DisplayerTest, HelpItemsOpenTheHelpFile) {
  d.load();
  d.menuClicked(DisplayMenu::HelpContents);
  d.menuClicked(DisplayMenu::HelpSearchForHelpOn);
  ASSERT_EQ(fake.helpCalls.size(), 2u);
  EXPECT_EQ(fake.helpCalls[0].window, view.handle);
  EXPECT_EQ(fake.helpCalls[0].path, "C:\\Program Files\\Lumo\\SmsManager\\MobileService.chm");
  EXPECT_EQ(fake.helpCalls[0].command, 0u);
}

TEST_F(DisplayerTest, EscClosesAndF1OpensHelp) {
  d.load();
  d.keyDown(27);
  EXPECT_EQ(view.closes, 1);
  d.keyDown(112);
  EXPECT_EQ(fake.helpCalls.size(), 1u);
  d.keyDown(13);
  d.keyDown(65);
  EXPECT_EQ(view.closes, 1);
  EXPECT_EQ(fake.helpCalls.size(), 1u);
}

// ---- save --------------------------------------------------------------------------

TEST_F(DisplayerTest, TheSaveDialogGetsTheLedgerFilterIndexAndFlags) {
  d.load();
  d.save();
  ASSERT_EQ(view.fileDialogs.size(), 1u);
  EXPECT_EQ(view.fileDialogs[0].filter, u"All Files (*.*)|*.*|Ledger Files(*.ldg)|*.ldg");
  EXPECT_EQ(view.fileDialogs[0].filterIndex, 2);
  EXPECT_EQ(view.fileDialogs[0].flags, 4);
}

TEST_F(DisplayerTest, CancellingTheSaveDialogChangesNothing) {
  fillTwoColumns();
  view.clearCalls();
  d.save();
  EXPECT_EQ(view.calls, (std::vector<std::string>{"fileDialog(save)"}));
  EXPECT_EQ(d.statusText(), u"");
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(DisplayerTest, SavingWritesTheLedgerAndSaysSo) {
  fillTwoColumns();
  choose(path("out.ldg"));
  d.save();
  EXPECT_EQ(view.statusHistory, (std::vector<ustring>{u"保存 ...", u"保存完毕"}));
  EXPECT_EQ(view.statusPanels[u"Wait"], u"保存完毕");
  EXPECT_EQ(view.caption, u"Lumo显示器 - " + path("out.ldg"));
  EXPECT_EQ(d.baseCaption(), u"Lumo显示器");
  EXPECT_EQ(readBytes(file("out.ldg")), ansi(u"姓名(字符)\t金额(数字)\t") + "\r\n" + ansi(u"张三") + "\t12.50\r\n" +
                                            ansi(u"李四") + "\t8\r\n");
}

TEST_F(DisplayerTest, SavingTwiceAppendsTheNameToTheBaseCaptionOnly) {
  fillTwoColumns();
  choose(path("a.ldg"));
  choose(path("b.ldg"));
  d.save();
  d.save();
  EXPECT_EQ(view.caption, u"Lumo显示器 - " + path("b.ldg"));
}

TEST_F(DisplayerTest, ASaveThatFailsKeepsTheStatusSayingSaving) {
  fillTwoColumns();
  writeBytes(file("ro.ldg"), "old\r\n");
  makeReadOnly(file("ro.ldg"));
  choose(path("ro.ldg"));
  d.save();
  EXPECT_EQ(view.statusHistory, (std::vector<ustring>{u"保存 ..."}));
  EXPECT_EQ(view.caption, u"Lumo显示器");
  EXPECT_TRUE(fake.messageBoxes.empty());
  EXPECT_EQ(readBytes(file("ro.ldg")), "old\r\n");
}

TEST_F(DisplayerTest, ASaveIntoAMissingFolderIsNotReported) {
  fillTwoColumns();
  choose(path("no/such/folder.ldg"));
  d.save();
  EXPECT_EQ(d.statusText(), u"保存 ...");
  EXPECT_TRUE(fake.messageBoxes.empty());
}

#ifdef LUMO_HAVE_FILE_SIZE_LIMIT
TEST_F(DisplayerTest, ASaveThatFailsPartWayIsNeverReportedAsSaved) {
  d.load();
  d.setColumnCount(1);
  auto rows = std::make_shared<Collection>();
  for (int i = 0; i < 20000; ++i) rows->add(Variant(u"a row of some length " + toText(i)));
  d.setRowSets(rows);
  d.setRowCount(20001);
  choose(path("part.ldg"));
  {
    FileSizeLimit limit(100 * 1024);
    d.save();
  }
  EXPECT_EQ(view.statusHistory, (std::vector<ustring>{u"保存 ..."}));
  EXPECT_EQ(view.caption, u"Lumo显示器");
}
#endif

// ---- open --------------------------------------------------------------------------

TEST_F(DisplayerTest, OpeningReadsHeaderAndRowsIntoTheList) {
  writeBytes(file("in.ldg"), ansi(u"姓名(字符)\t金额(数字)\t部门(中间)\t") + "\r\n" + ansi(u"张三") + "\t1\t" +
                                 ansi(u"销售") + "\r\n" + ansi(u"李四") + "\t2\t" + ansi(u"财务") + "\r\n");
  d.load();
  choose(path("in.ldg"));
  d.open();
  EXPECT_EQ(view.caption, u"Lumo显示器 - " + path("in.ldg"));
  EXPECT_EQ(d.fileName(), path("in.ldg"));
  EXPECT_EQ(d.list().columnCount(), 3);
  EXPECT_EQ(view.listColumns, 3);
  EXPECT_EQ(d.list().text(0, 1), u"姓名(字符)");
  EXPECT_EQ(view.headerTexts[2], u"金额(数字)");
  EXPECT_EQ(d.list().column(1).alignment, 0);
  EXPECT_EQ(d.list().column(2).alignment, 1);
  EXPECT_EQ(view.columnAlignments[3], 2);
  EXPECT_EQ(d.rowSets()->count(), 2u);
  EXPECT_EQ(d.list().rowCount(), 3);
  EXPECT_EQ(view.listRows, 3);
  EXPECT_EQ(d.list().text(2, 3), u"财务");
  EXPECT_EQ(d.lineText(2), u"张三\t1\t销售|");
  EXPECT_EQ(view.calls.back(), "refreshList()");
}

TEST_F(DisplayerTest, OpeningEmptiesRowSetsWithoutTouchingTheCallersCollection) {
  auto mine = std::make_shared<Collection>();
  mine->add(Variant(u"kept"));
  d.setRowSets(mine);
  d.load();
  writeBytes(file("in.ldg"), "A\t\r\nx\r\n");
  choose(path("in.ldg"));
  d.open();
  EXPECT_NE(d.rowSets().get(), mine.get());
  EXPECT_EQ(mine->count(), 1u);
  EXPECT_EQ(d.rowSets()->count(), 1u);
  EXPECT_EQ(d.rowSets()->item(1).toString(), u"x");
}

TEST_F(DisplayerTest, ATitleWithoutAMarkerKeepsItsColumnsAlignment) {
  fillTwoColumns();  // column 2 aligned as numbers
  writeBytes(file("in.ldg"), "A\tB\t\r\n1\t2\r\n");
  choose(path("in.ldg"));
  d.open();
  EXPECT_EQ(d.list().column(1).alignment, 0);
  EXPECT_EQ(d.list().column(2).alignment, 1);
}

TEST_F(DisplayerTest, AnEmptyHeaderLeavesTheListCleared) {
  fillTwoColumns();
  writeBytes(file("e.ldg"), "\r\nA\tB\t\r\n");
  choose(path("e.ldg"));
  d.open();
  EXPECT_EQ(view.caption, u"Lumo显示器 - " + path("e.ldg"));
  EXPECT_EQ(d.rowSets()->count(), 0u);
  EXPECT_EQ(d.list().rowCount(), 1);
  EXPECT_EQ(view.listRows, 1);
  EXPECT_EQ(d.list().columnCount(), 2);
  EXPECT_FALSE(d.list().column(1).hasTitle);
}

TEST_F(DisplayerTest, AHeaderWithNoRowsOpensWithColumnsOnly) {
  d.load();
  writeBytes(file("h.ldg"), "A\tB\tC\t\r\n");
  choose(path("h.ldg"));
  d.open();
  EXPECT_EQ(d.list().columnCount(), 3);
  EXPECT_EQ(d.list().rowCount(), 1);
}

TEST_F(DisplayerTest, AFileSavedByTheWindowOpensWithExactlyItsColumns) {
  fillTwoColumns();
  choose(path("round.ldg"));
  d.save();
  FakeWindow other;
  other.presenter.load();
  other.view.fileChoices.push_back(FileChoice{false, path("round.ldg")});
  other.presenter.open();
  const ListModel& l = other.presenter.list();
  EXPECT_EQ(l.columnCount(), 2);
  EXPECT_EQ(l.text(0, 1), u"姓名(字符)");
  EXPECT_EQ(l.text(0, 2), u"金额(数字)");
  EXPECT_EQ(l.column(2).alignment, 1);
  EXPECT_EQ(l.rowCount(), 3);
  EXPECT_EQ(l.text(1, 2), u"12.50");
  EXPECT_EQ(l.text(2, 1), u"李四");
}

TEST_F(DisplayerTest, OpeningAMissingFileIsNotReportedAndLeavesTheListCleared) {
  fillTwoColumns();
  choose(path("missing.ldg"));
  d.open();
  EXPECT_TRUE(fake.messageBoxes.empty());
  EXPECT_EQ(view.caption, u"Lumo显示器 - " + path("missing.ldg"));
  EXPECT_EQ(d.rowSets()->count(), 0u);
  EXPECT_EQ(d.list().rowCount(), 1);
}

TEST_F(DisplayerTest, CancellingTheOpenDialogChangesNothing) {
  fillTwoColumns();
  auto rows = d.rowSets();
  view.clearCalls();
  d.open();
  EXPECT_EQ(view.calls, (std::vector<std::string>{"fileDialog(open)"}));
  EXPECT_EQ(d.rowSets().get(), rows.get());
  EXPECT_EQ(d.list().rowCount(), 3);
  EXPECT_EQ(view.fileDialogs[0].filterIndex, 2);
  EXPECT_EQ(view.fileDialogs[0].flags, 4);
  EXPECT_EQ(view.fileDialogs[0].filter, u"All Files (*.*)|*.*|Ledger Files(*.ldg)|*.ldg");
}

TEST_F(DisplayerTest, RowsWithMoreCellsThanColumnsShowTheirFirstCells) {
  d.load();
  writeBytes(file("w.ldg"), "A\tB\t\r\n1\t2\t3\t4\r\n");
  choose(path("w.ldg"));
  d.open();
  EXPECT_EQ(d.list().columnCount(), 2);
  EXPECT_EQ(d.list().text(1, 2), u"2");
  EXPECT_EQ(d.list().text(1, 3), u"");
  EXPECT_EQ(d.lineText(2), u"1\t2\t3\t4|");
}

// ---- closing -----------------------------------------------------------------------

TEST_F(DisplayerTest, AWindowWithNeedDisplayZeroClosesWithoutAPrompt) {
  d.load();
  d.setDisplayStyle(4);
  d.setPromptContent(u"继续？");
  d.close();
  EXPECT_TRUE(fake.messageBoxes.empty());
  EXPECT_EQ(d.displayStyle(), 0);
  EXPECT_EQ(d.promptResult(), 0);
}

TEST_F(DisplayerTest, NeedDisplayShowsThePromptAndKeepsItsAnswer) {
  d.load();
  d.setNeedDisplay(1);
  d.setDisplayStyle(4);
  d.setPromptContent(u"是否保存结果？");
  d.setPromptTitle(u"提示");
  fake.answers.push_back(7);
  d.close();
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].prompt, u"是否保存结果？");
  EXPECT_EQ(fake.messageBoxes[0].buttons, 4 + 64);
  EXPECT_EQ(fake.messageBoxes[0].title, u"提示");
  EXPECT_EQ(d.promptResult(), 7);
  EXPECT_EQ(d.needDisplay(), 0);
  EXPECT_EQ(d.displayStyle(), 0);
}

TEST_F(DisplayerTest, EveryStyleFromZeroToFiveIsShown) {
  for (int32_t style = 0; style <= 5; ++style) {
    d.setNeedDisplay(3);
    d.setDisplayStyle(style);
    d.unload();
    ASSERT_EQ(fake.messageBoxes.size(), static_cast<std::size_t>(style + 1));
    EXPECT_EQ(fake.messageBoxes.back().buttons, style + 64);
  }
}

TEST_F(DisplayerTest, AStyleOutsideZeroToFiveShowsNoPromptButIsResetAnyway) {
  for (int32_t style : {6, -1, 64, 16}) {
    d.setNeedDisplay(1);
    d.setDisplayStyle(style);
    d.unload();
    EXPECT_TRUE(fake.messageBoxes.empty()) << style;
    EXPECT_EQ(d.needDisplay(), 0);
    EXPECT_EQ(d.displayStyle(), 0);
  }
  d.setNeedDisplay(-5);
  d.setDisplayStyle(1);
  d.unload();
  EXPECT_TRUE(fake.messageBoxes.empty());
}

TEST_F(DisplayerTest, TheHouseTitleIsLocalisedInThePrompt) {
  fake.setCurrentLanguage(u"en");
  fake.addResLoader(u"LumoResLoader.Loader");
  d.setNeedDisplay(1);
  d.setPromptTitle(u"Vantor提示");
  d.unload();
  ASSERT_EQ(fake.messageBoxes.size(), 1u);
  EXPECT_EQ(fake.messageBoxes[0].title, u"en:Vantor提示");
}

TEST_F(DisplayerTest, AFailingPromptStillResetsTheSettings) {
  fake.messageBoxThrows = true;
  d.setNeedDisplay(1);
  d.setDisplayStyle(1);
  EXPECT_ANY_THROW(d.unload());
  EXPECT_EQ(d.needDisplay(), 0);
  EXPECT_EQ(d.displayStyle(), 0);
}

// ---- layout and bars -----------------------------------------------------------------

TEST_F(DisplayerTest, TheListFillsTheSpaceBetweenTheBars) {
  d.load();
  view.inner = Size{10000, 8000};
  d.resized();
  EXPECT_EQ(view.listRect, (Rect{0, 420, 10000, 8000 - 420 - 300}));
}

TEST_F(DisplayerTest, AHiddenBarCountsAsNoHeight) {
  d.load();
  view.inner = Size{10000, 8000};
  d.menuClicked(DisplayMenu::ViewToolbar);
  EXPECT_FALSE(view.toolBarShown);
  EXPECT_FALSE(view.menuChecks[DisplayMenu::ViewToolbar]);
  EXPECT_EQ(view.listRect, (Rect{0, 0, 10000, 8000 - 300}));
  d.menuClicked(DisplayMenu::ViewStatusBar);
  EXPECT_FALSE(view.statusBarShown);
  EXPECT_FALSE(view.menuChecks[DisplayMenu::ViewStatusBar]);
  EXPECT_EQ(view.listRect, (Rect{0, 0, 10000, 8000}));
  d.menuClicked(DisplayMenu::ViewToolbar);
  EXPECT_TRUE(view.toolBarShown);
  EXPECT_TRUE(view.menuChecks[DisplayMenu::ViewToolbar]);
  EXPECT_TRUE(d.toolBarVisible());
  EXPECT_FALSE(d.statusBarVisible());
  EXPECT_EQ(view.listRect, (Rect{0, 420, 10000, 8000 - 420}));
}

TEST_F(DisplayerTest, AWindowSmallerThanItsBarsLeavesTheListNoHeight) {
  d.load();
  view.inner = Size{50, 500};
  d.resized();
  EXPECT_EQ(view.listRect, (Rect{0, 420, 50, 0}));
}

// ---- font ------------------------------------------------------------------------------

TEST_F(DisplayerTest, TheFontDialogStartsFromTheListsFont) {
  d.load();
  d.menuClicked(DisplayMenu::FormatFont);
  ASSERT_EQ(view.fontDialogs.size(), 1u);
  EXPECT_EQ(view.fontDialogs[0].fontName, u"宋体");
  EXPECT_EQ(view.fontDialogs[0].flags, 771);
  EXPECT_TRUE(view.callsStartingWith("setListFont").empty());  // cancelled
}

TEST_F(DisplayerTest, ChosenFontSetsNameSizeBoldAndItalic) {
  d.load();
  view.fontChoice = FontChoice{false, ListFont{u"黑体", 12, true, true}};
  d.chooseListFont();
  EXPECT_EQ(view.font.name, u"黑体");
  EXPECT_EQ(view.font.size, 12);
  EXPECT_TRUE(view.font.bold);
  EXPECT_TRUE(view.font.italic);
}

// ---- the list through the presenter -----------------------------------------------------

TEST_F(DisplayerTest, ListChangesReachTheView) {
  d.load();
  d.setColumnCount(2);
  d.setColumnWidth(2, 2000);
  d.setColumnWidth(3, 2000);  // no such column
  d.setRowCount(4);
  d.setCellText(1, 1, u"x");
  d.setCellText(9, 1, u"y");  // outside
  d.setCurrentRow(3);
  d.setRowCount(2);
  EXPECT_EQ(view.columnWidths.count(3), 0u);
  EXPECT_EQ(view.columnWidths[2], 2000);
  EXPECT_EQ(view.count("listCellChanged(1, 1)"), 1u);
  EXPECT_TRUE(view.callsStartingWith("listCellChanged(9").empty());
  EXPECT_EQ(view.listCurrentRow, 1);
}

}  // namespace
}  // namespace lumo::display::test
