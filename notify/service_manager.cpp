#include "notify/service_manager.h"

#include <functional>
#include <utility>

#include "display/displayer.h"
#include "host/gateway.h"
#include "host/language.h"
#include "host/services.h"
#include "host/session.h"

namespace lumo::notify {

const char16_t* const kNormal = u"Normal";
const char16_t* const kOrn = u"ORN";
const char16_t* const kBillUseInfo = u"LumoMSmsManager.clsBillUseInfo";
const char16_t* const kBillUseUpdate = u"LumoMSmsManager.clsBillUseUpdate";
const char16_t* const kFlowData = u"LumoMMobileMCSrv.CGetData";
const char16_t* const kSwitchAuditCode = u"SMS00107";
const char16_t* const kNoMobileFormat = u"%1 个用户没有手机号码，收不到短信通知";

namespace {

// The columns of a list window that shows more than one (twips).
constexpr int32_t kListColumnWidth = 2400;

// The module nodes of the older catalogue, in their order.
struct Module {
  const char16_t* code;
  const char16_t* text;
  const char16_t* ordinaryPrefix;  // key prefix of its bill types
  const char16_t* flowPrefix;      // key prefix of its workflows
};
constexpr Module kModules[] = {
    {u"W", u"移动物流", u"KW", u"KBW"},
    {u"Z", u"移动制造", u"KZ", u"KBZ"},
    {u"C", u"移动财务", u"KC", u"KBC"},
};

// The inclusive module rule: a workflow belongs to a module when the module
// check gives it to that module, or gives it to neither of the other two.
bool flowInModule(const ustring& module, const ustring& id) {
  if (checkOrnListDataType(module, id)) return true;
  for (const Module& m : kModules)
    if (module != m.code && checkOrnListDataType(m.code, id)) return false;
  return true;
}

// A record handed to the middle tier: a keyed collection read by field name.
class RecordBuilder {
 public:
  RecordBuilder& field(const ustring& name, Variant value) {
    record_->add(std::move(value), &name);
    return *this;
  }
  ObjectPtr done() { return record_; }

 private:
  std::shared_ptr<Collection> record_ = std::make_shared<Collection>();
};

// Walks a workflow collection from 1 to its count; each element is a record read
// by field name.
void forEachFlow(const ObjectPtr& flows, const std::function<void(const ObjectPtr&)>& visit) {
  if (!flows) throw Error(errnum::ObjectVariableNotSet);
  const int32_t count = flows->get(u"Count").toI4();
  for (int32_t i = 1; i <= count; ++i) {
    ObjectPtr record = flows->get(u"Item", {Variant(i)}).toObject();
    if (!record) throw Error(errnum::ObjectVariableNotSet);
    visit(record);
  }
}

Variant fieldOf(const ObjectPtr& record, const char16_t* name) { return record->get(u"Item", {Variant(name)}); }

// A field as the text of a cell: Null reads as "".
ustring textOf(const Variant& v) {
  const Variant& d = v.deref();
  return d.isNull() || d.isEmpty() ? ustring() : d.toString();
}

// A name in a result line: a tab would split the line into cells.
ustring lineSafe(ustring text) {
  for (char16_t& c : text)
    if (c == u'\t' || c == u'\r' || c == u'\n') c = u' ';
  return text;
}

}  // namespace

// ---- the middle-tier calls of each window ------------------------------------------------

class ServiceCalls {
 public:
  virtual ~ServiceCalls() = default;
  // At start, before the captions are set.
  virtual void prepare() {}
  // At start, after the captions: what the window reads of the session.
  virtual void begin(ustring& userId, ustring& userName) {
    (void)userId;
    (void)userName;
  }
  // The ordinary groups of the tree (recordset); the older loader adds its module.
  virtual ObjectPtr groups(const ServiceManagerPresenter& w, const ustring* module) = 0;
  virtual const char16_t* groupIdField() const = 0;
  // The workflow collection of the tree.
  virtual ObjectPtr flows(const ServiceManagerPresenter& w) = 0;
  // The ordinary services of a group ("" for every group), read into rows.
  virtual void ordinaryRows(const ServiceManagerPresenter& w, const ustring& group, const ustring* module,
                            std::vector<ServiceRow>& out) = 0;
  // The workflow services that 'keep' accepts (by identifier), read into rows.
  virtual void workflowRows(const ServiceManagerPresenter& w, const std::function<bool(const ustring&)>& keep,
                            std::vector<ServiceRow>& out) = 0;
  // The record of a row that can change.
  virtual ObjectPtr record(const ServiceManagerPresenter& w, const ServiceRow& row, bool on) = 0;
  virtual void operateOrdinary(const ServiceManagerPresenter& w, const ObjectPtr& records, bool on) = 0;
  virtual void operateWorkflow(const ServiceManagerPresenter& w, const ObjectPtr& records, bool on) = 0;
  // The arguments of a result line.
  virtual Args resultArgs(const ServiceManagerPresenter& w, const ustring& name) = 0;
};

namespace {

ServiceRow makeRow(const char16_t* type, const Variant& id, const Variant& name, const Variant& state) {
  return ServiceRow{type, textOf(id), textOf(name), yesNo(state)};
}

void readOrdinary(Recordset rs, const char16_t* idField, const char16_t* stateField, std::vector<ServiceRow>& out) {
  while (!rs.eof()) {
    out.push_back(makeRow(kNormal, rs.field(idField), rs.field(u"FName"), rs.field(stateField)));
    rs.moveNext();
  }
}

// Service management: every service, for everybody.
class SystemCalls final : public ServiceCalls {
 public:
  void prepare() override { callWithSession(kBillUseUpdate, u"DeleteUserByFlowInSMSPrescirbe", {}); }

