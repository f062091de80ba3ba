#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/support/errors.h"
#include "ui/tree_model.h"

using namespace lumo;
using namespace lumo::ui;
using lumo::test::errorOf;

namespace {

std::vector<ustring> byPosition(const TreeModel& t) {
  std::vector<ustring> out;
  for (std::size_t p = 1; p <= t.count(); ++p) out.push_back(t.key(t.at(p)));
  return out;
}

std::vector<ustring> children(const TreeModel& t, NodeId parent) {
  std::vector<ustring> out;
  for (NodeId c = parent == kNoNode ? t.firstRoot() : t.firstChild(parent); c != kNoNode; c = t.nextSibling(c))
    out.push_back(t.key(c));
  return out;
}

// A department tree as the send window builds it: roots, each with a placeholder.
void twoLevels(TreeModel& t, int roots) {
  for (int r = 0; r < roots; ++r) {
    const ustring key = u"D" + toText(r);
    const NodeId n = t.add(kNoNode, key, u"部门" + toText(r));
    t.add(n, key + u"C1", u"正在加载数据");
  }
}

struct Recorder : TreeObserver {
  std::vector<std::string> events;
  const TreeModel* tree = nullptr;
  void nodeAdded(NodeId n) override { events.push_back("add " + toUtf8(tree->key(n))); }
  void nodeRemoving(NodeId n) override { events.push_back("remove " + toUtf8(tree->key(n))); }
  void nodeChanged(NodeId n) override { events.push_back("change " + toUtf8(tree->key(n))); }
  void treeCleared() override { events.push_back("clear"); }
  void updateBegun() override { events.push_back("begin"); }
  void updateEnded() override { events.push_back("end"); }
};

}  // namespace

TEST(TreeModel, FindsNodesByKeyAndByPosition) {
  TreeModel t;
  const NodeId a = t.add(kNoNode, u"D1", u"财务部");
  const NodeId b = t.add(a, u"E1001", u"张伟 (13800000001)", u"13800000001");
  EXPECT_EQ(t.count(), 2u);
  EXPECT_EQ(t.find(u"D1"), a);
  EXPECT_EQ(t.find(u"E1001"), b);
  EXPECT_EQ(t.find(u"E1002"), kNoNode);
  EXPECT_EQ(t.at(1), a);
  EXPECT_EQ(t.at(2), b);
  EXPECT_EQ(t.positionOf(b), 2u);
  EXPECT_EQ(t.text(b), u"张伟 (13800000001)");
  EXPECT_EQ(t.tag(b), u"13800000001");
  EXPECT_EQ(t.tag(a), u"");
  EXPECT_EQ(t.key(a), u"D1");
}

TEST(TreeModel, PositionsAreInsertionOrderNotScreenOrder) {
  TreeModel t;
  twoLevels(t, 2);  // D0 D0C1 D1 D1C1
  const NodeId d0 = t.find(u"D0");
  t.add(d0, u"E1", u"a");  // shown under D0, but added last
  EXPECT_EQ(byPosition(t), (std::vector<ustring>{u"D0", u"D0C1", u"D1", u"D1C1", u"E1"}));
  EXPECT_EQ(children(t, d0), (std::vector<ustring>{u"D0C1", u"E1"}));
}

TEST(TreeModel, ChildrenSiblingsAndParents) {
  TreeModel t;
  const NodeId g = t.add(kNoNode, u"G1", u"财务组");
  const NodeId h = t.add(kNoNode, u"G2", u"销售组");
  const NodeId u1 = t.add(g, u"U16394,1", u"张伟");
  const NodeId u2 = t.add(g, u"U16395,1", u"王芳");
  EXPECT_EQ(t.rootCount(), 2u);
  EXPECT_EQ(t.firstRoot(), g);
  EXPECT_EQ(t.nextSibling(g), h);
  EXPECT_EQ(t.nextSibling(h), kNoNode);
  EXPECT_EQ(t.parent(g), kNoNode);
  EXPECT_EQ(t.parent(u2), g);
  EXPECT_EQ(t.childrenCount(g), 2u);
  EXPECT_EQ(t.childrenCount(h), 0u);
  EXPECT_EQ(t.firstChild(g), u1);
  EXPECT_EQ(t.lastChild(g), u2);
  EXPECT_EQ(t.nextSibling(u1), u2);
  EXPECT_EQ(t.previousSibling(u2), u1);
  EXPECT_EQ(t.firstChild(h), kNoNode);
}

