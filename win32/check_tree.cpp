#include "win32/check_tree.h"

#include <algorithm>
#include <vector>

namespace lumo::win32 {

namespace {
struct SyncScope {
  explicit SyncScope(int& depth) : depth_(depth) { ++depth_; }
  ~SyncScope() { --depth_; }
  int& depth_;
};
}  // namespace

CheckTree::CheckTree(ui::TreeModel& model, CheckTreeListener& listener)
    : Window(u"CheckTree"), model_(model), listener_(listener) {}

CheckTree::~CheckTree() { model_.setObserver(nullptr); }

void CheckTree::create(HWND parent, int id) {
  id_ = id;
  subclass(createControl(parent, WC_TREEVIEWW,
                         WS_TABSTOP | WS_BORDER | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT |
                             TVS_SHOWSELALWAYS | TVS_CHECKBOXES,
                         WS_EX_CLIENTEDGE, id));
  model_.setObserver(this);
  SyncScope sync(syncing_);
  // Whatever the model already holds, in insertion order (parents before children).
  for (std::size_t p = 1; p <= model_.count(); ++p) insert(model_.at(p), true);
}

bool CheckTree::onMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT&) {
  switch (msg) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      // The point of the click, whether the mouse or a program made it.
      lastButtonDown_.x = static_cast<short>(LOWORD(lParam));
      lastButtonDown_.y = static_cast<short>(HIWORD(lParam));
      return false;
    case kPendingCheck:
      onPendingCheck(lParam, wParam != 0);
      return true;
    case WM_DESTROY:
      // The control made the check boxes' pictures and leaves them to its owner.
      stateImages_.reset(TreeView_GetImageList(hwnd(), TVSIL_STATE));
      return false;
    default:
      return false;
  }
}

bool CheckTree::onReflected(UINT msg, WPARAM, LPARAM lParam, LRESULT& result) {
  return msg == WM_NOTIFY && onNotify(*reinterpret_cast<const NMHDR*>(lParam), result);
}

HTREEITEM CheckTree::itemOf(ui::NodeId node) const {
  return node < items_.size() ? items_[node] : nullptr;
}

ui::NodeId CheckTree::nodeOf(HTREEITEM item) const {
  if (!item || !hwnd()) return ui::kNoNode;
  TVITEMW tv{};
  tv.mask = TVIF_PARAM | TVIF_HANDLE;
  tv.hItem = item;
  if (!TreeView_GetItem(hwnd(), &tv)) return ui::kNoNode;
  const auto node = static_cast<ui::NodeId>(tv.lParam);
  return model_.contains(node) ? node : ui::kNoNode;
}

void CheckTree::setItemCheck(HTREEITEM item, bool checked) {
  TVITEMW tv{};
  tv.mask = TVIF_STATE | TVIF_HANDLE;
  tv.hItem = item;
  tv.stateMask = TVIS_STATEIMAGEMASK;
  tv.state = INDEXTOSTATEIMAGEMASK(checked ? 2 : 1);
  TreeView_SetItem(hwnd(), &tv);
}

bool CheckTree::itemChecked(HTREEITEM item) const {
  const UINT state = TreeView_GetItemState(hwnd(), item, TVIS_STATEIMAGEMASK);
  return (state >> 12) == 2;
}

void CheckTree::insert(ui::NodeId node, bool readBack) {
  if (!hwnd()) return;
  const ui::NodeId parent = model_.parent(node);
  TVINSERTSTRUCTW ins{};
  ins.hParent = parent == ui::kNoNode ? TVI_ROOT : itemOf(parent);
  if (!ins.hParent) return;
  ins.hInsertAfter = TVI_LAST;
  ins.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_STATE;
  ins.item.pszText = const_cast<wchar_t*>(wz(model_.text(node)));
  ins.item.lParam = static_cast<LPARAM>(node);
  ins.item.stateMask = TVIS_STATEIMAGEMASK;
  ins.item.state = INDEXTOSTATEIMAGEMASK(model_.checked(node) ? 2 : 1);
  HTREEITEM item = TreeView_InsertItem(hwnd(), &ins);
  if (!item) return;
  if (node >= items_.size()) items_.resize(std::max<std::size_t>(node + 1, items_.size() * 2), nullptr);
  items_[node] = item;
  // Some tree views drop the state image given on insertion, and a new item of a
  // check-box tree is unchecked: only a checked node is read back and set again
  // when so. Reading an item back is not free: Wine's control looks every item
  // handle up in a list of all its items, so a read after each insertion made
  // loading a branch cost in proportion to the whole tree.
  if (readBack && model_.checked(node) && !itemChecked(item)) setItemCheck(item, true);
}

void CheckTree::nodeAdded(ui::NodeId node) {
  // During an update new nodes wait for its end (see flushAdded).
  if (deferring_) {
    added_.push_back(node);
    return;
  }
  SyncScope sync(syncing_);
  insert(node, true);
}