  ObjectPtr groups(const ServiceManagerPresenter&, const ustring* module) override {
    Args args;
    if (module) args.push_back(*module);
    return callWithSession(kBillUseInfo, u"GetBillInfo", std::move(args)).toObject();
  }
  const char16_t* groupIdField() const override { return u"FID"; }

  ObjectPtr flows(const ServiceManagerPresenter&) override {
    return callWithSession(kFlowData, u"GetAllFlow", {}).toObject();
  }

  void ordinaryRows(const ServiceManagerPresenter&, const ustring& group, const ustring* module,
                    std::vector<ServiceRow>& out) override {
    Args args{group};
    if (module) args.push_back(*module);
    readOrdinary(Recordset(callWithSession(kBillUseInfo, u"GetBillUseInfo", std::move(args)).toObject()), u"FID",
                 u"FIsRun", out);
  }

  void workflowRows(const ServiceManagerPresenter& w, const std::function<bool(const ustring&)>& keep,
                    std::vector<ServiceRow>& out) override {
    forEachFlow(flows(w), [&](const ObjectPtr& f) {
      const ustring id = textOf(fieldOf(f, u"FID"));
      if (keep(id)) out.push_back(makeRow(kOrn, id, fieldOf(f, u"FMCName"), fieldOf(f, u"FIsMobileServiceRun")));
    });
  }

  ObjectPtr record(const ServiceManagerPresenter&, const ServiceRow& row, bool on) override {
    RecordBuilder r;
    r.field(u"FID", row.id).field(u"FName", row.name);
    if (row.type == kOrn) r.field(u"FIsMobileServiceRun", int32_t(on ? 1 : 0));
    return r.done();
  }

  void operateOrdinary(const ServiceManagerPresenter& w, const ObjectPtr& records, bool on) override {
    operate(u"BillUseOperate", w, records, on);
  }
  void operateWorkflow(const ServiceManagerPresenter& w, const ObjectPtr& records, bool on) override {
    operate(u"BillOrnUseOperate", w, records, on);
  }

  Args resultArgs(const ServiceManagerPresenter&, const ustring& name) override { return {lineSafe(name)}; }

 private:
  static void operate(const char16_t* method, const ServiceManagerPresenter& w, const ObjectPtr& records, bool on) {
    Variant collection{records};
    Variant flag{on};
    Variant useFlag{w.useFlag()};
    callWithSession(kBillUseUpdate, method, {Variant::ref(&collection), Variant::ref(&flag), Variant::ref(&useFlag)});
  }
};

// Personal settings: the current user's subscriptions. The user is named to the
// per-user calls by the identifier read at start, which no rename changes.
class UserCalls final : public ServiceCalls {
 public:
  void begin(ustring& userId, ustring& userName) override {
    userId = callWithSession(u"OxaBase.SecurityInfo", u"GetCurrentUserID", {}).toString();
    userName = callWithSession(u"OxaBase.SecurityInfo", u"GetCurrentUser", {}).toString();
  }

