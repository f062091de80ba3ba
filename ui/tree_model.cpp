#include "ui/tree_model.h"

namespace lumo::ui {

namespace {
[[noreturn]] void raiseTree(int32_t number) {
  switch (number) {
    case treeerr::IndexOutOfBounds: throw Error(number, u"Index out of bounds");
    case treeerr::KeyNotUnique: throw Error(number, u"Key is not unique in collection");
    default: throw Error(treeerr::ElementNotFound, u"Element not found");
  }
}
}  // namespace

TreeModel::TreeModel() {
  nodes_.emplace_back();
  nodes_[0].alive = true;
}

const TreeModel::Node& TreeModel::get(NodeId node) const {
  if (node == kNoNode || node >= nodes_.size() || !nodes_[node].alive) raiseTree(treeerr::ElementNotFound);
  return nodes_[node];
}

TreeModel::Node& TreeModel::get(NodeId node) {
  return const_cast<Node&>(static_cast<const TreeModel*>(this)->get(node));
}

bool TreeModel::contains(NodeId node) const {
  return node != kNoNode && node < nodes_.size() && nodes_[node].alive;
}

NodeId TreeModel::add(NodeId parent, ustring key, ustring text, ustring tag) {
  if (parent != kNoNode) get(parent);  // a parent that is not in the tree
  if (nodes_.size() >= UINT32_MAX) throw Error(errnum::Overflow);

  const NodeId id = static_cast<NodeId>(nodes_.size());
  // One look-up of the key both tests and takes it.
  if (!key.empty() && !keys_.try_emplace(key, id).second) raiseTree(treeerr::KeyNotUnique);
  nodes_.emplace_back();
  Node& n = nodes_.back();
  n.key = std::move(key);
  n.text = std::move(text);
  n.tag = std::move(tag);
  n.parent = parent;
  n.alive = true;
  n.slot = static_cast<uint32_t>(order_.size());
  order_.push_back(id);

  Node& p = nodes_[parent];
  n.prev = p.lastChild;
  if (p.lastChild != kNoNode) nodes_[p.lastChild].next = id;
  else p.firstChild = id;
  p.lastChild = id;
  ++p.children;
  ++live_;
  if (observer_) observer_->nodeAdded(id);
  return id;
}

void TreeModel::unlink(NodeId node) {
  Node& n = nodes_[node];
  Node& p = nodes_[n.parent];
  if (n.prev != kNoNode) nodes_[n.prev].next = n.next;
  else p.firstChild = n.next;
  if (n.next != kNoNode) nodes_[n.next].prev = n.prev;
  else p.lastChild = n.prev;
  --p.children;
  n.prev = n.next = kNoNode;
}

void TreeModel::remove(const ustring& key) {
  const NodeId id = find(key);
  if (id == kNoNode) raiseTree(treeerr::ElementNotFound);
  remove(id);
}

void TreeModel::remove(NodeId node) {
  get(node);
  if (observer_) observer_->nodeRemoving(node);
  unlink(node);
  // The subtree goes with it; the walk uses an explicit stack, not recursion.
  std::vector<NodeId> stack{node};
  while (!stack.empty()) {
    const NodeId id = stack.back();
    stack.pop_back();
    Node& n = nodes_[id];
    for (NodeId c = n.firstChild; c != kNoNode; c = nodes_[c].next) stack.push_back(c);
    if (!n.key.empty()) keys_.erase(n.key);
    order_[n.slot] = kNoNode;
    ++holes_;
    --live_;
    if (selected_ == id) selected_ = kNoNode;
    n = Node();  // frees the texts; alive is false from here on
  }
}

void TreeModel::clear() {
  nodes_.clear();
  nodes_.emplace_back();
  nodes_[0].alive = true;
  keys_.clear();
  order_.clear();
  holes_ = 0;
  live_ = 0;
  selected_ = kNoNode;
  if (observer_) observer_->treeCleared();
}

NodeId TreeModel::find(const ustring& key) const {
  if (key.empty()) return kNoNode;
  auto it = keys_.find(key);
  return it == keys_.end() ? kNoNode : it->second;
}

void TreeModel::compact() const {
  if (holes_ == 0) return;
  std::size_t w = 0;
  for (std::size_t r = 0; r < order_.size(); ++r) {
    const NodeId id = order_[r];
    if (id == kNoNode) continue;
    nodes_[id].slot = static_cast<uint32_t>(w);
    order_[w++] = id;
  }
  order_.resize(w);
  holes_ = 0;
}

NodeId TreeModel::at(std::size_t position) const {
  if (position < 1 || position > live_) raiseTree(treeerr::IndexOutOfBounds);
  compact();
  return order_[position - 1];
}

std::size_t TreeModel::positionOf(NodeId node) const {
  const Node& n = get(node);
  compact();
  return static_cast<std::size_t>(n.slot) + 1;
}

void TreeModel::beginUpdate() {
  if (updates_++ == 0 && observer_) observer_->updateBegun();
}

void TreeModel::endUpdate() {
  if (updates_ > 0 && --updates_ == 0 && observer_) observer_->updateEnded();
}

void TreeModel::setText(NodeId node, const ustring& text) {
  get(node).text = text;
  if (observer_) observer_->nodeChanged(node);
}

void TreeModel::setChecked(NodeId node, bool on) {
  Node& n = get(node);
  if (n.checked == on) return;
  n.checked = on;
  if (observer_) observer_->nodeChanged(node);
}

void TreeModel::setExpanded(NodeId node, bool on) {
  Node& n = get(node);
  if (n.expanded == on) return;
  n.expanded = on;
  if (observer_) observer_->nodeChanged(node);
  if (on && onExpand_) onExpand_(node);
}

void TreeModel::setSelected(NodeId node, bool on) {
  get(node);
  if (on) {
    if (selected_ == node) return;
    const NodeId previous = selected_;
    selected_ = node;
    if (observer_) {
      if (previous != kNoNode) observer_->nodeChanged(previous);
      observer_->nodeChanged(node);
    }
  } else if (selected_ == node) {
    selected_ = kNoNode;
    if (observer_) observer_->nodeChanged(node);
  }
}

}  // namespace lumo::ui