TEST(TreeModel, DuplicateKeyRaisesTheControlsErrorAndAddsNothing) {
  TreeModel t;
  t.add(kNoNode, u"D1", u"a");
  try {
    t.add(kNoNode, u"D1", u"b");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), treeerr::KeyNotUnique);
    EXPECT_EQ(e.description(), u"Key is not unique in collection");
  }
  EXPECT_EQ(t.count(), 1u);
  EXPECT_EQ(t.rootCount(), 1u);
  EXPECT_EQ(t.text(t.find(u"D1")), u"a");
}

TEST(TreeModel, KeysCompareExactly) {
  TreeModel t;
  t.add(kNoNode, u"D1", u"a");
  t.add(kNoNode, u"d1", u"b");
  t.add(kNoNode, u"D1 ", u"c");
  EXPECT_EQ(t.count(), 3u);
  EXPECT_EQ(t.text(t.find(u"d1")), u"b");
}

TEST(TreeModel, NodesWithoutKeyAreNotIndexed) {
  TreeModel t;
  const NodeId a = t.add(kNoNode, u"", u"a");
  const NodeId b = t.add(kNoNode, u"", u"b");
  EXPECT_NE(a, b);
  EXPECT_EQ(t.find(u""), kNoNode);
  EXPECT_EQ(t.count(), 2u);
  t.remove(a);
  EXPECT_EQ(t.at(1), b);
}

TEST(TreeModel, MissingParentKeyOrPositionRaiseTheControlsErrors) {
  TreeModel t;
  t.add(kNoNode, u"D1", u"a");
  EXPECT_EQ(errorOf([&] { t.add(999, u"E1", u"x"); }), treeerr::ElementNotFound);
  EXPECT_EQ(errorOf([&] { t.remove(u"nope"); }), treeerr::ElementNotFound);
  EXPECT_EQ(errorOf([&] { t.at(0); }), treeerr::IndexOutOfBounds);
  EXPECT_EQ(errorOf([&] { t.at(2); }), treeerr::IndexOutOfBounds);
  EXPECT_EQ(errorOf([&] { t.key(kNoNode); }), treeerr::ElementNotFound);
  EXPECT_EQ(errorOf([&] { t.remove(kNoNode); }), treeerr::ElementNotFound);
  EXPECT_EQ(t.count(), 1u);
}

TEST(TreeModel, RemovalClosesTheGapInPositions) {
  TreeModel t;
  twoLevels(t, 3);  // D0 D0C1 D1 D1C1 D2 D2C1
  t.remove(u"D1C1");
  EXPECT_EQ(t.count(), 5u);
  EXPECT_EQ(byPosition(t), (std::vector<ustring>{u"D0", u"D0C1", u"D1", u"D2", u"D2C1"}));
  EXPECT_EQ(t.positionOf(t.find(u"D2")), 4u);
  // Members added now come after everything already in the tree.
  const NodeId d1 = t.find(u"D1");
  t.add(d1, u"E1", u"a");
  t.add(d1, u"E2", u"b");
  EXPECT_EQ(byPosition(t), (std::vector<ustring>{u"D0", u"D0C1", u"D1", u"D2", u"D2C1", u"E1", u"E2"}));
  EXPECT_EQ(t.positionOf(t.find(u"E2")), 7u);
  EXPECT_EQ(errorOf([&] { t.at(8); }), treeerr::IndexOutOfBounds);
}

TEST(TreeModel, AfterEveryPlaceholderGoesTheTopLevelComesFirst) {
  TreeModel t;
  twoLevels(t, 3);
  for (const char16_t* k : {u"D2C1", u"D0C1", u"D1C1"}) t.remove(ustring(k));
  t.add(t.find(u"D2"), u"E9", u"x");
  t.add(t.find(u"D0"), u"E1", u"y");
  EXPECT_EQ(byPosition(t), (std::vector<ustring>{u"D0", u"D1", u"D2", u"E9", u"E1"}));
}

TEST(TreeModel, RemovingANodeTakesItsSubtreeAndFreesTheKeys) {
  TreeModel t;
  const NodeId d = t.add(kNoNode, u"D1", u"a");
  t.add(d, u"E1", u"x");
  t.add(d, u"E2", u"y");
  t.add(kNoNode, u"D2", u"b");
  t.remove(u"D1");
  EXPECT_EQ(t.count(), 1u);
  EXPECT_EQ(t.find(u"E1"), kNoNode);
  EXPECT_FALSE(t.contains(d));
  EXPECT_EQ(errorOf([&] { t.text(d); }), treeerr::ElementNotFound);
  EXPECT_EQ(t.rootCount(), 1u);
  // The key may be used again; the new node stands at the end.
  const NodeId again = t.add(kNoNode, u"E1", u"z");
  EXPECT_NE(again, d);
  EXPECT_EQ(byPosition(t), (std::vector<ustring>{u"D2", u"E1"}));
}

