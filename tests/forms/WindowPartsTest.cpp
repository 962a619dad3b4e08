#include <gtest/gtest.h>

#include "base/Failure.h"
#include "forms/Form.h"
#include "forms/RichTextBox.h"
#include "forms/ToolBar.h"
#include "forms/TreeModel.h"
#include "forms/WindowParts.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/LeastTime.h"

namespace veltrane {
namespace {

struct WindowPartsTest : testing::Test {
  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
};

TEST_F(WindowPartsTest, A_tool_bar_tells_the_key_of_an_enabled_button_alone) {
  ToolBar bar(form, QStringLiteral("bar"));
  bar.AddButton(QStringLiteral("A"), QStringLiteral("first"));
  bar.AddSeparator();
  bar.AddButton(QStringLiteral("B"), QStringLiteral("second"));
  bar.AddMenuEntry(QStringLiteral("B"), {QStringLiteral("text"), QStringLiteral("key")});
  QStringList told;
  bar.OnButtonClick = [&](const QString& key) { told.append(key); };
  bar.OnButtonMenuClick = [&](const QString& key) { told.append(key); };
  int changes = 0;
  QObject::connect(&bar, &Control::Changed, &bar, [&] { ++changes; });
  bar.ClickButton(QStringLiteral("A"));
  bar.ClickMenu(QStringLiteral("B"), QStringLiteral("key"));
  bar.SetButtonEnabled(QStringLiteral("A"), false);
  bar.SetButtonEnabled(QStringLiteral("A"), false);
  bar.SetButtonEnabled(QStringLiteral("B"), false);
  bar.ClickButton(QStringLiteral("A"));
  bar.ClickMenu(QStringLiteral("B"), QStringLiteral("key"));
  EXPECT_EQ(told, (QStringList{QStringLiteral("A"), QStringLiteral("key")}));
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(bar.Buttons().size(), 3);
}

TEST_F(WindowPartsTest, A_button_that_there_is_not_is_a_failure_and_a_separator_is_none) {
  ToolBar bar(form, QStringLiteral("bar"));
  bar.AddSeparator();
  EXPECT_THROW((void)bar.ButtonEnabled(QStringLiteral("X")), Failure);
  EXPECT_THROW(bar.ClickButton(QString()), Failure);
}

TEST_F(WindowPartsTest, The_end_of_a_text_is_found_at_once_however_many_colours_it_has) {
  const auto timeOf = [this](int runs) {
    RichTextBox text(form, QStringLiteral("txt"));
    for (int i = 1; i <= runs; ++i) {
      text.SetSelColor(static_cast<Colour>(i));
      text.SetSelText(QStringLiteral("x"));
    }
    const auto time = LeastTime(50, [&] {
      text.SetSelColor(0);
      text.SetSelStart(text.TextLength());
    });
    EXPECT_EQ(text.SelColor(), static_cast<Colour>(runs));
    return time;
  };
  const auto few = timeOf(10);
  EXPECT_LT(timeOf(100000), few * 20 + std::chrono::microseconds(5));
}

TEST_F(WindowPartsTest, An_animation_tells_only_what_changes) {
  Animation animation(form, QStringLiteral("ani"));
  int changes = 0;
  QObject::connect(&animation, &Control::Changed, &animation, [&] { ++changes; });
  animation.Stop();
  EXPECT_EQ(changes, 0);
  animation.Play();
  animation.Play();
  EXPECT_TRUE(animation.IsPlaying());
  animation.Stop();
  EXPECT_FALSE(animation.IsPlaying());
  EXPECT_EQ(changes, 2);
}

TEST_F(WindowPartsTest, A_form_learns_that_it_was_shown_each_time_but_not_of_modal_showings) {
  struct Shown : Form {
    using Form::Form;
    int mShown = 0;

   protected:
    void OnShown() override { ++mShown; }
  } shown(desktop, QStringLiteral("frmShown"));
  shown.Show();
  shown.Show();
  shown.ShowModal(nullptr);
  EXPECT_EQ(shown.mShown, 2);
}

TEST_F(WindowPartsTest, A_node_that_a_view_closed_and_the_logic_opens_again_within_a_frame_is_told) {
  TreeView tree(form, QStringLiteral("tvw"));
  TreeNode& node = tree.Add({}, QStringLiteral("A"), QStringLiteral("a"), {});
  tree.Add(QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("b"), {});
  node.SetExpanded(true);
  TreeModel model(tree);
  QList<bool> told;
  const auto tell = [&](const QModelIndex&, bool expanded) { told.append(expanded); };
  model.TellExpansion(tell);
  model.TakeExpansion(model.IndexOf(node), false);
  node.SetExpanded(false);
  node.SetExpanded(true);
  model.Publish();
  model.TellExpansion(tell);
  EXPECT_EQ(told, (QList<bool>{true, true}));
}

}  // namespace
}  // namespace veltrane