  ObjectPtr groups(const ServiceManagerPresenter& w, const ustring* module) override {
    Variant user{w.userId()};
    Args args{Variant::ref(&user)};
    if (module) args.push_back(*module);
    return callWithSession(kBillUseInfo, u"GetUserBillInfo", std::move(args)).toObject();
  }
  const char16_t* groupIdField() const override { return u"FBillType"; }

  ObjectPtr flows(const ServiceManagerPresenter& w) override {
    Variant user{w.userId()};
    return callWithSession(kFlowData, u"GetFlowByUser", {Variant::ref(&user)}).toObject();
  }

  void ordinaryRows(const ServiceManagerPresenter& w, const ustring& group, const ustring* module,
                    std::vector<ServiceRow>& out) override {
    Args args{w.userId(), group};
    if (module) args.push_back(*module);
    readOrdinary(Recordset(callWithSession(kBillUseInfo, u"GetUserBillUseInfo", std::move(args)).toObject()),
                 u"FBillType", u"FPrescribe", out);
  }

  void workflowRows(const ServiceManagerPresenter& w, const std::function<bool(const ustring&)>& keep,
                    std::vector<ServiceRow>& out) override {
    Variant collection{flows(w)};
    Variant user{w.userId()};
    Recordset rs(
        callWithSession(kBillUseInfo, u"GetORNUserBillUseInfo", {Variant::ref(&collection), Variant::ref(&user)})
            .toObject());
    while (!rs.eof()) {
      const ustring id = textOf(rs.field(u"FID"));
      if (keep(id)) out.push_back(makeRow(kOrn, id, rs.field(u"FMCName"), rs.field(u"FIsRun")));
      rs.moveNext();
    }
  }

  ObjectPtr record(const ServiceManagerPresenter& w, const ServiceRow& row, bool) override {
    return RecordBuilder()
        .field(u"FServiceID", row.id)
        .field(u"FName", row.name)
        .field(u"FUserID", w.userId())
        .field(u"FUserName", w.userName())
        .done();
  }

  void operateOrdinary(const ServiceManagerPresenter&, const ObjectPtr& records, bool on) override {
    operate(records, on, u"2");
  }
  void operateWorkflow(const ServiceManagerPresenter&, const ObjectPtr& records, bool on) override {
    operate(records, on, u"3");
  }

  Args resultArgs(const ServiceManagerPresenter& w, const ustring& name) override {
    return {lineSafe(name), lineSafe(w.userName())};
  }

