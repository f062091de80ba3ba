// A check-box tree view that mirrors a TreeModel and reports what the user does.
//
// The model holds every state: the control is rebuilt from it through the
// model's observer and only forwards user actions (expanding, collapsing,
// clicking, ticking a box, double-clicking) to its listener, which decides.
//
// The control is a system tree view whose messages come to this object first
// (win32::Window, subclassed); the notifications it sends its parent come back to
// it, so the window that holds a tree never forwards them.
//
// Ticking a box: Wine's tree view sends no TVN_ITEMCHANGING/TVN_ITEMCHANGED and
// reports NM_CLICK before the box changes, so a click on the state icon (found by
// hit-testing the button-down point) and the space key post a message to the
// tree itself; when it arrives the control's box is compared with the model.
//
// While the model reports an update (a branch loaded, a department checked) the
// control neither draws nor counts as visible, nodes added wait to be inserted,
// and it is drawn once at the end: a
// shown tree view spends time on every item added under an open node, on every
// node opened and on every box ticked, in proportion to what it shows, drawing
// or not. This is what the system's own handling of WM_SETREDRAW does for a
// window; the tree view's handling of that message does not do it for itself.
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <vector>

#include "ui/tree_model.h"
#include "win32/controls.h"

namespace lumo::win32 {

class CheckTreeListener {
 public:
  virtual ~CheckTreeListener() = default;
  virtual void treeExpand(int treeId, ui::NodeId node) = 0;
  virtual void treeCollapse(int treeId, ui::NodeId node) = 0;
  virtual void treeClick(int treeId, ui::NodeId node) = 0;
  virtual void treeCheck(int treeId, ui::NodeId node, bool checked) = 0;
  virtual void treeDoubleClick(int treeId) = 0;
};

class CheckTree final : public Window, private ui::TreeObserver {
 public:
  CheckTree(ui::TreeModel& model, CheckTreeListener& listener);
  ~CheckTree() override;

  // Creates the control (hidden) and fills it from the model.
  void create(HWND parent, int id);
  int id() const { return id_; }

  HTREEITEM itemOf(ui::NodeId node) const;
  ui::NodeId nodeOf(HTREEITEM item) const;

 private:
  // Posted to the tree for a pending check: wParam 1 when the key made it, lParam the HTREEITEM.
  static constexpr UINT kPendingCheck = WM_APP + 0x31;

  bool onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
  bool onReflected(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
  bool onNotify(const NMHDR& header, LRESULT& result);
  void onPendingCheck(LPARAM item, bool fromKey);

  void nodeAdded(ui::NodeId node) override;
  void nodeRemoving(ui::NodeId node) override;
  void nodeChanged(ui::NodeId node) override;
  void treeCleared() override;
  void updateBegun() override;
  void updateEnded() override;

  // readBack: whether a checked node's box is read back and set again when the
  // control dropped it.
  void insert(ui::NodeId node, bool readBack);
  void flushAdded();
  void openDeferred();
  void forget(ui::NodeId node);
  void setItemCheck(HTREEITEM item, bool checked);
  bool itemChecked(HTREEITEM item) const;

  ui::TreeModel& model_;
  CheckTreeListener& listener_;
  int id_ = 0;
  // The check boxes' pictures: the control makes them, but leaves them to its
  // owner to destroy.
  ImageList stateImages_;
  // The control's item of each node, by handle (the model's handles are small
  // numbers, not reused until the tree is cleared); null when not in the control.
  std::vector<HTREEITEM> items_;
  POINT lastButtonDown_{-1, -1};
  // Changes made from the model are not the user's: their notifications are ignored.
  int syncing_ = 0;
  ui::NodeId userExpanding_ = ui::kNoNode;
  // An update is under way with drawing switched off; whether the control was
  // hidden when it began, and the node selected during it, to be scrolled to at its end.
  bool deferring_ = false;
  bool hadNoScroll_ = false;
  bool wasHidden_ = false;
  ui::NodeId showAfterUpdate_ = ui::kNoNode;
  // Nodes added during the update, put into the control at its end: opening a
  // node costs Wine's control a walk over every item under the open nodes, so
  // a branch filled before the next one is opened made loading every branch
  // cost the square of the tree's size.
  std::vector<ui::NodeId> added_;
  // Nodes opened during the update, opened in the control at its end before the
  // nodes added go in: each opening walks the items shown under every open node.
  std::vector<ui::NodeId> opened_;
};

}  // namespace lumo::win32
