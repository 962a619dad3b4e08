// A tree whose nodes move, and the view that shows it.
#include <QRandomGenerator>
#include <QTreeView>

#include <gtest/gtest.h>

#include "forms/Form.h"
#include "forms/TreeView.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/TreeLines.h"
#include "ui/faces/Binder.h"

namespace veltrane {
namespace {

struct TreeMovesTest : testing::Test {
  TreeMovesTest() {
    view.setObjectName(QStringLiteral("tvw"));
    tree.Add({}, QStringLiteral("A"), QStringLiteral("A"), QStringLiteral("Protocol"));
    // Without one the view would mark the first row by itself.
    tree.SetSelectedItem(&tree.Top(0));
    BindControls(form, face);
    face.show();
  }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  TreeView tree{form, QStringLiteral("tvw")};
  QWidget face;
  QTreeView& view = *new QTreeView(&face);
};

TEST_F(TreeMovesTest, Mark_and_open_branches_follow_nodes_that_move) {
  QRandomGenerator random(20261121);
  const auto pick = [&]() -> TreeNode& {
    TreeNode* node = tree.First();
    for (quint32 steps = random.bounded(static_cast<quint32>(tree.Count())); steps > 0; --steps)
      node = TreeView::Next(*node);
    return *node;
  };
  const auto isBelow = [](const TreeNode* at, const TreeNode& above) {
    while (at && at != &above)
      at = at->Parent();
    return at != nullptr;
  };
  int moves = 0;
  for (int change = 0; change < 600; ++change) {
    TreeNode& node = pick();
    TreeNode& other = pick();
    const quint32 kind = random.bounded(6U);
    if (kind == 0) {
      tree.Add(node.Key(), QStringLiteral("N%1").arg(change), QString::number(change),
               QStringLiteral("Event"));
    } else if (kind == 1) {
      node.SetExpanded(!node.Expanded());
    } else if (kind == 2) {
      tree.SetSelectedItem(&node);
    } else if (kind == 3 && node.Parent() && node.ChildCount() == 0) {
      tree.Remove(node);
    } else if (kind > 3 && node.Parent() && !isBelow(&other, node)) {
      tree.Move(node, other);
      ++moves;
    }
    if (change % 20 > 0) continue;
    WaitForFrame();
    QStringList expected;
    QStringList shown;
    Lines(tree.Top(0), 0, expected);
    Lines(view, view.model()->index(0, 0), 0, shown);
    ASSERT_EQ(shown, expected) << change;
    ASSERT_EQ(view.currentIndex().data(TreeModel::kKeyRole).toString(), tree.SelectedItem()->Key()) << change;
  }
  EXPECT_GT(moves, 50);
}

}  // namespace
}  // namespace veltrane