void CheckTree::flushAdded() {
  if (added_.empty()) return;
  std::vector<ui::NodeId> added;
  added.swap(added_);
  SyncScope sync(syncing_);
  // Once the control has its check-box images it keeps the state given on
  // insertion, so each new item is read back (a look-up through every item in
  // Wine's control) only before that.
  const bool readBack = TreeView_GetImageList(hwnd(), TVSIL_STATE) == nullptr;
  // In the order added, so parents come before their children; a node removed
  // meanwhile has left the model.
  for (const ui::NodeId node : added)
    if (model_.contains(node)) insert(node, readBack);
  // What was set on them while they waited: opened, selected.
  for (const ui::NodeId node : added) {
    if (!model_.contains(node)) continue;
    if (model_.expanded(node) || model_.selected(node)) nodeChanged(node);
  }
}

void CheckTree::openDeferred() {
  if (opened_.empty()) return;
  std::vector<ui::NodeId> opened;
  opened.swap(opened_);
  SyncScope sync(syncing_);
  for (const ui::NodeId node : opened) {
    HTREEITEM item = model_.contains(node) && model_.expanded(node) ? itemOf(node) : nullptr;
    if (!item || (TreeView_GetItemState(hwnd(), item, TVIS_EXPANDED) & TVIS_EXPANDED)) continue;
    if (TreeView_GetChild(hwnd(), item)) {
      TreeView_Expand(hwnd(), item, TVE_EXPAND);
    } else {
      // Its children are still waiting: the node is marked open and shows them
      // once they are in (the control will not open a node without children).
      TVITEMW tv{};
      tv.mask = TVIF_STATE | TVIF_HANDLE;
      tv.hItem = item;
      tv.stateMask = TVIS_EXPANDED;
      tv.state = TVIS_EXPANDED;
      TreeView_SetItem(hwnd(), &tv);
    }
  }
}

void CheckTree::forget(ui::NodeId node) {
  std::vector<ui::NodeId> stack{node};
  while (!stack.empty()) {
    const ui::NodeId n = stack.back();
    stack.pop_back();
    if (n < items_.size()) items_[n] = nullptr;
    for (ui::NodeId c = model_.firstChild(n); c != ui::kNoNode; c = model_.nextSibling(c)) stack.push_back(c);
  }
}

void CheckTree::nodeRemoving(ui::NodeId node) {
  SyncScope sync(syncing_);
  HTREEITEM item = itemOf(node);
  forget(node);
  if (item && hwnd()) TreeView_DeleteItem(hwnd(), item);
}

