#include <QAbstractItemModelTester>

#include <gtest/gtest.h>
#include <random>

#include "base/Failure.h"
#include "forms/Form.h"
#include "forms/TreeModel.h"
#include "forms/TreeView.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/LeastTime.h"

namespace veltrane {
namespace {

template <class Body>
qint32 FailureOf(Body body) {
  try {
    body();
  } catch (const Failure& failure) {
    return failure.Number();
  }
  return 0;
}

struct TreeTest : testing::Test {
  TreeNode& Add(const char* parent, const char* key) {
    return tree.Add(QLatin1String(parent), QLatin1String(key), QLatin1String(key), QStringLiteral("Event"));
  }
  QStringList Keys() const {
    QStringList keys;
    for (TreeNode* node = tree.First(); node; node = TreeView::Next(*node))
      keys.append(node->Key());
    return keys;
  }
  void Fill() {
    Add("", "ROOT");
    Add("ROOT", "A");
    Add("ROOT", "B");
    Add("A", "A1");
    Add("B", "B1");
    Add("A", "A2");
  }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  TreeView tree{form, QStringLiteral("tvw")};
};

TEST_F(TreeTest, Nodes_stand_in_the_order_of_adding) {
  Fill();
  EXPECT_EQ(tree.Count(), 6);
  EXPECT_EQ(Keys().join(u' '), QStringLiteral("ROOT A B A1 B1 A2"));
  EXPECT_EQ(tree.Node(QStringLiteral("A")).ChildCount(), 2);
  EXPECT_EQ(tree.Node(QStringLiteral("A")).Child(1).Key(), QStringLiteral("A2"));
  EXPECT_EQ(tree.Node(QStringLiteral("B1")).Parent(), tree.Find(QStringLiteral("B")));
  EXPECT_EQ(tree.TopCount(), 1);
}

TEST_F(TreeTest, Keys_are_unique_and_parents_must_exist) {
  Fill();
  EXPECT_EQ(FailureOf([&] { Add("ROOT", "A1"); }), 457);
  EXPECT_EQ(FailureOf([&] { Add("nowhere", "X"); }), 5);
  EXPECT_EQ(FailureOf([&] { tree.Node(QStringLiteral("X")); }), 5);
  EXPECT_EQ(FailureOf([&] { tree.Remove(QStringLiteral("X")); }), 5);
  EXPECT_EQ(tree.Count(), 6);
}

TEST_F(TreeTest, Removing_a_node_removes_what_is_below) {
  Fill();
  tree.Remove(QStringLiteral("A"));
  EXPECT_EQ(Keys().join(u' '), QStringLiteral("ROOT B B1"));
  EXPECT_FALSE(tree.Contains(QStringLiteral("A2")));
  Add("B", "A2");
  EXPECT_EQ(Keys().join(u' '), QStringLiteral("ROOT B B1 A2"));
}

TEST_F(TreeTest, A_kept_node_outlives_its_removal_and_knows_of_it) {
  Fill();
  const TreeNodeRef kept = TreeView::Keep(tree.Node(QStringLiteral("A1")));
  tree.Remove(QStringLiteral("A"));
  EXPECT_TRUE(kept->Removed());
  EXPECT_EQ(kept->Parent(), nullptr);
  EXPECT_EQ(kept->Key(), QStringLiteral("A1"));
}

TEST_F(TreeTest, A_selection_below_a_removed_node_goes_to_its_parent) {
  Fill();
  QStringList told;
  tree.OnSelectionLost = [&told](TreeNode& node) { told.append(node.Key()); };
  tree.SetSelectedItem(tree.Find(QStringLiteral("A1")));
  tree.Remove(QStringLiteral("B"));
  EXPECT_EQ(told, QStringList());
  tree.Remove(QStringLiteral("A"));
  EXPECT_EQ(tree.SelectedItem(), tree.Find(QStringLiteral("ROOT")));
  EXPECT_EQ(told, QStringList{QStringLiteral("ROOT")});
  tree.Remove(QStringLiteral("ROOT"));
  EXPECT_EQ(tree.SelectedItem(), nullptr);
  EXPECT_EQ(told.size(), 1) << "there is no other node";
}

TEST_F(TreeTest, A_moved_node_is_the_same_with_all_below_it_and_stays_selected) {
  Fill();
  Add("A1", "A11");
  TreeNode& moved = tree.Node(QStringLiteral("A1"));
  moved.SetExpanded(true);
  moved.SetTag(QStringLiteral("tag"));
  int lost = 0;
  tree.OnSelectionLost = [&lost](TreeNode&) { ++lost; };
  tree.SetSelectedItem(tree.Find(QStringLiteral("A11")));
  tree.Move(moved, tree.Node(QStringLiteral("B")));
  EXPECT_EQ(&tree.Node(QStringLiteral("A1")), &moved);
  EXPECT_EQ(moved.Parent(), tree.Find(QStringLiteral("B")));
  EXPECT_EQ(moved.ChildCount(), 1);
  EXPECT_TRUE(moved.Expanded());
  EXPECT_EQ(moved.Tag(), QStringLiteral("tag"));
  EXPECT_EQ(tree.SelectedItem(), tree.Find(QStringLiteral("A11")));
  EXPECT_EQ(lost, 0);
  EXPECT_EQ(tree.Node(QStringLiteral("A")).ChildCount(), 1);
  EXPECT_EQ(Keys().join(u' '), QStringLiteral("ROOT A B B1 A2 A1 A11")) << "as if added last";
  EXPECT_EQ(TreeView::Keep(moved).get(), &moved);
  EXPECT_EQ(tree.FindSerial(moved.Serial()), &moved);
  tree.Remove(QStringLiteral("B"));
  EXPECT_EQ(Keys().join(u' '), QStringLiteral("ROOT A A2"));
}

TEST_F(TreeTest, Unfolding_by_hand_is_told_and_by_code_is_not) {
  Fill();
  TreeNode& node = tree.Node(QStringLiteral("A"));
  QStringList told;
  tree.OnUnfold = [&told](TreeNode& unfolded) { told.append(unfolded.Key()); };
  node.SetExpanded(true);
  tree.FoldByHand(node, true);
  tree.FoldByHand(node, false);
  EXPECT_FALSE(node.Expanded());
  EXPECT_EQ(told, QStringList());
  tree.FoldByHand(node, true);
  EXPECT_TRUE(node.Expanded());
  EXPECT_EQ(told, QStringList{QStringLiteral("A")});
}

TEST_F(TreeTest, Renaming_keeps_keys_unique) {
  Fill();
  TreeNode& node = tree.Node(QStringLiteral("A1"));
  node.SetKey(QStringLiteral("C1"));
  EXPECT_EQ(tree.Find(QStringLiteral("C1")), &node);
  EXPECT_FALSE(tree.Contains(QStringLiteral("A1")));
  EXPECT_EQ(FailureOf([&] { node.SetKey(QStringLiteral("B1")); }), 457);
  node.SetKey(QStringLiteral("C1"));
}

TEST_F(TreeTest, Only_the_users_hand_fires_node_clicks) {
  Fill();
  QStringList clicked;
  tree.OnNodeClick = [&](TreeNode& node) { clicked.append(node.Key()); };
  tree.SetSelectedItem(tree.Find(QStringLiteral("A")));
  EXPECT_TRUE(clicked.isEmpty());
  tree.ClickNode(tree.Node(QStringLiteral("B")));
  EXPECT_EQ(clicked, QStringList{QStringLiteral("B")});
  EXPECT_EQ(tree.SelectedItem(), tree.Find(QStringLiteral("B")));
}

TEST_F(TreeTest, Changed_is_told_once_until_the_changes_are_taken) {
  int told = 0;
  QObject::connect(&tree, &Control::Changed, &tree, [&] { ++told; });
  Fill();
  tree.Refresh();
  EXPECT_EQ(told, 1);
  tree.TakeChanges();
  tree.Node(QStringLiteral("A")).SetText(QStringLiteral("other"));
  EXPECT_EQ(told, 2);
  tree.TakeChanges();
  tree.Node(QStringLiteral("A")).SetText(QStringLiteral("other"));
  EXPECT_EQ(told, 2);
}

void ExpectSame(const TreeModel& model, const QModelIndex& parent, const std::vector<TreeNode*>& nodes) {
  ASSERT_EQ(model.rowCount(parent), static_cast<int>(nodes.size()));
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const QModelIndex index = model.index(static_cast<int>(i), 0, parent);
    EXPECT_EQ(index.data().toString(), nodes[i]->Text());
    EXPECT_EQ(index.data(TreeModel::kKeyRole).toString(), nodes[i]->Key());
    EXPECT_EQ(index.data(TreeModel::kImageRole).toString(), nodes[i]->Image());
    EXPECT_EQ(model.NodeAt(index), nodes[i]);
    EXPECT_EQ(model.IndexOf(*nodes[i]), index);
    std::vector<TreeNode*> children;
    for (qsizetype c = 0; c < nodes[i]->ChildCount(); ++c)
      children.push_back(&nodes[i]->Child(c));
    ExpectSame(model, index, children);
  }
}

void ExpectSame(const TreeModel& model, const TreeView& tree) {
  std::vector<TreeNode*> top;
  for (qsizetype i = 0; i < tree.TopCount(); ++i)
    top.push_back(&tree.Top(i));
  ExpectSame(model, {}, top);
}

TEST_F(TreeTest, The_model_shows_changes_only_when_they_are_published) {
  Fill();
  TreeModel model(tree);
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  ExpectSame(model, tree);
  Add("B", "B2");
  tree.Remove(QStringLiteral("A1"));
  tree.Node(QStringLiteral("B1")).SetText(QStringLiteral("new"));
  EXPECT_EQ(model.rowCount(model.IndexOf(tree.Node(QStringLiteral("B")))), 1);
  model.Publish();
  ExpectSame(model, tree);
}

TEST_F(TreeTest, One_more_node_costs_the_model_the_same_however_many_there_are) {
  Fill();
  const QString parent = QStringLiteral("A");
  const auto timeOfOne = [&](qsizetype nodes) {
    const auto add = [&] { tree.Add(parent, QString::number(tree.Count()), QStringLiteral("event"), {}); };
    while (tree.Count() < nodes)
      add();
    TreeModel model(tree);
    const auto time = LeastTime(50, [&] {
      add();
      model.Publish();
    });
    EXPECT_EQ(model.rowCount(model.IndexOf(tree.Node(parent))), tree.Node(parent).ChildCount());
    return time;
  };
  const auto few = timeOfOne(10);
  EXPECT_LT(timeOfOne(100000), few * 20);
}

TEST_F(TreeTest, The_model_tells_which_nodes_to_open) {
  Fill();
  tree.Node(QStringLiteral("A")).SetExpanded(true);
  TreeModel model(tree);
  QStringList told;
  const auto tell = [&](const QModelIndex& index, bool expanded) {
    told.append(index.data().toString() + (expanded ? u'+' : u'-'));
  };
  model.TellExpansion(tell);
  EXPECT_EQ(told, QStringList{QStringLiteral("A+")});
  tree.Node(QStringLiteral("A")).SetExpanded(false);
  model.Publish();
  model.TellExpansion(tell);
  model.TellExpansion(tell);
  EXPECT_EQ(told, (QStringList{QStringLiteral("A+"), QStringLiteral("A-")}));
}

TEST_F(TreeTest, The_model_follows_random_changes) {
  std::mt19937 random(20261121);
  TreeModel model(tree);
  const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
  int next = 0;
  for (int round = 0; round < 2000; ++round) {
    const auto pick = [&]() -> TreeNode* {
      if (tree.Count() == 0) return nullptr;
      TreeNode* node = tree.First();
      for (auto steps = random() % static_cast<unsigned>(tree.Count()); steps > 0; --steps) {
        node = TreeView::Next(*node);
      }
      return node;
    };
    TreeNode* node = pick();
    const auto isBelow = [](const TreeNode* at, const TreeNode* above) {
      while (at && at != above)
        at = at->Parent();
      return at != nullptr;
    };
    switch (random() % 9) {
      case 8:
        if (TreeNode* parent = pick(); parent && !isBelow(parent, node)) tree.Move(*node, *parent);
        break;
      case 0:
        if (node && tree.Count() > 5) tree.Remove(*node);
        break;
      case 1:
        if (node) node->SetText(QString::number(round));
        break;
      case 2:
        if (node) node->SetKey(QStringLiteral("K%1").arg(++next));
        break;
      default:
        if (tree.Count() < 60) {
          tree.Add(node && random() % 4 ? node->Key() : QString(), QStringLiteral("K%1").arg(++next),
                   QString::number(round), QStringLiteral("Event"));
        }
    }
    if (random() % 5 == 0) {
      model.Publish();
      ExpectSame(model, tree);
    }
  }
}

}  // namespace
}  // namespace veltrane
