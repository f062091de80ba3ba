#include "mobile/mobile_manager.h"

#include <algorithm>
#include <utility>

#include "automation/dictionary.h"
#include "display/displayer.h"
#include "host/gateway.h"
#include "host/language.h"
#include "host/platform.h"
#include "host/services.h"
#include "host/session.h"

namespace lumo::mobile {

const char16_t* const kToolSave = u"Save";
const char16_t* const kToolSetEmp = u"SetEmp";
const char16_t* const kToolRefresh = u"Refresh";
const char16_t* const kToolExit = u"Exit";

namespace {

const char16_t* const kFuncCode = u"SMS00108";
const char16_t* const kLockedTitle = u"Vantor提示!";

ustring source(const char16_t* procedure) { return ustring(u"SmsManager.frmMobileManager.") + procedure; }

ustring textOf(const Variant& v) {
  const Variant& d = v.deref();
  return d.isNull() || d.isEmpty() ? ustring() : d.toString();
}

// Count and Item of a collection handed back by the host, property or method.
Variant member(const ObjectPtr& o, const ustring& name, Args args) {
  try {
    return o->get(name, args);
  } catch (const Error&) {
    return o->call(name, std::move(args));
  }
}

}  // namespace

ustring mobileTableSql() {
  return ustring(u"Select a.FName,a.FEmpID,b.FName as EmpName,b.FMobilePhone From t_User a Left join t_Emp b On "
                 u"a.FEmpID=b.FItemID ") +
         u"Where a.FUserID Between " + u"16384" + u" And " + u"32767" + u"And a.FForbidden=0" + u" Order By a.FUserID";
}

bool wellFormedMobile(ustring_view number) {
  if (number.size() != static_cast<std::size_t>(kMobileLength)) return false;
  return std::all_of(number.begin(), number.end(), [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

MobileManagerPresenter::MobileManagerPresenter(MobileManagerView& view, WindowFactory& windows)
    : view_(view), windows_(windows) {
  grid_.setCols(4);
  grid_.setClickHandler([this](int32_t row, int32_t col) { cellClick(col, row); });
  grid_.setChangeHandler([this](int32_t row, int32_t col) { cellChanged(col, row); });
  newPending();
}

void MobileManagerPresenter::newPending() {
  pending_ = std::make_shared<Collection>();
  pendingByEmp_.clear();
}

bool MobileManagerPresenter::checkUserManagerRight() {
  try {
    Variant level = int32_t(0);
    return callWithSession(u"LumoMRightManage.CUserInfo", u"chkAuthRight", {Variant::ref(&level), int32_t(2)})
        .toBool();
  } catch (const Error&) {
    return false;
  }
}

// ---- load, close ----------------------------------------------------------------------------

void MobileManagerPresenter::formLoad() {
  errorTrap(source(u"Form_Load"), [&] {
    // A dozen texts and several host calls: the session string and the language
    // are read once for the whole load.
    ActionScope action;
    view_.setCaption(loadVtString(u"用户-职员-移动电话对照表"));
    grid_.setText(0, colUser, loadVtString(u"用户"));
    grid_.setText(0, colEmp, loadVtString(u"职员"));
    grid_.setText(0, colMobile, loadVtString(u"移动电话"));
    const std::pair<const char16_t*, const char16_t*> tools[] = {
        {kToolSave, u"保存"}, {kToolExit, u"退出"}, {kToolSetEmp, u"关联职员"}, {kToolRefresh, u"刷新"}};
    for (const auto& [key, caption] : tools) {
      const ustring text = loadVtString(caption);
      view_.setToolCaption(key, text, false);
      view_.setToolCaption(key, text, true);
    }
    if (ObjectPtr form = view_.formObject()) setFormFont(form);
    view_.setToolEnabled(kToolSave, false);
    newPending();
    fillGrid();
    machineName_ = getMachineName();
    ipAddress_ = getIPAddress();
    writeLog(kFuncCode, audit::Opened, ustring(), machineName_, ipAddress_);
  });
}

bool MobileManagerPresenter::queryUnload() {
  if (pending_->count() == 0) return false;
  const int32_t answer = msgBoxEx(loadVtString(u"已有数据被修改，是否保存？"), 35, kDefaultTitle);
  if (answer == msgbox::vbCancel) return true;
  if (answer == msgbox::vbYes) save();
  return false;
}

void MobileManagerPresenter::formUnload() {
  errorTrap(source(u"Form_Unload"), [&] { writeLog(kFuncCode, audit::Closed, ustring(), machineName_, ipAddress_); });
}

// ---- commands -------------------------------------------------------------------------------

void MobileManagerPresenter::toolClick(const ustring& key) {
  if (key == kToolSave) save();
  else if (key == kToolSetEmp) bind(grid_.activeRow(), true);
  else if (key == kToolRefresh) fillGrid();
  else if (key == kToolExit) view_.close();
}

void MobileManagerPresenter::cellClick(int32_t col, int32_t row) {
  errorTrap(source(u"fpMobile_Click"), [&] {
    if (row < 1 || row > grid_.rows()) return;
    if (col == colEmp) {
      bind(row, false);
    } else if (col == colMobile && grid_.locked(row, colMobile)) {
      msgBoxEx(loadVtString(u"该用户未关联职员，不能修改手机号码,请先关联职员!"), msgbox::vbOKOnly, kLockedTitle);
    }
  });
}

// ---- the grid -------------------------------------------------------------------------------

void MobileManagerPresenter::fillGrid() {
  errorTrap(source(u"LoadData"), [&] {
    ActionScope action;
    Recordset rs = getData(mobileTableSql());
    std::vector<ui::EditGrid::ColumnFill> columns(4);
    columns[colUser - 1].style = {true, kUserBackColor, ui::kBlack};
    columns[colEmp - 1].style = {true, ui::kWhite, ui::kBlack};
    columns[colMobile - 1].style = {false, ui::kWhite, ui::kBlack};
    columns[colEmpId - 1].style = {true, ui::kWhite, ui::kBlack};
    if (!rs.eof()) {
      const std::vector<std::size_t> at = rs.columnsOf({u"FName", u"FEmpID", u"EmpName", u"FMobilePhone"});
      const std::size_t width = static_cast<std::size_t>(rs.fieldCount());
      const std::size_t source[4] = {at[0], at[2], at[3], at[1]};  // the grid's columns, in order
      // Thousands of users: read in batches, one call a batch rather than one a value.
      constexpr int32_t kBatch = 4096;
      std::vector<ustring> cells;
      cells.reserve(kBatch * width);
      while (std::size_t n = rs.readText(kBatch, cells)) {
        for (std::size_t r = 0; r < n; ++r) {
          ustring* c = cells.data() + r * width;
          for (std::size_t k = 0; k < 4; ++k) columns[k].texts.push_back(std::move(c[source[k]]));
        }
        cells.clear();
      }
    }
    struct Redraw {
      ui::EditGrid& g;
      ~Redraw() { g.setRedraw(true); }
    } redraw{grid_};
    grid_.setRedraw(false);
    grid_.fill(std::move(columns));
    // A row without an employee (a refresh may find it so since) cannot take a number.
    for (int32_t i = 1; i <= grid_.rows(); ++i) {
      if (!grid_.text(i, colEmp).empty()) continue;
      grid_.setLocked(i, colMobile, true);
      grid_.setBackColor(i, colMobile, kNoEmployeeBackColor);
    }
    rebuildIndex();
  });
}

void MobileManagerPresenter::enableSave() {
  if (!view_.toolEnabled(kToolSave)) view_.setToolEnabled(kToolSave, true);
}

void MobileManagerPresenter::cellChanged(int32_t col, int32_t row) {
  errorTrap(source(u"fpMobile_Change"), [&] {
    if (row < 1 || row > grid_.rows()) return;
    enableSave();
    if (col != colMobile) return;
    const ustring empName = grid_.text(row, colEmp);
    const ustring empId = grid_.text(row, colEmpId);
    ustring number = grid_.text(row, colMobile);
    if (number.size() >= static_cast<std::size_t>(kMobileLength + 1)) {
      number.resize(kMobileLength);
      grid_.setText(row, colMobile, number);
    }
    std::vector<ustring> touched{ustring(index_.number(row)), number};
    if (!empId.empty()) {
      // The employee's rows come from the index: no walk over the table.
      const std::vector<int32_t> rows = index_.rowsOf(empId);
      for (int32_t r : rows) {
        touched.emplace_back(index_.number(r));
        if (r != row) grid_.setText(r, colMobile, number);
      }
      for (int32_t r : rows) indexRow(r);
      for (int32_t r : rows) markRow(r);
    } else {
      indexRow(row);
      markRow(row);
    }
    auto found = pendingByEmp_.find(empId);
    if (found != pendingByEmp_.end()) {
      std::static_pointer_cast<Dictionary>(found->second)->setItem(u"Mobile", number);
    } else {
      auto record = std::make_shared<Dictionary>();
      record->add(u"FEmpID", empId);
      record->add(u"FEmpName", empName);
      record->add(u"Mobile", number);
      pending_->add(Variant(ObjectPtr(record)));
      pendingByEmp_.emplace(empId, record);
    }
    remark(touched);
  });
}

// ---- binding --------------------------------------------------------------------------------

void MobileManagerPresenter::bind(int32_t row, bool fromTool) {
  if (busy_) return;
  busy_ = -1;
  if (fromTool) view_.setToolEnabled(kToolSetEmp, false);
  // Whatever ends the bind, the flag and the tool come back.
  struct Done {
    MobileManagerPresenter& p;
    bool fromTool;
    ~Done() {
      p.busy_ = 0;
      if (fromTool) p.view_.setToolEnabled(kToolSetEmp, true);
    }
  } done{*this, fromTool};

  if (!checkUserManagerRight()) {
    showHostMessage(loadVtString(u"当前用户没有权限进行用户管理"));
    return;
  }
  errorTrap(source(u"SetEmp"), [&] {
    if (row < 1 || row > grid_.rows()) return;
    const ustring userName = grid_.text(row, colUser);
    Variant selection;
    {
      Variant itemClass = int32_t(3);
      Variant out = int32_t(0);
      ObjectPtr lookup = platform().create(u"OxcGLView.GLView");
      selection = lookup->call(u"ItemLookup", {Variant::ref(&itemClass), Variant::ref(&out), ustring(u"fdetail=1")});
    }
    const ObjectPtr chosen = selection.deref().isObject() ? selection.deref().toObject() : nullptr;
    if (!chosen) return;  // the user cancelled
    const int32_t count = member(chosen, u"Count", {}).toI4();
    const ObjectPtr item = count > 0 ? member(chosen, u"Item", {int32_t(1)}).toObject() : nullptr;
    if (!item) throw Error(5, loadVtString(u"选择数据不存在!"), u"KeyForlookup");
    const Variant itemId = item->get(u"ItemID").deref();
    if (callWithSession(u"OxaBase.SecurityInfo", u"CheckEmpIsGroup", {itemId}).toBool()) {
      showHostMessage(loadVtString(u"所选择的职员是一个上级组,不能进行关联,请选择其他的职员!"));
      return;
    }
    // Read before the host binds, so that an item that lacks them ends the bind
    // with nothing changed.
    const ustring name = textOf(item->get(u"Name"));
    const ustring mobile = textOf(item->get(u"Properties", {ustring(u"FMobilePhone")}));

    auto info = std::make_shared<Dictionary>();
    info->add(u"FEmpID", itemId);
    info->add(u"MachineName", machineName_);
    info->add(u"IPAddress", ipAddress_);
    Variant user = userName;
    Variant infoArg{ObjectPtr(info)};
    callWithSession(u"OxaBase.SecurityAdmin", u"SetUserInfo", {Variant::ref(&user), Variant::ref(&infoArg)});

    const ustring oldNumber(index_.number(row));
    grid_.setText(row, colEmp, name);
    grid_.setText(row, colMobile, mobile);
    grid_.setLocked(row, colMobile, false);
    grid_.setBackColor(row, colMobile, ui::kWhite);
    grid_.setText(row, colEmpId, textOf(itemId));
    indexRow(row);
    markRow(row);
    remark({oldNumber, mobile});
    writeLog(kFuncCode, audit::Operation, formatResString(u"用户:[%1]关联职员:[%2]", {userName, name}), machineName_,
             ipAddress_);
  });
}

// ---- saving ---------------------------------------------------------------------------------

void MobileManagerPresenter::save() {
  errorTrap(source(u"SaveData"), [&] {
    if (pending_->count() == 0) {
      newPending();
      return;
    }
    Variant failures;
    {
      // The edits are handed over once: whatever the host answers, they are gone.
      struct Drop {
        MobileManagerPresenter& p;
        ~Drop() { p.newPending(); }
      } drop{*this};
      Variant edits{ObjectPtr(pending_)};
      Variant saved = ustring(), refused = ustring();
      failures = callWithSession(u"OxaGLItem.ItemUpdate", u"UpdateBatchMobile",
                                 {Variant::ref(&edits), Variant::ref(&saved), Variant::ref(&refused)});
    }
    const Variant& f = failures.deref();
    if (f.isObject() && f.toObject()) showFailures(f.toObject());
    view_.setToolEnabled(kToolSave, false);
  });
}

void MobileManagerPresenter::showFailures(const ObjectPtr& failures) {
  const int32_t count = member(failures, u"Count", {}).toI4();
  if (count <= 0) return;
  auto lines = std::make_shared<Collection>();
  for (int32_t i = 1; i <= count; ++i) {
    const ObjectPtr record = member(failures, u"Item", {i}).toObject();
    if (!record) throw Error(errnum::ObjectVariableNotSet, u"Object variable or With block variable not set");
    const Variant name = member(record, u"Item", {ustring(u"FEmpName")});
    const Variant number = member(record, u"Item", {ustring(u"Mobile")});
    lines->add(Variant(formatResString(u"职员:[%1]手机号码保存失败,已有职员存在手机号码[%2]", {name, number})));
  }
  std::shared_ptr<display::DisplayerPresenter> list = windows_.listWindow();
  if (!list) throw Error(errnum::CannotCreateObject, u"ActiveX component can't create object: frmDisplayer");
  list->setTitles(loadVtString(u"显示信息") + u"|");
  list->setRowSets(lines);
  list->load();
  list->show(false);
}

// ---- the indexes and the conflict marks ------------------------------------------------------

std::vector<int32_t> MobileManagerPresenter::rowsOf(const ustring& empId) const { return index_.rowsOf(empId); }

void MobileManagerPresenter::indexRow(int32_t row) {
  index_.set(row, grid_.text(row, colEmpId), grid_.text(row, colMobile));
}

void MobileManagerPresenter::rebuildIndex() {
  index_.reset(grid_.rows());
  rowMarked_.assign(static_cast<std::size_t>(grid_.rows()) + 1, 0);
  conflicts_ = 0;
  for (int32_t r = 1; r <= grid_.rows(); ++r) indexRow(r);
  for (int32_t r = 1; r <= grid_.rows(); ++r) markRow(r);
  updateStatus();
}

void MobileManagerPresenter::remark(const std::vector<ustring>& numbers) {
  for (int32_t r : index_.rowsHolding(numbers)) markRow(r);
  updateStatus();
}

void MobileManagerPresenter::markRow(int32_t row) {
  const auto r = static_cast<std::size_t>(row);
  const ustring_view number = index_.number(row);
  ustring tip;
  if (!number.empty() && !index_.empId(row).empty()) {
    std::vector<ustring> others;
    for (int32_t first : index_.otherHolders(row)) others.push_back(grid_.text(first, colEmp));
    std::sort(others.begin(), others.end());
    if (!others.empty()) tip = replacePlaceholders(texts().sharedNumber, {join(others, u",")});
    else if (!wellFormedMobile(number)) tip = texts().malformedNumber;
  }
  const bool marked = !tip.empty();
  // Only this marks the cell: a row unmarked before and now shows no mark already
  // (a fill starts every row so), which spares the grid thousands of calls.
  if (!marked && rowMarked_[r] == 0) return;
  if (marked != (rowMarked_[r] != 0)) conflicts_ += marked ? 1 : -1;
  rowMarked_[r] = marked ? 1 : 0;
  grid_.setMark(row, colMobile, marked, tip);
  grid_.setForeColor(row, colMobile, marked ? kConflictForeColor : ui::kBlack);
}

void MobileManagerPresenter::updateStatus() { view_.setStatusText(replacePlaceholders(texts().status, {conflicts_})); }

const MobileManagerPresenter::MarkTexts& MobileManagerPresenter::texts() {
  // Looked up once: an edit re-marks rows and recounts, and each lookup would
  // ask the host for the language again.
  if (!markTexts_) {
    ActionScope action;
    markTexts_ = MarkTexts{loadVtString(u"该号码也属于职员:%1"), loadVtString(u"手机号码不是11位数字"),
                           loadVtString(u"有冲突或不是11位数字的号码:%1")};
  }
  return *markTexts_;
}

int32_t MobileManagerPresenter::findRow(const ustring& text, int32_t after) const {
  const ustring wanted = trim(text);
  const int32_t n = grid_.rows();
  if (wanted.empty() || n == 0) return 0;
  for (int32_t k = 1; k <= n; ++k) {
    const int32_t r = (std::clamp(after, 0, n) + k - 1) % n + 1;
    if (contains(grid_.text(r, colUser), wanted) || contains(grid_.text(r, colEmp), wanted)) return r;
  }
  return 0;
}

}  // namespace lumo::mobile
