// A check-box tree as the send window's directories need it: nodes with a unique
// key, a text and a tag, each checked, expanded and selected or not, found by key
// or by position. The model holds every state; a view only draws it and forwards
// the user's actions.
//
// Positions run from 1 to count() in the order nodes were added. Removing a node
// (with everything under it) closes the gap: the nodes after it move up by the
// number removed and keep their relative order, so positions stay 1..count() as a
// tree control reports them. Looking a node up by key or by position is constant
// time; a removal only marks the node and the order is compacted once, on the next
// look-up by position, so removing a placeholder and filling a branch never walks
// the tree.
//
// Setting a node checked or selected is silent, as on the control. Setting a
// node expanded (by the program or for the user) raises the expand event when the
// node was collapsed.
//
// A run of changes (a branch loaded, a whole department checked) can be marked as
// one update, so that a view draws once at its end instead of after each node.
#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "automation/error.h"
#include "automation/text.h"

namespace lumo::ui {

// A node handle. 0 is "no node" (also the parent of a top-level node). Handles of
// removed nodes are not reused until the tree is cleared.
using NodeId = uint32_t;
constexpr NodeId kNoNode = 0;

// The control's errors, so that callers see the same numbers and texts.
namespace treeerr {
constexpr int32_t IndexOutOfBounds = 35600;  // "Index out of bounds"
constexpr int32_t ElementNotFound = 35601;   // "Element not found"
constexpr int32_t KeyNotUnique = 35602;      // "Key is not unique in collection"
}  // namespace treeerr

// What a view listens to in order to mirror the model.
class TreeObserver {
 public:
  virtual ~TreeObserver() = default;
  virtual void nodeAdded(NodeId) {}
  // Before the node and its subtree go; called for the top of the subtree only.
  virtual void nodeRemoving(NodeId) {}
  // Checked, expanded or selected state changed.
  virtual void nodeChanged(NodeId) {}
  virtual void treeCleared() {}
  // Around the outermost update (see TreeModel::UpdateScope); the changes in
  // between are reported one by one as usual.
  virtual void updateBegun() {}
  virtual void updateEnded() {}
};

class TreeModel {
 public:
  using ExpandHandler = std::function<void(NodeId)>;

  TreeModel();

  // Adds a node as the last child of parent (kNoNode: at top level) and returns it.
  // Raises KeyNotUnique for a key already in the tree, ElementNotFound for a parent
  // that is not in the tree. An empty key adds a node that cannot be found by key.
  NodeId add(NodeId parent, ustring key, ustring text, ustring tag = {});
  // Removes the node with that key and everything under it (ElementNotFound when absent).
  void remove(const ustring& key);
  void remove(NodeId node);
  void clear();

  // kNoNode when absent.
  NodeId find(const ustring& key) const;
  // The node at a position, 1..count() (IndexOutOfBounds otherwise).
  NodeId at(std::size_t position) const;
  // The node's position (ElementNotFound for a handle not in the tree).
  std::size_t positionOf(NodeId node) const;
  std::size_t count() const { return live_; }
  bool contains(NodeId node) const;

  NodeId parent(NodeId node) const { return get(node).parent; }
  NodeId firstChild(NodeId node) const { return get(node).firstChild; }
  NodeId lastChild(NodeId node) const { return get(node).lastChild; }
  NodeId nextSibling(NodeId node) const { return get(node).next; }
  NodeId previousSibling(NodeId node) const { return get(node).prev; }
  std::size_t childrenCount(NodeId node) const { return get(node).children; }
  // Top-level nodes in the order added.
  NodeId firstRoot() const { return nodes_[0].firstChild; }
  std::size_t rootCount() const { return nodes_[0].children; }

  const ustring& key(NodeId node) const { return get(node).key; }
  const ustring& text(NodeId node) const { return get(node).text; }
  const ustring& tag(NodeId node) const { return get(node).tag; }
  bool checked(NodeId node) const { return get(node).checked; }
  bool expanded(NodeId node) const { return get(node).expanded; }
  bool selected(NodeId node) const { return selected_ != kNoNode && selected_ == node; }
  NodeId selectedNode() const { return selected_; }

  void setText(NodeId node, const ustring& text);
  void setChecked(NodeId node, bool on);
  // Expanding a collapsed node raises the expand event after the state is set.
  void setExpanded(NodeId node, bool on);
  // One node at most is selected; selecting another deselects the previous one.
  void setSelected(NodeId node, bool on);

  // Marks the changes made while it lives as one update; updates nest, and the
  // observer hears of the outermost one only.
  class UpdateScope {
   public:
    explicit UpdateScope(TreeModel& tree) : tree_(tree) { tree_.beginUpdate(); }
    ~UpdateScope() { tree_.endUpdate(); }
    UpdateScope(const UpdateScope&) = delete;
    UpdateScope& operator=(const UpdateScope&) = delete;

   private:
    TreeModel& tree_;
  };
  bool updating() const { return updates_ > 0; }

  void setExpandHandler(ExpandHandler handler) { onExpand_ = std::move(handler); }
  void setObserver(TreeObserver* observer) { observer_ = observer; }

 private:
  struct Node {
    ustring key, text, tag;
    NodeId parent = kNoNode, firstChild = kNoNode, lastChild = kNoNode, next = kNoNode, prev = kNoNode;
    uint32_t children = 0;
    mutable uint32_t slot = 0;  // index in order_; rewritten by compaction
    bool alive = false, checked = false, expanded = false;
  };

  void beginUpdate();
  void endUpdate();
  const Node& get(NodeId node) const;
  Node& get(NodeId node);
  void unlink(NodeId node);
  void compact() const;

  std::vector<Node> nodes_;  // nodes_[0] is the invisible root whose children are the top level
  std::unordered_map<ustring, NodeId> keys_;
  // Node handles in insertion order; removed nodes stay as kNoNode until compacted.
  mutable std::vector<NodeId> order_;
  mutable std::size_t holes_ = 0;
  std::size_t live_ = 0;
  NodeId selected_ = kNoNode;
  int updates_ = 0;
  ExpandHandler onExpand_;
  TreeObserver* observer_ = nullptr;
};

}  // namespace lumo::ui