 private:
  static void operate(const ObjectPtr& records, bool on, const char16_t* kindCode) {
    Variant collection{records};
    Variant flag{on};
    callWithSession(kBillUseUpdate, u"BillUserUseOperate",
                    {Variant::ref(&collection), Variant::ref(&flag), Variant(kindCode)});
  }
};

}  // namespace

ServiceWindowKind serviceManagerKind() {
  return ServiceWindowKind{
      u"frmSmsManager",
      u"审批通知服务管理",
      u"SMS00107",
      u"打印审批通知服务列表",
      u"启用审批通知服务:[%1]",
      u"取消审批通知服务:[%1]",
      u"启用[%1]短信通知成功！",
      u"取消[%1]短信通知成功！",
      u"启用[%1]短信通知失败！该服务已经启用短信通知！",
      u"取消[%1]短信通知失败！该服务未启用短信通知！",
      true,
      true,
      std::make_shared<SystemCalls>(),
  };
}

ServiceWindowKind userSettingsKind() {
  return ServiceWindowKind{
      u"frmUserSmsManager",
      u"个人审批通知设置",
      u"SMS00102",
      u"打印个人审批通知列表",
      u"启用个人审批通知:[%1]",
      u"取消个人审批通知:[%1]",
      u"启用接收短信通知[%1]中用户[%2]短信通知成功！",
      u"取消短信通知服务[%1]中用户[%2]短信通知成功！",
      u"启用短信通知服务[%1]中用户[%2]短信通知失败！该用户已经启用短信通知！",
      u"取消短信通知服务[%1]中用户[%2]短信通知失败！该用户未启用短信通知！",
      false,
      false,
      std::make_shared<UserCalls>(),
  };
}

// ---- the rules ------------------------------------------------------------------------------

int32_t clampSplitter(int32_t candidate, int32_t innerWidth) {
  int32_t left = candidate;
  if (innerWidth - left < kSplitterMargin) left = innerWidth - kSplitterMargin;
  // On a window narrower than twice the margin the left limit wins.
  if (left < kSplitterMargin) left = kSplitterMargin;
  return left;
}

ustring yesNo(const Variant& value) {
  const Variant& v = value.deref();
  bool one = false;
  if (v.isNumeric() || v.isString()) {
    try {
      one = v.toDouble() == 1;
    } catch (const Error&) {
      one = false;  // a text that is no number is not 1
    }
  }
  return loadVtString(one ? u"是" : u"否");
}

namespace {
const char16_t* const kNoMobileFrom =
    u" From t_User u Left join t_Emp e On u.FEmpID=e.FItemID Left join t_Department d On e.FDepartmentID=d.FItemID"
    u" Where u.FUserID>=16384 And u.FUserID<=32767 And u.FForbidden=0 And"
    u" (e.FItemID Is Null Or IsNull(LTrim(RTrim(e.FMobilePhone)),'')='')";
}  // namespace

ustring noMobileCountSql() { return ustring(u"Select Count(*) As FCount") + kNoMobileFrom; }

ustring noMobileListSql() {
  return ustring(u"Select u.FName As FUserName,e.FName As FEmpName,d.FName As FDeptName") + kNoMobileFrom +
         u" Order by u.FUserID";
}

// ---- the window -------------------------------------------------------------------------------

ServiceManagerPresenter::ServiceManagerPresenter(ServiceWindowKind kind, ServiceManagerView& view,
                                                 WindowFactory& windows)
    : kind_(std::move(kind)), view_(view), windows_(windows) {}

ustring ServiceManagerPresenter::source(const char16_t* routine) const {
  return ustring(u"SmsManager.") + kind_.formName + u":" + routine;
}

bool ServiceManagerPresenter::isRelateEmp() {
  bool related = false;
  errorTrap(source(u"IsRelateEmp"),
            [&] { related = !textOf(callWithSession(u"LumoMSmsManager.CSerivceInfo", u"EmpInfo", {})).empty(); });
  return related;
}

void ServiceManagerPresenter::setCaptions() {
  view_.setCaption(ServiceControl::Form, loadVtString(kind_.caption));
  view_.setCaption(ServiceControl::faTree, loadVtString(u"短信通知服务"));
  view_.setCaption(ServiceControl::faList, loadVtString(u"短信通知服务列表"));
  std::vector<ToolButton> buttons{
      {toolkey::Start, loadVtString(u"启用")},         {toolkey::Cancel, loadVtString(u"停用")},
      {toolkey::SelectAll, loadVtString(u"全选")},     {toolkey::CancelAll, loadVtString(u"全清")},
      {toolkey::Print, loadVtString(u"打印")},         {toolkey::PrintSet, loadVtString(u"打印设置")},
      {toolkey::PrintView, loadVtString(u"打印预览")},
  };
  if (kind_.hasOptions) buttons.push_back({toolkey::Option, loadVtString(u"选项")});
  if (kind_.countsNoMobile) buttons.push_back({toolkey::NoMobile, loadVtString(u"收不到短信的用户")});
  buttons.push_back({toolkey::Help, loadVtString(u"帮助")});
  buttons.push_back({toolkey::Exit, loadVtString(u"退出")});
  view_.setToolButtons(buttons);
  view_.setListLayout(u"Type|ID|" + loadVtString(u"名称") + u"|" + loadVtString(u"是否启用短信通知"),
                      {0, 0, kNameWidth, kStateWidth});
}

void ServiceManagerPresenter::formLoad() {
  errorTrap(source(u"Form_Load"), [&] {
    ActionScope action;
    kind_.calls->prepare();
    setCaptions();
    if (kind_.hasOptions) iniUseFlag(false);
    kind_.calls->begin(userId_, userName_);
    loadTreeData();
    NodeId root = tree_.find(u"Root");
    if (root != kNoNode) tree_.setSelected(root, true);
    loadListData(u"Root");
    if (kind_.countsNoMobile) countNoMobile();
    machineName_ = getMachineName();
    ipAddress_ = getIPAddress();
    writeLog(kind_.usageCode, audit::Opened, ustring(), machineName_, ipAddress_);
  });
}

void ServiceManagerPresenter::formUnload() {
  errorTrap(source(u"Form_Unload"),
            [&] { writeLog(kind_.usageCode, audit::Closed, ustring(), machineName_, ipAddress_); });
}

void ServiceManagerPresenter::formKeyDown(int32_t keyCode) {
  errorTrap(source(u"Form_KeyDown"), [&] {
    if (keyCode == 27)
      view_.close();
    else if (keyCode == 112)
      showHelp(view_.windowHandle());
  });
}

void ServiceManagerPresenter::iniUseFlag(bool reread) {
  errorTrap(source(u"IniUseFlag"), [&] {
    if (!reread) callWithSession(kBillUseUpdate, u"IniUseFlag", {});
    const Variant flag = callWithSession(kBillUseInfo, u"GetUseFlag", {});
    useFlag_ = !flag.isNull() && !flag.isEmpty() && flag.toBool();
  });
}

// ---- the catalogue ------------------------------------------------------------------------------

void ServiceManagerPresenter::loadTreeData() {
  {
    TreeModel::UpdateScope update(tree_);
    errorTrap(source(u"LoadTreeData"), [&] {
      tree_.clear();
      const NodeId root = tree_.add(kNoNode, u"Root", loadVtString(u"移动商务"));
      tree_.setExpanded(root, true);
      // The workflows are asked for first, the groups are shown first.
      ObjectPtr flows = kind_.calls->flows(*this);
      Recordset groups(kind_.calls->groups(*this, nullptr));
      const char16_t* idField = kind_.calls->groupIdField();
      while (!groups.eof()) {
        tree_.add(root, u"KG" + textOf(groups.field(idField)), groups.text(u"FName"));
        groups.moveNext();
      }
      forEachFlow(flows, [&](const ObjectPtr& f) {
        tree_.add(root, u"KB" + textOf(fieldOf(f, u"FID")), textOf(fieldOf(f, u"FMCName")));
      });
    });
  }
  view_.treeLoaded();
}

void ServiceManagerPresenter::loadTreeDataOld() {
  {
    TreeModel::UpdateScope update(tree_);
    errorTrap(source(u"LoadTreeDataOld"), [&] {
      tree_.clear();
      const NodeId root = tree_.add(kNoNode, u"Root", loadVtString(u"移动商务"));
      tree_.setExpanded(root, true);
      ObjectPtr flows = kind_.calls->flows(*this);
      const char16_t* idField = kind_.calls->groupIdField();
      for (const Module& m : kModules) {
        if (displayFilter_ != m.code && displayFilter_ != u"All") continue;
        const ustring code = m.code;
        const NodeId node = tree_.add(root, code, loadVtString(m.text));
        Recordset groups(kind_.calls->groups(*this, &code));
        while (!groups.eof()) {
          tree_.add(node, m.ordinaryPrefix + textOf(groups.field(idField)), groups.text(u"FName"));
          groups.moveNext();
        }
        forEachFlow(flows, [&](const ObjectPtr& f) {
          const ustring id = textOf(fieldOf(f, u"FID"));
          if (flowInModule(code, id)) tree_.add(node, m.flowPrefix + id, textOf(fieldOf(f, u"FMCName")));
        });
      }
    });
  }
  view_.treeLoaded();
}

void ServiceManagerPresenter::nodeClick(NodeId node) {
  // A click while a list is loading is dropped, not queued.
  if (busy_) return;
  busy_ = true;
  errorTrap(source(u"tvList_NodeClick"), [&] {
    tree_.setSelected(node, true);
    loadListData(tree_.key(node));
  });
  busy_ = false;
}

// ---- the list ------------------------------------------------------------------------------------

void ServiceManagerPresenter::loadListData(const ustring& key) {
  errorTrap(source(u"LoadListData"), [&] {
    ActionScope action;
    rows_.clear();
    if (key == u"Root" || startsWith(key, u"KG")) {
      // Every group for the root, the node's own group otherwise.
      const ustring group = key == u"Root" ? ustring() : key.substr(2);
      kind_.calls->ordinaryRows(*this, group, nullptr, rows_);
    }
    if (key == u"Root" || startsWith(key, u"KB")) loadOrnListData(key);
    showRows();
  });
}

void ServiceManagerPresenter::loadOrnListData(const ustring& key) {
  errorTrap(source(u"LoadOrnListData"), [&] {
    const bool all = key == u"Root";
    const ustring wanted = all ? ustring() : key.substr(2);
    kind_.calls->workflowRows(
        *this, [&](const ustring& id) { return all || id == wanted; }, rows_);
  });
}

void ServiceManagerPresenter::loadListDataOld(const ustring& key) {
  errorTrap(source(u"LoadListDataOld"), [&] {
    ActionScope action;
    rows_.clear();
    for (const Module& m : kModules) {
      const ustring code = m.code;
      if (key == code) {
        kind_.calls->ordinaryRows(*this, ustring(), &code, rows_);
        loadOrnListDataOld(key, code);
      } else if (startsWith(key, m.flowPrefix)) {
        loadOrnListDataOld(key, code);
      } else if (startsWith(key, m.ordinaryPrefix)) {
        kind_.calls->ordinaryRows(*this, key.substr(2), &code, rows_);
      }
    }
    showRows();
  });
}

void ServiceManagerPresenter::loadOrnListDataOld(const ustring& key, const ustring& module) {
  errorTrap(source(u"LoadOrnListDataOld"), [&] {
    const bool wholeModule = key == module;
    const ustring wanted = wholeModule ? ustring() : key.substr(3);
    kind_.calls->workflowRows(
        *this, [&](const ustring& id) { return wholeModule ? flowInModule(module, id) : id == wanted; }, rows_);
  });
}

void ServiceManagerPresenter::showRows() {
  view_.setListRowCount(gridRowCount());
  // The first service row is selected; an empty list selects nothing.
  if (gridRowCount() >= 2)
    view_.setSelectedRows({2});
  else
    view_.setSelectedRows({});
}

ustring ServiceManagerPresenter::cellText(int32_t row, int32_t col) const {
  const int32_t index = row - 2;
  if (index < 0 || index >= static_cast<int32_t>(rows_.size())) return {};
  const ServiceRow& r = rows_[static_cast<std::size_t>(index)];
  switch (col) {
    case 1:
      return r.type;
    case 2:
      return r.id;
    case 3:
      return r.name;
    case 4:
      return r.isUse;
    default:
      return {};
  }
}

// ---- the tool bar ------------------------------------------------------------------------------------

void ServiceManagerPresenter::toolButtonClick(const ustring& key) {
  if (key == toolkey::Start)
    switchSelected(true);
  else if (key == toolkey::Cancel)
    switchSelected(false);
  else if (key == toolkey::SelectAll)
    selectAll();
  else if (key == toolkey::CancelAll)
    clearSelection();
  else if (key == toolkey::Print)
    print();
  else if (key == toolkey::PrintSet)
    errorTrap(source(u"tb_ButtonClick"), [&] { view_.printSetup(); });
  else if (key == toolkey::PrintView)
    errorTrap(source(u"tb_ButtonClick"), [&] { view_.previewList(); });
  else if (key == toolkey::Option && kind_.hasOptions)
    options();
  else if (key == toolkey::NoMobile && kind_.countsNoMobile)
    listNoMobile();
  else if (key == toolkey::Help)
    showHelp(view_.windowHandle());
  else if (key == toolkey::Exit)
    view_.close();
}

void ServiceManagerPresenter::switchSelected(bool on) {
  errorTrap(source(on ? u"StartService" : u"CancelService"), [&] {
    ActionScope action;
    const std::vector<int32_t> selected = view_.selectedRows();
    if (selected.empty()) return;

    // A row can change when it shows the opposite of the wanted state.
    const ustring changeable = loadVtString(on ? u"否" : u"是");
    auto ordinary = std::make_shared<Collection>();
    auto workflow = std::make_shared<Collection>();
    std::vector<ustring> ordinaryNames, workflowNames, refusedNames;
    for (int32_t row : selected) {
      const ustring type = cellText(row, 1);
      const ustring id = cellText(row, 2);
      const ustring name = cellText(row, 3);
      if (cellText(row, 4) == changeable) {
        const ServiceRow r{type, id, name, {}};
        if (type == kNormal) {
          ordinary->add(Variant(kind_.calls->record(*this, r, on)));
          ordinaryNames.push_back(name);
        } else if (type == kOrn) {
          workflow->add(Variant(kind_.calls->record(*this, r, on)));
          workflowNames.push_back(name);
        }
      } else {
        refusedNames.push_back(name);
      }
    }

    if (ordinary->count() > 0 || workflow->count() > 0) {
      if (ordinary->count() > 0) kind_.calls->operateOrdinary(*this, ordinary, on);
      if (workflow->count() > 0) kind_.calls->operateWorkflow(*this, workflow, on);
      // The list shows what is stored now.
      const NodeId selectedNode = tree_.selectedNode();
      if (selectedNode != kNoNode) nodeClick(selectedNode);
    }

    // One audit record per switched row, ordinary rows first. Each text is looked
    // up once for the batch, not once per row.
    auto records = std::make_shared<Collection>();
    records->reserve(ordinaryNames.size() + workflowNames.size());
    const ustring desc = loadVtString(on ? kind_.auditOn : kind_.auditOff);
    for (const auto* names : {&ordinaryNames, &workflowNames})
      for (const ustring& name : *names) {
        const ustring key = toText(static_cast<long long>(records->count() + 1));
        records->add(
            Variant(makeBatchAuditRecord(kSwitchAuditCode, replacePlaceholders(desc, {name}), machineName_, ipAddress_)),
            &key);
      }
    writeBatchLog(records);

    auto lines = std::make_shared<Collection>();
    lines->reserve(ordinaryNames.size() + workflowNames.size() + refusedNames.size());
    const ustring switched = loadVtString(on ? kind_.switchedOn : kind_.switchedOff);
    const ustring refused = loadVtString(on ? kind_.refusedOn : kind_.refusedOff);
    for (const auto* names : {&ordinaryNames, &workflowNames})
      for (const ustring& name : *names) lines->add(replacePlaceholders(switched, kind_.calls->resultArgs(*this, name)));
    for (const ustring& name : refusedNames)
      lines->add(replacePlaceholders(refused, kind_.calls->resultArgs(*this, name)));
    showList(loadVtString(u"显示信息") + u"|", lines);
  });
}

void ServiceManagerPresenter::showList(const ustring& titles, const std::shared_ptr<Collection>& lines,
                                       int32_t columns) {
  std::shared_ptr<display::DisplayerPresenter> list = windows_.listWindow();
  if (!list) throw Error(errnum::CannotCreateObject, u"no list window");
  list->setTitles(titles);
  list->setRowSets(lines);
  // The window counts its lines when it loads: after the rows are handed over.
  list->load();
  if (columns > 1) {
    list->setColumnCount(columns);
    for (int32_t c = 1; c <= columns; ++c) list->setColumnWidth(c, kListColumnWidth);
  }
  list->show(false);
}

void ServiceManagerPresenter::selectAll() {
  errorTrap(source(u"tb_ButtonClick"), [&] {
    std::vector<int32_t> all;
    const int32_t count = gridRowCount();
    all.reserve(static_cast<std::size_t>(count));
    for (int32_t r = 2; r <= count; ++r) all.push_back(r);
    view_.setSelectedRows(all);
  });
}

void ServiceManagerPresenter::clearSelection() {
  errorTrap(source(u"tb_ButtonClick"), [&] { view_.setSelectedRows({}); });
}

void ServiceManagerPresenter::print() {
  errorTrap(source(u"tb_ButtonClick"), [&] {
    view_.printList();
    writeLog(kind_.usageCode, audit::Operation, loadVtString(kind_.printText), machineName_, ipAddress_);
  });
}

void ServiceManagerPresenter::options() {
  errorTrap(source(u"tb_ButtonClick"), [&] {
    view_.showOptions();
    iniUseFlag(true);
  });
}

// ---- who will not get the SMS ------------------------------------------------------------------------

void ServiceManagerPresenter::countNoMobile() {
  errorTrap(source(u"CountNoMobile"), [&] {
    Recordset rs = getData(noMobileCountSql());
    const int32_t count = rs.eof() ? 0 : rs.field(u"FCount").toI4();
    view_.setToolText(formatResString(kNoMobileFormat, {Variant(count)}));
  });
}

void ServiceManagerPresenter::listNoMobile() {
  errorTrap(source(u"ListNoMobile"), [&] {
    ActionScope action;
    Recordset rs = getData(noMobileListSql());
    auto lines = std::make_shared<Collection>();
    while (!rs.eof()) {
      lines->add(lineSafe(rs.text(u"FUserName")) + u"\t" + lineSafe(rs.text(u"FEmpName")) + u"\t" +
                 lineSafe(rs.text(u"FDeptName")));
      rs.moveNext();
    }
    showList(loadVtString(u"用户") + u"\t" + loadVtString(u"职员") + u"\t" + loadVtString(u"部门") + u"|", lines, 3);
  });
}

}  // namespace lumo::notify