TEST(TreeModel, RemovingAMiddleChildRelinksItsSiblings) {
  TreeModel t;
  const NodeId d = t.add(kNoNode, u"D1", u"a");
  for (const char16_t* k : {u"E1", u"E2", u"E3"}) t.add(d, ustring(k), u"x");
  t.remove(u"E2");
  EXPECT_EQ(children(t, d), (std::vector<ustring>{u"E1", u"E3"}));
  EXPECT_EQ(t.previousSibling(t.find(u"E3")), t.find(u"E1"));
  t.remove(u"E1");
  t.remove(u"E3");
  EXPECT_EQ(t.childrenCount(d), 0u);
  EXPECT_EQ(t.firstChild(d), kNoNode);
  EXPECT_EQ(t.lastChild(d), kNoNode);
}

TEST(TreeModel, OneNodeAtMostIsSelected) {
  TreeModel t;
  const NodeId a = t.add(kNoNode, u"A", u"a");
  const NodeId b = t.add(kNoNode, u"B", u"b");
  EXPECT_EQ(t.selectedNode(), kNoNode);
  t.setSelected(a, true);
  t.setSelected(b, true);
  EXPECT_FALSE(t.selected(a));
  EXPECT_TRUE(t.selected(b));
  t.setSelected(a, false);  // not the selected one: nothing changes
  EXPECT_EQ(t.selectedNode(), b);
  t.remove(b);
  EXPECT_EQ(t.selectedNode(), kNoNode);
}

TEST(TreeModel, ExpandEventFiresWhenTheProgramExpandsACollapsedNode) {
  TreeModel t;
  const NodeId a = t.add(kNoNode, u"A", u"a");
  std::vector<NodeId> fired;
  bool sawExpanded = false;
  t.setExpandHandler([&](NodeId n) {
    fired.push_back(n);
    sawExpanded = t.expanded(n);
  });
  t.setExpanded(a, true);
  EXPECT_EQ(fired, std::vector<NodeId>{a});
  EXPECT_TRUE(sawExpanded);
  t.setExpanded(a, true);  // already open
  EXPECT_EQ(fired.size(), 1u);
  t.setExpanded(a, false);  // collapsing raises nothing
  EXPECT_EQ(fired.size(), 1u);
  t.setExpanded(a, true);
  EXPECT_EQ(fired.size(), 2u);
}

TEST(TreeModel, ExpandHandlerMayReplaceThePlaceholder) {
  TreeModel t;
  twoLevels(t, 2);
  t.setExpandHandler([&](NodeId n) {
    t.remove(t.firstChild(n));
    t.add(n, u"E" + t.key(n), u"member");
  });
  t.setExpanded(t.find(u"D0"), true);
  EXPECT_EQ(children(t, t.find(u"D0")), std::vector<ustring>{u"ED0"});
  EXPECT_EQ(byPosition(t), (std::vector<ustring>{u"D0", u"D1", u"D1C1", u"ED0"}));
}

TEST(TreeModel, CheckingAndSelectingRaiseNoExpandEvent) {
  TreeModel t;
  const NodeId a = t.add(kNoNode, u"A", u"a");
  int fired = 0;
  t.setExpandHandler([&](NodeId) { ++fired; });
  t.setChecked(a, true);
  t.setSelected(a, true);
  EXPECT_TRUE(t.checked(a));
  EXPECT_EQ(fired, 0);
}

TEST(TreeModel, ObserverMirrorsEveryChange) {
  TreeModel t;
  Recorder r;
  r.tree = &t;
  t.setObserver(&r);
  const NodeId a = t.add(kNoNode, u"A", u"a");
  const NodeId b = t.add(a, u"B", u"b");
  t.setChecked(b, true);
  t.setChecked(b, true);  // no change, no event
  t.setExpanded(a, true);
  t.setSelected(a, true);
  t.setSelected(b, true);
  t.setText(b, u"bb");
  t.remove(u"A");
  t.add(kNoNode, u"C", u"c");
  t.clear();
  EXPECT_EQ(r.events, (std::vector<std::string>{"add A", "add B", "change B", "change A", "change A", "change A",
                                                "change B", "change B", "remove A", "add C", "clear"}));
}

TEST(TreeModel, UpdatesNestAndTheObserverHearsOfTheOutermostOnly) {
  TreeModel t;
  Recorder r;
  r.tree = &t;
  t.setObserver(&r);
  EXPECT_FALSE(t.updating());
  {
    TreeModel::UpdateScope outer(t);
    const NodeId a = t.add(kNoNode, u"A", u"a");
    {
      TreeModel::UpdateScope inner(t);
      t.add(a, u"B", u"b");
      EXPECT_TRUE(t.updating());
    }
    EXPECT_TRUE(t.updating());
    t.setChecked(a, true);
  }
  EXPECT_FALSE(t.updating());
  // An update that a failure cuts short still ends.
  try {
    TreeModel::UpdateScope failing(t);
    t.add(kNoNode, u"A", u"again");
  } catch (const Error&) {
  }
  EXPECT_FALSE(t.updating());
  EXPECT_EQ(r.events, (std::vector<std::string>{"begin", "add A", "add B", "change A", "end", "begin", "end"}));
}

