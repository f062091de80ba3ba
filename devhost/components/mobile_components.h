// The development host's components behind the mobile-number windows:
//
//   OxaGLItem.ItemUpdate         UpdateUserMobile(props, propertySet, machine, ip):
//                                stores propertySet("Mobile") as the number of
//                                employee propertySet("FEmpID"); refuses a number
//                                another employee holds.
//                                UpdateBatchMobile(props, edits, saved, refused)
//                                (the last three by reference): each edit record
//                                ("FEmpID", "FEmpName", "Mobile") is stored unless
//                                another employee holds its number; returns a
//                                collection with one record ("FEmpName", "Mobile")
//                                per refused edit and writes the counts of stored
//                                and refused edits into 'saved' and 'refused'.
//   OxcGLView.GLView             ItemLookup(itemClass, count, filter) (the first two
//                                by reference): the employee picker. Nothing when
//                                the user cancels; otherwise a collection of the
//                                chosen items (none when OK was pressed with no
//                                choice), each with ItemID, Name, Number and
//                                Properties(name) (FMobilePhone, FNumber, FName,
//                                FDepartmentID); 'count' receives their number.
//   OxaBase.SecurityInfo         CheckEmpIsGroup(props, itemId): whether the item is
//                                a grouping node of the employee tree.
//   OxaBase.SecurityAdmin        SetUserInfo(props, userName, info) (the last two by
//                                reference): binds the ordinary user of that name to
//                                info("FEmpID").
//   LumoMRightManage.CUserInfo   chkAuthRight(props, granted, kind) ('granted' by
//                                reference): kind 2 asks for the user-management
//                                right (the mobile object's UserEmpList mask);
//                                'granted' receives the mask the user holds.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "automation/object.h"
#include "devhost/components/hostdb.h"

namespace lumo::devhost {

using ComponentMaker = ObjectPtr (*)(const ustring&, std::shared_ptr<HostDb>, std::optional<Error>);
ObjectPtr makeItemUpdate(const ustring& progId, std::shared_ptr<HostDb> db, std::optional<Error> err);
ObjectPtr makeGLView(const ustring& progId, std::shared_ptr<HostDb> db, std::optional<Error> err);
ObjectPtr makeSecurityAdmin(const ustring& progId, std::shared_ptr<HostDb> db, std::optional<Error> err);
ObjectPtr makeUserInfo(const ustring& progId, std::shared_ptr<HostDb> db, std::optional<Error> err);

// SecurityInfo.CheckEmpIsGroup.
Variant checkEmpIsGroup(HostDb& db, const Variant& props, const Variant& itemId);

// ---- the employee picker ------------------------------------------------------------------

struct PickerDepartment {
  int32_t id = 0;
  ustring name;
};

struct PickerEmployee {
  int32_t id = 0;
  ustring number, name;
  Variant mobile;        // Null for none
  int32_t department = 0;  // 0 for none
  bool group = false;    // a grouping node of the employee tree
};

struct PickerChoice {
  bool cancelled = true;
  std::optional<int32_t> itemId;  // OK without a choice leaves it empty
};

struct PickerRequest {
  std::vector<PickerDepartment> departments;
  std::vector<PickerEmployee> employees;
  ustring language;  // the session's: "chs", "cht" or "en"
};

// Shows the picker and returns what the user chose. On Windows the development
// host's picker window is the default; a test may install its own (an empty
// function restores the default).
using EmployeePicker = std::function<PickerChoice(const PickerRequest&)>;
void setEmployeePicker(EmployeePicker picker);
// The picker window of the development host (Windows only; elsewhere it raises).
PickerChoice showPickerWindow(const PickerRequest& request);

}  // namespace lumo::devhost
