// The send window's view for its presenter's tests and benchmark: it records what
// the window shows and answers what the window reads from the fields the test sets.
#pragma once

#include <array>
#include <map>
#include <vector>

#include "automation/object.h"
#include "sms/send_sms.h"

namespace lumo::test {

class FakeView : public sms::SendSmsView {
 public:
  int32_t tab = 0;
  bool enabled[2] = {true, true};
  ustring find, receivers, message;
  int32_t maxLength = 0;
  bool restore = false;
  std::map<sms::Control, ustring> captions, toolTips;
  std::array<ustring, 6> receiverMenu;
  std::vector<sms::Tree> focused;
  int closes = 0;
  ObjectPtr form;

  int32_t selectedTab() const override { return tab; }
  void setTreeEnabled(sms::Tree tree, bool on) override { enabled[tree == sms::Tree::Group ? 1 : 0] = on; }
  ustring findText() const override { return find; }
  void setFindText(const ustring& t) override { find = t; }
  const ustring& receiversText() const override { return receivers; }
  void setReceiversText(ustring t) override { receivers = std::move(t); }
  ustring messageText() const override { return message; }
  void setMessageText(const ustring& t) override { message = t; }
  void setMessageMaxLength(int32_t n) override { maxLength = n; }
  bool restoreChecked() const override { return restore; }
  void setCaption(sms::Control c, const ustring& t) override { captions[c] = t; }
  void setToolTip(sms::Control c, const ustring& t) override { toolTips[c] = t; }
  void setReceiverMenu(const std::array<ustring, 6>& captions) override { receiverMenu = captions; }
  void focusTree(sms::Tree tree) override { focused.push_back(tree); }
  void close() override { ++closes; }
  ObjectPtr formObject() override { return form; }
};

}  // namespace lumo::test
