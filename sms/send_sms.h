// The send window: two recipient directories (departments with their employees,
// user groups with their users) loaded on demand, the receiver list filled from
// them or typed, the search over the directories, the message with its length
// counter, and the dispatch through the host's SMS gateway.
//
// Every rule lives here. The view draws the two tree models and the controls and
// forwards the user's actions to the handlers below; it never decides anything.
// Messages reach the user through the host services (message box, host message
// service), never through the view.
#pragma once

#include <array>
#include <optional>
#include <cstdint>
#include <vector>

#include "automation/object.h"
#include "host/platform.h"
#include "ui/tree_model.h"

namespace lumo::sms {

// The directories are check-box trees of the portable UI library.
using ui::kNoNode;
using ui::NodeId;
using ui::TreeModel;

enum class Tree : int32_t { Department = 0, Group = 1 };

// Controls whose caption (or tool tip) the window sets.
enum class Control : int32_t {
  Form,
  faRecevie,        // frame "接收号码"
  tabDepartment,    // tab 0
  tabGroup,         // tab 1
  cmdFind,
  cmdFindNext,
  cmdAdd,           // caption and tool tip
  lblInfo,
  cmdClearMobile,
  faContent,
  lblSms,           // the length counter
  cmdClear,
  chkRestore,
  cmdSend,
  cmdCancel,
  lblCost,          // under the counter: the SMS the message costs, signature included
};

// What the window needs of its controls. Setting a text does not raise the
// control's change event back into the presenter.
class SendSmsView {
 public:
  virtual ~SendSmsView() = default;

  // tabMain: 0 the department tab, 1 the group tab.
  virtual int32_t selectedTab() const = 0;
  // Keeps a tree in or out of reach of the mouse and keyboard.
  virtual void setTreeEnabled(Tree tree, bool enabled) = 0;

  virtual ustring findText() const = 0;  // txtFind
  virtual void setFindText(const ustring& text) = 0;
  // txtMobile. The list can be megabytes: it is read in place (valid until the
  // box changes) and a new one is handed over whole.
  virtual const ustring& receiversText() const = 0;
  virtual void setReceiversText(ustring text) = 0;
  virtual ustring messageText() const = 0;  // txtSmsInfo
  virtual void setMessageText(const ustring& text) = 0;
  virtual void setMessageMaxLength(int32_t characters) = 0;
  virtual bool restoreChecked() const = 0;  // chkRestore ticked

  virtual void setCaption(Control control, const ustring& text) = 0;
  virtual void setToolTip(Control control, const ustring& text) = 0;
  // The receiver box's context menu, in the order of ReceiverMenu.
  virtual void setReceiverMenu(const std::array<ustring, 6>& captions) { (void)captions; }

  // Gives the keyboard focus to a tree (its selected node is the model's).
  virtual void focusTree(Tree tree) = 0;
  // Closes the window; the view then calls formUnload.
  virtual void close() = 0;

  // The window as an automation object for the host's form-font service; a view
  // without one keeps its own font.
  virtual ObjectPtr formObject() { return nullptr; }
};

// The receiver box's context menu items.
enum class ReceiverMenu : int32_t { Undo, Cut, Copy, Paste, Delete, SelectAll };

// ---- the rules, as plain functions ----------------------------------------------------

constexpr int16_t kMaxMessageLength = 130;
extern const char16_t* const kLoadingText;  // "正在加载数据", the placeholder's text before look-up

ustring departmentTreeSql();
ustring groupTreeSql();
ustring noDepartmentMembersSql();
ustring departmentMembersSql(const ustring& departmentId);
ustring groupMembersSql(const ustring& groupId);

// A person node's text: the name, then " (" number ")" when the number is not
// Null and not blank after trimming.
ustring personText(const ustring& name, const Variant& mobile);
// A person node's tag: the number as stored, "" for Null.
ustring personTag(const Variant& mobile);
// The name a search compares with: the text up to its first "(", trimmed.
ustring searchName(const ustring& nodeText);

// The receiver box accepts the digits, "," and backspace from the keyboard.
bool acceptReceiverKey(int32_t keyAscii);
// Double-click: the box becomes the number when blank after trimming, else "," number is appended.
ustring appendNumber(const ustring& box, const ustring& number);
// The number check: "" when every entry between commas is at most 11 ASCII
// digits (an empty entry passes), else the message of the first failing entry
// ("手机号码长度不能大于11!" or "手机号码中包含非法字符!"), not yet looked up.
ustring checkNumbers(ustring_view receivers);
// The counter's text for a remaining count, through the formatted look-up.
ustring counterText(int32_t remaining);
// The cost line: the SMS one receiver gets for 'signedText' (the text as it will be
// handed to the gateway) and the total for the receiver list.
ustring costText(ustring_view signedText, ustring_view receivers);

// ---- the window -----------------------------------------------------------------------

class SendSmsPresenter {
 public:
  explicit SendSmsPresenter(SendSmsView& view);
  SendSmsPresenter(const SendSmsPresenter&) = delete;
  SendSmsPresenter& operator=(const SendSmsPresenter&) = delete;