void CheckTree::nodeChanged(ui::NodeId node) {
  HTREEITEM item = itemOf(node);
  if (!item || !hwnd()) return;
  SyncScope sync(syncing_);
  if (itemChecked(item) != model_.checked(node)) setItemCheck(item, model_.checked(node));
  // While the control is expanding a node for the user it does so itself.
  if (node != userExpanding_) {
    const bool open = (TreeView_GetItemState(hwnd(), item, TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
    if (open != model_.expanded(node)) {
      if (deferring_ && !open) opened_.push_back(node);  // see openDeferred
      else TreeView_Expand(hwnd(), item, model_.expanded(node) ? TVE_EXPAND : TVE_COLLAPSE);
    }
  }
  const bool selected = TreeView_GetSelection(hwnd()) == item;
  if (model_.selected(node) && !selected) {
    TreeView_SelectItem(hwnd(), item);
    // Without drawing the control cannot scroll to it; that waits for the update's end.
    if (deferring_) showAfterUpdate_ = node;
    else TreeView_EnsureVisible(hwnd(), item);
  }
}

namespace {
void setStyleBit(HWND hwnd, LONG_PTR bit, bool on) {
  const LONG_PTR style = GetWindowLongPtrW(hwnd, GWL_STYLE);
  const LONG_PTR want = on ? (style | bit) : (style & ~bit);
  if (want != style) SetWindowLongPtrW(hwnd, GWL_STYLE, want);
}
}  // namespace

void CheckTree::updateBegun() {
  if (!hwnd()) return;
  wasHidden_ = (GetWindowLongPtrW(hwnd(), GWL_STYLE) & WS_VISIBLE) == 0;
  SendMessageW(hwnd(), WM_SETREDRAW, FALSE, 0);
  // Only the style bit: the window is not hidden (the focus stays where it is,
  // nothing around it is repainted).
  setStyleBit(hwnd(), WS_VISIBLE, false);
  // Without scroll bars to keep up to date, a change to an item no longer makes
  // the control measure every open item again (Wine's does, even with drawing
  // off: checking 50 people of an open tree of 100,000 took seconds).
  hadNoScroll_ = (GetWindowLongPtrW(hwnd(), GWL_STYLE) & TVS_NOSCROLL) != 0;
  setStyleBit(hwnd(), TVS_NOSCROLL, true);
  deferring_ = true;
  showAfterUpdate_ = ui::kNoNode;
}

void CheckTree::updateEnded() {
  if (!deferring_) return;
  if (hwnd()) {
    // Nodes opened first, while the children waiting are not yet in the control:
    // opening a node walks every item shown below an open node.
    openDeferred();
    flushAdded();
    openDeferred();  // new nodes opened as they went in
  }
  added_.clear();
  opened_.clear();
  deferring_ = false;
  // A node removed during the update has left items_ and is not shown.
  HTREEITEM show = itemOf(showAfterUpdate_);
  showAfterUpdate_ = ui::kNoNode;
  if (!hwnd()) return;
  setStyleBit(hwnd(), TVS_NOSCROLL, hadNoScroll_);
  SendMessageW(hwnd(), WM_SETREDRAW, TRUE, 0);
  setStyleBit(hwnd(), WS_VISIBLE, !wasHidden_);
  if (wasHidden_) return;
  SyncScope sync(syncing_);
  if (show && TreeView_GetSelection(hwnd()) == show) TreeView_EnsureVisible(hwnd(), show);
  RedrawWindow(hwnd(), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME);
}

void CheckTree::treeCleared() {
  SyncScope sync(syncing_);
  items_.clear();
  added_.clear();
  opened_.clear();
  if (hwnd()) TreeView_DeleteAllItems(hwnd());
}

bool CheckTree::onNotify(const NMHDR& header, LRESULT& result) {
  result = 0;
  switch (header.code) {
    case TVN_ITEMEXPANDINGW: {
      if (syncing_) return true;
      const auto& nm = reinterpret_cast<const NMTREEVIEWW&>(header);
      const ui::NodeId node = nodeOf(nm.itemNew.hItem);
      if (node == ui::kNoNode) return true;
      if (nm.action & TVE_EXPAND) {
        userExpanding_ = node;
        listener_.treeExpand(id_, node);
        userExpanding_ = ui::kNoNode;
      } else if (nm.action & TVE_COLLAPSE) {
        userExpanding_ = node;
        listener_.treeCollapse(id_, node);
        userExpanding_ = ui::kNoNode;
      }
      return true;
    }
    case TVN_SELCHANGEDW: {
      if (syncing_) return true;
      const auto& nm = reinterpret_cast<const NMTREEVIEWW&>(header);
      const ui::NodeId node = nodeOf(nm.itemNew.hItem);
      if (node != ui::kNoNode && !model_.selected(node)) listener_.treeClick(id_, node);
      return true;
    }
    case NM_CLICK: {
      TVHITTESTINFO hit{};
      hit.pt = lastButtonDown_;
      HTREEITEM item = TreeView_HitTest(hwnd(), &hit);
      if (item && (hit.flags & TVHT_ONITEMSTATEICON))
        PostMessageW(hwnd(), kPendingCheck, 0, reinterpret_cast<LPARAM>(item));
      return true;
    }
    case NM_DBLCLK: {
      TVHITTESTINFO hit{};
      hit.pt = lastButtonDown_;
      HTREEITEM item = TreeView_HitTest(hwnd(), &hit);
      if (item && (hit.flags & TVHT_ONITEM) && !(hit.flags & TVHT_ONITEMSTATEICON)) {
        const ui::NodeId node = nodeOf(item);
        if (node != ui::kNoNode && !model_.selected(node)) listener_.treeClick(id_, node);
        listener_.treeDoubleClick(id_);
      }
      return true;
    }
    case TVN_KEYDOWN: {
      const auto& nm = reinterpret_cast<const NMTVKEYDOWN&>(header);
      if (nm.wVKey == VK_SPACE) {
        HTREEITEM item = TreeView_GetSelection(hwnd());
        if (item)
          PostMessageW(hwnd(), kPendingCheck, 1, reinterpret_cast<LPARAM>(item));
        result = 1;  // no incremental search on the blank
      }
      return true;
    }
    default:
      return false;
  }
}

void CheckTree::onPendingCheck(LPARAM lParam, bool fromKey) {
  if (!hwnd()) return;
  auto item = reinterpret_cast<HTREEITEM>(lParam);
  const ui::NodeId node = nodeOf(item);
  if (node == ui::kNoNode || itemOf(node) != item) return;
  const bool shown = itemChecked(item);
  if (shown != model_.checked(node)) {
    listener_.treeCheck(id_, node, shown);
  } else if (fromKey) {
    // The control left the box alone on the key: the key toggles it.
    listener_.treeCheck(id_, node, !shown);
  }
  // The model decides; the control shows what it decided.
  SyncScope sync(syncing_);
  if (model_.contains(node)) {
    if (HTREEITEM again = itemOf(node)) setItemCheck(again, model_.checked(node));
  }
}

}  // namespace lumo::win32