TEST(TreeModel, ClearEmptiesTheTreeAndKeepsTheExpandHandler) {
  TreeModel t;
  twoLevels(t, 3);
  t.setSelected(t.find(u"D1"), true);
  int fired = 0;
  t.setExpandHandler([&](NodeId) { ++fired; });
  t.clear();
  EXPECT_EQ(t.count(), 0u);
  EXPECT_EQ(t.rootCount(), 0u);
  EXPECT_EQ(t.find(u"D1"), kNoNode);
  EXPECT_EQ(t.selectedNode(), kNoNode);
  const NodeId d = t.add(kNoNode, u"D1", u"again");
  EXPECT_EQ(t.at(1), d);
  t.setExpanded(d, true);
  EXPECT_EQ(fired, 1);
}

TEST(TreeModel, TextsWithNulsAndLoneSurrogatesAreKeptIntact) {
  TreeModel t;
  const ustring key(u"E\0" u"1", 3), text(u"\xD800名\0字", 4), tag(u"138\xDC00", 4);
  const NodeId n = t.add(kNoNode, key, text, tag);
  EXPECT_EQ(t.find(key), n);
  EXPECT_EQ(t.find(u"E"), kNoNode);
  EXPECT_EQ(t.text(n), text);
  EXPECT_EQ(t.tag(n), tag);
  EXPECT_EQ(t.text(n).size(), 4u);
}

TEST(TreeModel, PositionsStayRightThroughRandomAddsAndRemovals) {
  // Checked against a plain list of keys in insertion order.
  TreeModel t;
  std::vector<ustring> reference;
  std::mt19937 rng(20240611);
  int next = 0;
  for (int step = 0; step < 4000; ++step) {
    const unsigned op = rng() % 10;
    if (op < 6 || reference.empty()) {
      NodeId parent = kNoNode;
      if (!reference.empty() && rng() % 2) parent = t.find(reference[rng() % reference.size()]);
      const ustring key = u"K" + toText(next++);
      t.add(parent, key, key);
      reference.push_back(key);
    } else if (op < 9) {
      const ustring victim = reference[rng() % reference.size()];
      // Everything under the victim goes too.
      std::vector<ustring> gone;
      std::vector<NodeId> stack{t.find(victim)};
      while (!stack.empty()) {
        const NodeId n = stack.back();
        stack.pop_back();
        gone.push_back(t.key(n));
        for (NodeId c = t.firstChild(n); c != kNoNode; c = t.nextSibling(c)) stack.push_back(c);
      }
      t.remove(victim);
      reference.erase(std::remove_if(reference.begin(), reference.end(),
                                     [&](const ustring& k) {
                                       return std::find(gone.begin(), gone.end(), k) != gone.end();
                                     }),
                      reference.end());
    } else if (!reference.empty()) {
      const std::size_t p = 1 + rng() % reference.size();
      ASSERT_EQ(t.key(t.at(p)), reference[p - 1]) << "step " << step;
    }
    ASSERT_EQ(t.count(), reference.size());
  }
  ASSERT_EQ(byPosition(t), reference);
  for (std::size_t i = 0; i < reference.size(); ++i) ASSERT_EQ(t.positionOf(t.find(reference[i])), i + 1);
}

TEST(TreeModel, ALargeDirectoryKeepsItsPositionsAfterEveryPlaceholderIsReplaced) {
  TreeModel t;
  const int departments = 2000, perDepartment = 50;
  twoLevels(t, departments);
  for (int d = 0; d < departments; ++d) {
    const NodeId dep = t.find(u"D" + toText(d));
    t.remove(t.firstChild(dep));
    for (int e = 0; e < perDepartment; ++e) t.add(dep, u"E" + toText(d * perDepartment + e), u"x");
  }
  ASSERT_EQ(t.count(), static_cast<std::size_t>(departments + departments * perDepartment));
  EXPECT_EQ(t.key(t.at(1)), u"D0");
  EXPECT_EQ(t.key(t.at(departments)), u"D1999");
  EXPECT_EQ(t.key(t.at(departments + 1)), u"E0");
  EXPECT_EQ(t.key(t.at(t.count())), u"E99999");
  EXPECT_EQ(t.positionOf(t.find(u"E50000")), static_cast<std::size_t>(departments + 50001));
}