  TreeModel& tree(Tree which) { return trees_[index(which)]; }
  const TreeModel& tree(Tree which) const { return trees_[index(which)]; }

  // Public check made by the entry command before the window is shown: whether the
  // current user is bound to an employee; keeps that employee's name as the sender.
  bool isRelateEmp();

  void formLoad();
  void formUnload();
  // Receivers and a message to put in place at the end of Form_Load (the SMS log's
  // resend); the message is cut to the box's maximum length. Nothing is sent.
  void prefill(ustring receivers, ustring message);
  // Esc (27) closes the window, Enter (13) runs find.
  void formKeyDown(int32_t keyCode);
  // The tab of tabMain changed (read back from the view).
  void tabClick();

  // The user's actions on a tree.
  void nodeExpand(Tree which, NodeId node);
  void nodeCollapse(Tree which, NodeId node);
  void nodeClick(Tree which, NodeId node);
  // The user toggled a node's check box; 'checked' is its new state.
  void nodeCheck(Tree which, NodeId node, bool checked);
  // Acts on the tree's selected node.
  void treeDoubleClick(Tree which);

  void cmdAddClick();
  void cmdClearMobileClick();
  void cmdFindClick();
  void cmdFindNextClick();

  void messageChanged();    // txtSmsInfo changed
  void receiversChanged();  // txtMobile changed by the user
  void cmdClearClick();
  void cmdSendClick();
  void cmdCancelClick();

  // State, for the view and for tests.
  const ustring& senderName() const { return senderName_; }
  const ustring& senderId() const { return senderId_; }
  const ustring& machineName() const { return machineName_; }
  const ustring& ipAddress() const { return ipAddress_; }
  int16_t maxLength() const { return maxLength_; }
  std::size_t searchPosition(Tree which) const { return searchPosition_[index(which)]; }
  const std::vector<ustring>& topLevelKeys(Tree which) const { return topKeys_[index(which)]; }

 private:
  static std::size_t index(Tree which) { return which == Tree::Group ? 1 : 0; }
  // The tree and key letter of the selected tab.
  Tree currentTree() const;

  void loadDepartmentTree();
  void loadGroupTree();
  void loadDepartmentMembers(NodeId node);
  void loadGroupMembers(NodeId node);
  void removeChildren(TreeModel& tree, NodeId node);
  // Loads a node's members when its only child is the placeholder.
  void expandRule(Tree which, NodeId node);
  void onExpand(Tree which, NodeId node);
  void loadEveryNode(Tree which);
  void find(bool next);
  // The message as the gateway will get it: trimmed, "--" and the sender's name behind.
  ustring signedMessage() const;
  void showCost();

  // While the window lives, the components' class objects are kept: every search,
  // Add and Send would otherwise look each component up again.
  ClassObjectHold classObjects_;
  SendSmsView& view_;
  std::array<TreeModel, 2> trees_;
  std::array<std::vector<ustring>, 2> topKeys_;
  std::array<std::size_t, 2> searchPosition_{0, 0};
  int16_t maxLength_ = 0;
  ustring senderName_, senderId_, machineName_, ipAddress_;
  std::optional<std::pair<ustring, ustring>> prefill_;
};

}  // namespace lumo::sms
