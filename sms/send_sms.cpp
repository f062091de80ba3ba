#include "sms/send_sms.h"

#include <new>
#include <utility>

#include "automation/dictionary.h"
#include "host/gateway.h"
#include "host/language.h"
#include "host/platform.h"
#include "host/services.h"
#include "host/session.h"
#include "sms/sms_parts.h"

namespace lumo::sms {

const char16_t* const kLoadingText = u"正在加载数据";

namespace {

const char16_t* const kFuncCode = u"SMS00109";
const char16_t* const kBillUseInfo = u"LumoMSmsManager.clsBillUseInfo";

ustring source(const char16_t* procedure) { return ustring(u"SmsManager.frmSendSms.") + procedure; }

// The procedure names of the two trees' events.
ustring treeSource(Tree which, const char16_t* event) {
  return source(which == Tree::Group ? u"tvUserGroup_" : u"tvDepartment_") + event;
}

char16_t letterOf(Tree which) { return which == Tree::Group ? u'U' : u'E'; }

bool keyStartsWith(const ustring& key, char16_t letter) { return !key.empty() && key[0] == letter; }

// The numeric value of an id taken from a key, as the language's Val reads it;
// anything that is not a number reads as 0.
double idValue(const ustring& id) {
  double v = 0;
  if (!parseNumber(id, v)) v = 0;
  return v;
}

}  // namespace

// ---- the rules ----------------------------------------------------------------------------

ustring departmentTreeSql() {
  return ustring(u"Select Distinct t1.FDepartmentID,t2.FName as FDepartName") +
         u" From t_Emp t1 Inner join t_Department t2 on t1.FDepartmentID=t2.FItemID Where t1.FItemID>0 Order by "
         u"t1.FDepartmentID";
}

ustring groupTreeSql() {
  return ustring(u"Select Distinct g.FGroupID,u.FName as FGroupName From t_User u Inner join t_Group g On") +
         u" u.fUserid =g.fGroupID Order by g.FGroupID";
}

namespace {
ustring employeeSelect() {
  return ustring(u"Select t1.FItemID,t1.FName,t1.FDepartmentID,t1.FMobilePhone ") +
         u"From t_Emp t1 Inner join t_Item t2 On t1.FItemID=t2.FItemID ";
}
}  // namespace

ustring noDepartmentMembersSql() {
  return employeeSelect() + u"Where IsNull(t1.FDepartmentID,0)=0 And (Lower(t1.FNumber) Not in ('admin','super')) " +
         u"And t2.FDeleted=0 Order by t1.FNumber";
}

ustring departmentMembersSql(const ustring& departmentId) {
  return employeeSelect() + u"Where t1.FDepartmentID=" + departmentId + u" And t2.FDeleted=0 Order by t1.FNumber";
}

ustring groupMembersSql(const ustring& groupId) {
  return ustring(u"Select u.FUserID,u.FName,E.FMobilePhone,g.FGroupID From t_User u Left join t_Group g On") +
         u" u.FUserID=g.FUserID Left join t_Emp E On u.FEmpID=e.FItemID" +
         u" Where u.FUserID>=16384 And u.FUserID<=32767 And u.FForbidden=0 And" + u" g.FGroupID=" + groupId;
}

ustring personTag(const Variant& mobile) {
  const Variant& m = mobile.deref();
  return m.isNull() ? ustring() : m.toString();
}

ustring personText(const ustring& name, const Variant& mobile) {
  const ustring number = personTag(mobile);
  // A number of blanks is kept as the tag but not shown.
  if (isBlank(number)) return name;
  ustring text;
  text.reserve(name.size() + number.size() + 3);
  text += name;
  text += u" (";
  text += number;
  text += u')';
  return text;
}

ustring searchName(const ustring& nodeText) {
  const std::size_t open = nodeText.find(u'(');
  return trim(open == ustring::npos ? ustring_view(nodeText) : ustring_view(nodeText).substr(0, open));
}

bool acceptReceiverKey(int32_t keyAscii) {
  return (keyAscii >= 48 && keyAscii <= 57) || keyAscii == 44 || keyAscii == 8;
}

ustring appendNumber(const ustring& box, const ustring& number) {
  if (isBlank(box)) return number;
  return box + u"," + number;
}

ustring checkNumbers(ustring_view receivers) {
  // One pass over the text: each entry between commas is measured and scanned
  // without being copied, so a list of any length costs its length.
  std::size_t length = 0;
  bool illegal = false;
  for (std::size_t i = 0;; ++i) {
    if (i == receivers.size() || receivers[i] == u',') {
      if (length > 11) return u"手机号码长度不能大于11!";
      if (illegal) return u"手机号码中包含非法字符!";
      if (i == receivers.size()) break;
      length = 0;
      illegal = false;
      continue;
    }
    ++length;
    if (receivers[i] < u'0' || receivers[i] > u'9') illegal = true;
  }
  return {};
}

ustring counterText(int32_t remaining) {
  return formatResString(u"您还可以输入%1字符,末尾将自动加上发送人姓名", {Variant(remaining)});
}

ustring costText(ustring_view signedText, ustring_view receivers) {
  const SmsParts parts = countParts(signedText);
  const auto numbers = static_cast<int32_t>(countReceivers(receivers));
  return formatResString(u"含签名每个号码%1条短信，%2个号码共%3条",
                         {Variant(parts.parts), Variant(numbers), Variant(parts.parts * numbers)});
}

// ---- the window ---------------------------------------------------------------------------

SendSmsPresenter::SendSmsPresenter(SendSmsView& view) : view_(view) {
  trees_[0].setExpandHandler([this](NodeId node) { onExpand(Tree::Department, node); });
  trees_[1].setExpandHandler([this](NodeId node) { onExpand(Tree::Group, node); });
}

Tree SendSmsPresenter::currentTree() const { return view_.selectedTab() == 1 ? Tree::Group : Tree::Department; }

bool SendSmsPresenter::isRelateEmp() {
  bool related = false;
  errorTrap(source(u"IsRelateEmp"), [&] {
    senderName_ = callWithSession(u"LumoMSmsManager.CSerivceInfo", u"EmpInfo", {}).toString();
    related = !senderName_.empty();
  });
  return related;
}

void SendSmsPresenter::formLoad() {
  errorTrap(source(u"Form_Load"), [&] {
    // Some thirty captions are looked up: the language is asked for once.
    ActionScope action;
    view_.setCaption(Control::Form, loadVtString(u"发送短信"));
    view_.setCaption(Control::faRecevie, loadVtString(u"接收号码"));
    view_.setCaption(Control::tabDepartment, loadVtString(u"部门"));
    view_.setCaption(Control::tabGroup, loadVtString(u"系统用户组"));
    view_.setCaption(Control::cmdFind, loadVtString(u"查找(&F)"));
    view_.setCaption(Control::cmdFindNext, loadVtString(u"下一个(&N)"));
    view_.setCaption(Control::cmdAdd, loadVtString(u"-->"));
    view_.setToolTip(Control::cmdAdd, loadVtString(u"添加手机号码"));
    view_.setCaption(Control::lblInfo, loadVtString(u"支持群发,有效号码分隔符为\",\""));
    view_.setCaption(Control::cmdClearMobile, loadVtString(u"清空"));
    view_.setCaption(Control::faContent, loadVtString(u"短信内容"));
    view_.setCaption(Control::cmdClear, loadVtString(u"清空"));
    view_.setCaption(Control::chkRestore, loadVtString(u"短信可回复"));
    view_.setCaption(Control::cmdSend, loadVtString(u"发送(&S)"));
    view_.setCaption(Control::cmdCancel, loadVtString(u"取消"));
    view_.setReceiverMenu({loadVtString(u"撤消(&U)"), loadVtString(u"剪切(&T)"), loadVtString(u"复制(&C)"),
                           loadVtString(u"粘贴(&P)"), loadVtString(u"删除(&D)"), loadVtString(u"全选(&A)")});
    // The counter starts at the full length, whatever the box holds.
    view_.setCaption(Control::lblSms, counterText(kMaxMessageLength));
    showCost();
    // Only the tree of the shown tab can be reached.
    const Tree shown = currentTree();
    view_.setTreeEnabled(Tree::Department, shown == Tree::Department);
    view_.setTreeEnabled(Tree::Group, shown == Tree::Group);
    if (ObjectPtr form = view_.formObject()) setFormFont(form);

    loadDepartmentTree();

    maxLength_ = kMaxMessageLength;
    view_.setMessageMaxLength(maxLength_);
    senderId_ = callWithSession(kBillUseInfo, u"GetEmpMobile", {}).toString();
    machineName_ = getMachineName();
    ipAddress_ = getIPAddress();
    writeLog(kFuncCode, audit::Opened, ustring(), machineName_, ipAddress_);
  });
  // Whatever the load managed, what the user asked to resend is there to see.
  if (prefill_) {
    auto [receivers, message] = std::move(*prefill_);
    prefill_.reset();
    if (message.size() > static_cast<std::size_t>(kMaxMessageLength)) {
      message.resize(static_cast<std::size_t>(kMaxMessageLength));
      if (message.back() >= 0xD800 && message.back() <= 0xDBFF) message.pop_back();  // half a character
    }
    view_.setReceiversText(std::move(receivers));
    view_.setMessageText(message);
    messageChanged();
  }
}

void SendSmsPresenter::prefill(ustring receivers, ustring message) {
  prefill_.emplace(std::move(receivers), std::move(message));
}

void SendSmsPresenter::formUnload() {
  errorTrap(source(u"Form_Unload"),
            [&] { writeLog(kFuncCode, audit::Closed, ustring(), machineName_, ipAddress_); });
}

void SendSmsPresenter::formKeyDown(int32_t keyCode) {
  errorTrap(source(u"Form_KeyDown"), [&] {
    if (keyCode == 27) view_.close();
    else if (keyCode == 13) cmdFindClick();
  });
}

void SendSmsPresenter::tabClick() {
  errorTrap(source(u"tabMain_Click"), [&] {
    const Tree shown = currentTree();
    view_.setTreeEnabled(Tree::Department, shown == Tree::Department);
    view_.setTreeEnabled(Tree::Group, shown == Tree::Group);
    // The group tree is read when its tab is first shown; a filled tree is kept.
    if (shown == Tree::Group && tree(Tree::Group).count() == 0) loadGroupTree();
  });
}

// ---- loading ------------------------------------------------------------------------------

void SendSmsPresenter::loadDepartmentTree() {
  errorTrap(source(u"LoadDepartmentTree"), [&] {
    Recordset rs = getData(departmentTreeSql());
    TreeModel& t = tree(Tree::Department);
    TreeModel::UpdateScope update(t);
    std::vector<ustring>& keys = topKeys_[index(Tree::Department)];
    t.clear();
    keys.clear();
    const ustring loading = loadVtString(kLoadingText);
    // The employees without a department always come first, even when there are none.
    const NodeId none = t.add(kNoNode, u"D0", loadVtString(u"无部门"));
    keys.push_back(u"D0");
    t.add(none, u"D0C1", loading);
    while (!rs.eof()) {
      const ustring key = u"D" + rs.field(u"FDepartmentID").toString();
      const NodeId department = t.add(kNoNode, key, rs.text(u"FDepartName"));
      t.add(department, key + u"C1", loading);
      keys.push_back(key);
      rs.moveNext();
    }
  });
}

void SendSmsPresenter::loadGroupTree() {
  errorTrap(source(u"LoadGroupTree"), [&] {
    Recordset rs = getData(groupTreeSql());
    TreeModel& t = tree(Tree::Group);
    TreeModel::UpdateScope update(t);
    std::vector<ustring>& keys = topKeys_[index(Tree::Group)];
    t.clear();
    keys.clear();
    const ustring loading = loadVtString(kLoadingText);
    while (!rs.eof()) {
      const ustring key = u"G" + rs.field(u"FGroupId").toString();
      const NodeId group = t.add(kNoNode, key, rs.text(u"FGroupName"));
      t.add(group, key + u"C1", loading);
      keys.push_back(key);
      rs.moveNext();
    }
  });
}

void SendSmsPresenter::removeChildren(TreeModel& t, NodeId node) {
  if (t.childrenCount(node) == 0) return;
  std::vector<ustring> keys;
  for (NodeId c = t.firstChild(node); c != kNoNode; c = t.nextSibling(c)) keys.push_back(t.key(c));
  for (const ustring& key : keys) t.remove(key);
}

void SendSmsPresenter::loadDepartmentMembers(NodeId node) {
  errorTrap(source(u"LoadDepartmentMembers"), [&] {
    TreeModel& t = tree(Tree::Department);
    TreeModel::UpdateScope update(t);
    removeChildren(t, node);
    const ustring id = t.key(node).substr(1);
    Recordset rs = getData(idValue(id) == 0 ? noDepartmentMembersSql() : departmentMembersSql(id));
    while (!rs.eof()) {
      const Variant mobile = rs.field(u"FMobilePhone");
      const NodeId person =
          t.add(node, u"E" + rs.field(u"FItemID").toString(), personText(rs.text(u"FName"), mobile), personTag(mobile));
      if (t.checked(node)) t.setChecked(person, true);
      rs.moveNext();
    }
  });
}

void SendSmsPresenter::loadGroupMembers(NodeId node) {
  errorTrap(source(u"LoadGroupMembers"), [&] {
    TreeModel& t = tree(Tree::Group);
    TreeModel::UpdateScope update(t);
    removeChildren(t, node);
    const ustring id = t.key(node).substr(1);
    Recordset rs = getData(groupMembersSql(id));
    while (!rs.eof()) {
      const Variant mobile = rs.field(u"FMobilePhone");
      // A user may stand in several groups: the group id keeps the keys apart.
      const ustring key = u"U" + rs.field(u"FUserID").toString() + u"," + rs.field(u"FGroupId").toString();
      const NodeId person = t.add(node, key, personText(rs.text(u"FName"), mobile), personTag(mobile));
      if (t.checked(node)) t.setChecked(person, true);
      rs.moveNext();
    }
  });
}

void SendSmsPresenter::expandRule(Tree which, NodeId node) {
  TreeModel& t = tree(which);
  if (t.childrenCount(node) != 1) return;
  if (t.text(t.firstChild(node)) != loadVtString(kLoadingText)) return;
  if (which == Tree::Department) loadDepartmentMembers(node);
  else loadGroupMembers(node);
}

void SendSmsPresenter::onExpand(Tree which, NodeId node) {
  errorTrap(treeSource(which, u"Expand"), [&] { expandRule(which, node); });
}

// ---- the trees' events --------------------------------------------------------------------

void SendSmsPresenter::nodeExpand(Tree which, NodeId node) {
  errorTrap(treeSource(which, u"Expand"), [&] { tree(which).setExpanded(node, true); });
}

void SendSmsPresenter::nodeCollapse(Tree which, NodeId node) {
  errorTrap(treeSource(which, u"Collapse"), [&] { tree(which).setExpanded(node, false); });
}

void SendSmsPresenter::nodeClick(Tree which, NodeId node) {
  errorTrap(treeSource(which, u"NodeClick"), [&] { tree(which).setSelected(node, true); });
}

void SendSmsPresenter::nodeCheck(Tree which, NodeId node, bool checked) {
  errorTrap(treeSource(which, u"NodeCheck"), [&] {
    TreeModel& t = tree(which);
    TreeModel::UpdateScope update(t);
    t.setChecked(node, checked);
    if (checked) t.setSelected(node, true);
    // A department or group never opened is loaded before its members are set.
    if (t.childrenCount(node) > 0) expandRule(which, node);
    const NodeId parent = t.parent(node);
    if (parent == kNoNode) {
      // Everything below a top-level node takes its state.
      std::vector<NodeId> stack;
      for (NodeId c = t.firstChild(node); c != kNoNode; c = t.nextSibling(c)) stack.push_back(c);
      while (!stack.empty()) {
        const NodeId n = stack.back();
        stack.pop_back();
        t.setChecked(n, checked);
        for (NodeId c = t.firstChild(n); c != kNoNode; c = t.nextSibling(c)) stack.push_back(c);
      }
    } else if (checked) {
      bool all = true;
      for (NodeId c = t.firstChild(parent); c != kNoNode && all; c = t.nextSibling(c)) all = t.checked(c);
      if (all) t.setChecked(parent, true);
    } else {
      t.setChecked(parent, false);
    }
  });
}

void SendSmsPresenter::treeDoubleClick(Tree which) {
  errorTrap(treeSource(which, u"DblClick"), [&] {
    TreeModel& t = tree(which);
    const NodeId node = t.selectedNode();
    if (node == kNoNode || !keyStartsWith(t.key(node), letterOf(which))) return;
    t.setChecked(node, true);
    const ustring number = t.tag(node);
    if (!number.empty()) {
      view_.setReceiversText(appendNumber(view_.receiversText(), number));
      showCost();
    }
  });
}

// ---- the receiver list ------------------------------------------------------------------------

void SendSmsPresenter::cmdAddClick() {
  errorTrap(source(u"cmdAdd_Click"), [&] {
    const Tree which = currentTree();
    const char16_t letter = letterOf(which);
    const TreeModel& t = tree(which);
    // The numbers in position order, gathered first and then written into one
    // allocation of the list's exact length: the list can be a megabyte, and one
    // that grows as it goes is copied over and over.
    const std::size_t count = t.count();
    std::vector<const ustring*> numbers;
    numbers.reserve(count);
    std::size_t length = 0;
    for (std::size_t position = 1; position <= count; ++position) {
      const NodeId node = t.at(position);
      if (!keyStartsWith(t.key(node), letter) || !t.checked(node)) continue;
      const ustring& number = t.tag(node);
      if (number.empty()) continue;
      numbers.push_back(&number);
      length += number.size() + 1;
    }
    if (numbers.empty()) return;
    const ustring& box = view_.receiversText();
    ustring list;
    list.reserve(box.empty() ? length - 1 : box.size() + length);
    if (!box.empty()) list += box;
    for (const ustring* number : numbers) {
      if (!list.empty()) list += u',';
      list += *number;
    }
    view_.setReceiversText(std::move(list));
    showCost();
  });
}

void SendSmsPresenter::cmdClearMobileClick() {
  errorTrap(source(u"cmdClearMobile_Click"), [&] {
    view_.setReceiversText(ustring());
    showCost();
  });
}

void SendSmsPresenter::loadEveryNode(Tree which) {
  TreeModel& t = tree(which);
  // Every branch opened and filled is one update of the tree.
  TreeModel::UpdateScope update(t);
  // A copy: expanding loads members but never changes the top level, yet the
  // walk must not depend on that.
  const std::vector<ustring> keys = topKeys_[index(which)];
  for (const ustring& key : keys) {
    const NodeId node = t.find(key);
    if (node == kNoNode) throw Error(ui::treeerr::ElementNotFound, u"Element not found");
    if (!t.expanded(node)) t.setExpanded(node, true);
  }
}

void SendSmsPresenter::find(bool next) {
  errorTrap(source(next ? u"cmdFindNext_Click" : u"cmdFind_Click"), [&] {
    // Opening every branch calls the host for each: the session string and the
    // language are read once for the whole search.
    ActionScope action;
    const Tree which = currentTree();
    const char16_t letter = letterOf(which);
    std::size_t& position = searchPosition_[index(which)];
    const ustring wanted = trim(view_.findText());
    if (wanted.empty()) {
      view_.setFindText(ustring());
      position = 1;
      return;
    }
    loadEveryNode(which);
    TreeModel& t = tree(which);
    auto walk = [&](std::size_t from) -> std::size_t {
      const std::size_t count = t.count();
      for (std::size_t p = from; p <= count; ++p) {
        const NodeId node = t.at(p);
        if (keyStartsWith(t.key(node), letter) && contains(searchName(t.text(node)), wanted)) return p;
      }
      return 0;
    };
    std::size_t found = 0;
    if (!next) {
      found = walk(1);
    } else {
      found = walk(position + 1);
      if (found == 0) {
        // Past the end: once more from the top.
        position = 1;
        found = walk(1);
      }
    }
    if (found == 0) return;
    view_.focusTree(which);
    t.setSelected(t.at(found), true);
    position = found;
  });
}

void SendSmsPresenter::cmdFindClick() { find(false); }

void SendSmsPresenter::cmdFindNextClick() { find(true); }

// ---- the message ------------------------------------------------------------------------------

void SendSmsPresenter::messageChanged() {
  errorTrap(source(u"txtSmsInfo_Change"), [&] {
    const auto remaining = static_cast<int32_t>(kMaxMessageLength) - static_cast<int32_t>(view_.messageText().size());
    view_.setCaption(Control::lblSms, counterText(remaining));
    showCost();
  });
}

void SendSmsPresenter::receiversChanged() {
  errorTrap(source(u"txtMobile_Change"), [&] { showCost(); });
}

ustring SendSmsPresenter::signedMessage() const { return trim(view_.messageText()) + u"--" + senderName_; }

void SendSmsPresenter::showCost() { view_.setCaption(Control::lblCost, costText(signedMessage(), view_.receiversText())); }

void SendSmsPresenter::cmdClearClick() {
  errorTrap(source(u"cmdClear_Click"), [&] {
    view_.setMessageText(ustring());
    messageChanged();
  });
}

void SendSmsPresenter::cmdCancelClick() {
  errorTrap(source(u"cmdCancel_Click"), [&] { view_.close(); });
}

void SendSmsPresenter::cmdSendClick() {
  // The send has a trap of its own: whatever fails, the user hears that the SMS
  // platform could not be reached, and nothing is logged.
  Error trapped(0, {});
  try {
    // Every text looked up on the way (a verdict, its box's title) asks for the
    // language once.
    ActionScope action;
    // Read in place: nothing changes the box before the list is handed on.
    const ustring& receivers = view_.receiversText();
    const ustring message = view_.messageText();
    if (isBlank(receivers) || isBlank(message)) {
      msgBoxEx(loadVtString(u"必须输入短信内容和接收号码"));
      return;
    }
    const ustring bad = checkNumbers(receivers);
    if (!bad.empty()) {
      msgBoxEx(loadVtString(bad));
      return;
    }

    auto parameters = std::make_shared<Dictionary>();
    parameters->add(u"title", signedMessage());
    parameters->add(u"msgType", int16_t(0));
    parameters->add(u"Propstr", getPropsString());
    parameters->add(u"isRevertible", int16_t(view_.restoreChecked() ? 1 : 0));
    parameters->add(u"receivers", receivers);
    parameters->add(u"senderid", senderId_);
    parameters->add(u"FuncNumber", u"YDSW");

    ustring result;
    {
      ObjectPtr gateway = platform().create(u"VtMobileOpen.MobileOpen");
      result = gateway->call(u"SendMessage", {Variant(ObjectPtr(parameters))}).toString();
    }
    if (!result.empty()) {
      writeLog(kFuncCode, audit::Operation, loadVtString(u"发送短信"), machineName_, ipAddress_);
      msgBoxEx(loadVtString(u"发送成功"), msgbox::vbOKOnly | msgbox::vbInformation, kDefaultTitle);
    } else {
      msgBoxEx(loadVtString(u"发送失败：短信平台连接失败"));
    }
    return;
  } catch (Error& e) {
    trapped = e;
  } catch (const std::bad_alloc&) {
    trapped = Error(7, u"Out of memory");
  } catch (const std::exception& e) {
    trapped = Error(static_cast<int32_t>(0x80004005u), fromUtf8(e.what()));
  }
  trapped.withSource(source(u"cmdSend_Click"));
  err().set(trapped);
  showHostMessage(loadVtString(u"短信平台连接失败"));
}

}  // namespace lumo::sms
