// The generic binder, with real clicks and keys on every kind of control.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>
#include <utility>

#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/ListView.h"
#include "forms/TreeView.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/FakeDesktop.h"
#include "ui/faces/Binder.h"

namespace veltrane {
namespace {

struct BinderTest : testing::Test {
  template <class Widget>
  Widget& Put(const char* name) {
    auto* widget = new Widget(&face);
    widget->setObjectName(QLatin1String(name));
    widget->setGeometry(10, 10 + 30 * count++, 150, 25);
    return *widget;
  }
  void Bind() {
    BindControls(form, face);
    face.show();
    face.activateWindow();
    QCoreApplication::processEvents();
  }
  static void Click(QWidget& widget) {
    QTest::mouseClick(&widget, Qt::LeftButton, {}, {8, widget.height() / 2});
  }
  static void Frame() { WaitForFrame(); }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  QWidget face;
  int count = 0;
};

TEST_F(BinderTest, Check_box_shows_the_value_and_a_click_sets_it) {
  CheckBox box(form, QStringLiteral("chk"));
  auto& widget = Put<QCheckBox>("chk");
  widget.setText(QStringLiteral("designed"));
  box.SetValue(1);
  int clicks = 0;
  box.OnClick = [&] { ++clicks; };
  Bind();
  EXPECT_TRUE(widget.isChecked());
  EXPECT_EQ(widget.text(), QStringLiteral("designed"));
  EXPECT_EQ(clicks, 0);
  Click(widget);
  EXPECT_EQ(box.Value(), 0);
  EXPECT_EQ(clicks, 1);
  box.SetValue(1);
  EXPECT_TRUE(widget.isChecked());
  EXPECT_EQ(clicks, 2);
  box.SetCaption(QStringLiteral("said"));
  EXPECT_EQ(widget.text(), QStringLiteral("said"));
}

TEST_F(BinderTest, Every_control_follows_enabled_visible_and_place) {
  CommandButton button(form, QStringLiteral("cmd"));
  auto& widget = Put<QPushButton>("cmd");
  Bind();
  button.SetEnabled(false);
  EXPECT_FALSE(widget.isEnabled());
  button.SetVisible(false);
  EXPECT_FALSE(widget.isVisible());
  button.SetPlace({150, 300, 1500, 450});
  EXPECT_EQ(widget.geometry(), QRect(10, 20, 100, 30));
}

TEST_F(BinderTest, Button_clicks_when_enabled) {
  CommandButton button(form, QStringLiteral("cmd"));
  auto& widget = Put<QPushButton>("cmd");
  int clicks = 0;
  button.OnClick = [&] { ++clicks; };
  Bind();
  Click(widget);
  widget.setFocus();
  QTest::keyClick(&widget, Qt::Key_Space);
  EXPECT_EQ(clicks, 2);
  button.SetEnabled(false);
  Click(widget);
  EXPECT_EQ(clicks, 2);
}

TEST_F(BinderTest, Options_are_exclusive_and_can_all_be_off) {
  OptionGroup group(form, QStringLiteral("opt"), 2);
  OptionGroup other(form, QStringLiteral("oth"), 2);
  auto& first = Put<QRadioButton>("opt_0");
  auto& second = Put<QRadioButton>("opt_1");
  auto& otherFirst = Put<QRadioButton>("oth_0");
  Put<QRadioButton>("oth_1");
  group.Select(0);
  other.Select(0);
  QList<int> clicked;
  group.OnClick = [&](int index) { clicked.append(index); };
  Bind();
  EXPECT_TRUE(first.isChecked());
  Click(second);
  EXPECT_EQ(group.Selected(), 1);
  EXPECT_FALSE(first.isChecked());
  EXPECT_TRUE(otherFirst.isChecked()) << "another group of the same window";
  EXPECT_EQ(clicked, QList<int>{1});
  group.SetValue(1, false);
  EXPECT_FALSE(first.isChecked());
  EXPECT_FALSE(second.isChecked());
  group.SetOptionEnabled(0, false);
  EXPECT_FALSE(first.isEnabled());
  EXPECT_TRUE(second.isEnabled());
}

TEST_F(BinderTest, The_tab_key_goes_to_the_set_option_or_to_any_when_none_can_have_it) {
  OptionGroup group(form, QStringLiteral("opt"), 2);
  auto& first = Put<QRadioButton>("opt_0");
  auto& second = Put<QRadioButton>("opt_1");
  const auto hasTab = [](const QWidget& widget) { return (widget.focusPolicy() & Qt::TabFocus) != 0; };
  group.Select(1);
  Bind();
  EXPECT_FALSE(hasTab(first));
  EXPECT_TRUE(hasTab(second));
  Click(first);
  EXPECT_TRUE(hasTab(first));
  EXPECT_FALSE(hasTab(second));
  group.SetOptionEnabled(0, false);
  EXPECT_TRUE(hasTab(second)) << "the set one is disabled";
  group.SetValue(0, false);
  EXPECT_TRUE(hasTab(second));
}

TEST_F(BinderTest, Line_edit_tells_each_key_and_the_loss_of_focus) {
  TextBox box(form, QStringLiteral("txt"));
  TextBox next(form, QStringLiteral("next"));
  auto& widget = Put<QLineEdit>("txt");
  auto& nextWidget = Put<QLineEdit>("next");
  int changes = 0;
  int left = 0;
  box.OnChange = [&] { ++changes; };
  box.OnLostFocus = [&] {
    ++left;
    box.SetFocus();
  };
  Bind();
  widget.setFocus();
  QTest::keyClicks(&widget, QStringLiteral("ab"));
  EXPECT_EQ(box.Text(), QStringLiteral("ab"));
  EXPECT_EQ(changes, 2);
  QTest::keyClick(&widget, Qt::Key_Tab);
  QCoreApplication::processEvents();
  EXPECT_EQ(left, 1);
  EXPECT_TRUE(widget.hasFocus()) << "the logic sent the focus back";
  EXPECT_FALSE(nextWidget.hasFocus());
  box.SetText(QStringLiteral("corrected"));
  EXPECT_EQ(widget.text(), QStringLiteral("corrected"));
}

TEST_F(BinderTest, A_text_that_the_logic_corrects_is_shown_corrected) {
  TextBox box(form, QStringLiteral("txt"));
  auto& widget = Put<QLineEdit>("txt");
  box.OnChange = [&] { box.SetText(QStringLiteral("8")); };
  Bind();
  widget.setFocus();
  QTest::keyClicks(&widget, QStringLiteral("x"));
  EXPECT_EQ(widget.text(), QStringLiteral("8"));
}

TEST_F(BinderTest, Text_edit_follows_both_ways) {
  TextBox log(form, QStringLiteral("log"));
  TextBox notes(form, QStringLiteral("notes"));
  auto& logWidget = Put<QPlainTextEdit>("log");
  logWidget.setReadOnly(true);
  auto& notesWidget = Put<QPlainTextEdit>("notes");
  Bind();
  log.SetText(QStringLiteral("line\nline"));
  EXPECT_EQ(logWidget.toPlainText(), QStringLiteral("line\nline"));
  notesWidget.setFocus();
  QTest::keyClicks(&notesWidget, QStringLiteral("hi"));
  EXPECT_EQ(notes.Text(), QStringLiteral("hi"));
}

TEST_F(BinderTest, Spin_arrows_count) {
  TextBox box(form, QStringLiteral("txt"));
  SpinButton spin(form, QStringLiteral("up"), box, 4, 128, 4);
  auto& widget = Put<QLineEdit>("txt");
  auto& up = Put<QToolButton>("up_up");
  auto& down = Put<QToolButton>("up_down");
  box.SetText(QStringLiteral("16"));
  Bind();
  Click(up);
  EXPECT_EQ(widget.text(), QStringLiteral("20"));
  Click(down);
  Click(down);
  EXPECT_EQ(widget.text(), QStringLiteral("12"));
}

TEST_F(BinderTest, Combo_box_chooses) {
  ComboBox box(form, QStringLiteral("cbo"));
  auto& widget = Put<QComboBox>("cbo");
  box.SetList({QStringLiteral("AscII"), QStringLiteral("Hex"), QStringLiteral("Octal")});
  box.SetListIndex(1);
  int clicks = 0;
  box.OnClick = [&] { ++clicks; };
  Bind();
  EXPECT_EQ(widget.currentText(), QStringLiteral("Hex"));
  widget.setFocus();
  QTest::keyClick(&widget, Qt::Key_Down);
  EXPECT_EQ(box.ListIndex(), 2);
  EXPECT_EQ(clicks, 1);
  box.SetListIndex(0);
  EXPECT_EQ(widget.currentIndex(), 0);
}

TEST_F(BinderTest, Tick_list_ticks_and_moves_its_cursor) {
  TickList list(form, QStringLiteral("lst"));
  auto& widget = Put<QListWidget>("lst");
  widget.setGeometry(10, 10, 200, 200);
  for (const char* text : {"<Don't use>", "HTTP", "FTP"})
    list.AddItem(QLatin1String(text));
  list.SetTicked(1, true);
  QList<int> ticks;
  list.OnItemTick = [&](int row) { ticks.append(row); };
  Bind();
  EXPECT_EQ(widget.item(1)->checkState(), Qt::Checked);
  widget.item(2)->setCheckState(Qt::Checked);
  EXPECT_EQ(ticks, QList<int>{2});
  EXPECT_EQ(list.ListIndex(), 2);
  list.SetTicked(1, false);
  EXPECT_EQ(widget.item(1)->checkState(), Qt::Unchecked);
  QTest::mouseClick(widget.viewport(), Qt::LeftButton, {}, widget.visualItemRect(widget.item(0)).center());
  EXPECT_EQ(list.ListIndex(), 0);
}

TEST_F(BinderTest, Every_click_on_a_list_of_ticks_is_told_once_also_on_the_row_that_is_current) {
  TickList list(form, QStringLiteral("lst"));
  auto& widget = Put<QListWidget>("lst");
  widget.setGeometry(10, 10, 200, 200);
  for (const char* text : {"first", "second"})
    list.AddItem(QLatin1String(text));
  int told = 0;
  bool busy = false;
  // One of many, as a form makes of it.
  const auto choose = [&] {
    if (std::exchange(busy, true)) return;
    ++told;
    for (int row = 0; row < list.Count(); ++row)
      list.SetTicked(row, row == list.ListIndex());
    busy = false;
  };
  list.OnClick = choose;
  list.OnItemTick = [&](int) { choose(); };
  Bind();
  const auto click = [&](int row, bool onTheTick) {
    const QRect rect = widget.visualItemRect(widget.item(row));
    const int x = onTheTick ? rect.left() + 9 : rect.center().x();
    QTest::mouseClick(widget.viewport(), Qt::LeftButton, {}, {x, rect.center().y()});
    return std::exchange(told, 0);
  };
  EXPECT_EQ(click(1, false), 1);
  EXPECT_EQ(click(1, false), 1) << "the current row";
  EXPECT_EQ(click(1, true), 1) << "the current row's tick";
  EXPECT_EQ(click(0, true), 1) << "another row's tick";
  EXPECT_EQ(widget.item(0)->checkState(), Qt::Checked);
  EXPECT_EQ(widget.item(1)->checkState(), Qt::Unchecked);
  QTest::keyClick(&widget, Qt::Key_Space);
  EXPECT_EQ(std::exchange(told, 0), 1);
  EXPECT_EQ(widget.item(0)->checkState(), Qt::Checked);
  QTest::keyClick(&widget, Qt::Key_Down);
  EXPECT_EQ(std::exchange(told, 0), 1);
}

TEST_F(BinderTest, Label_shows_caption_and_colour_and_can_be_clicked) {
  Label label(form, QStringLiteral("lbl"));
  auto& widget = Put<QLabel>("lbl");
  int clicks = 0;
  label.OnClick = [&] { ++clicks; };
  Bind();
  label.SetCaption(QStringLiteral("text"));
  label.SetBackColor(0x0000ff);
  EXPECT_EQ(widget.text(), QStringLiteral("text"));
  EXPECT_EQ(widget.palette().color(QPalette::Window), QColor(255, 0, 0));
  Click(widget);
  EXPECT_EQ(clicks, 1);
}

TEST_F(BinderTest, Menu_entry_is_an_action_whose_mark_the_logic_sets) {
  MenuItem item(form, QStringLiteral("mnuKeepOnTop"), QStringLiteral("&Keep on Top"));
  auto* action = new QAction(&face);
  action->setObjectName(QStringLiteral("mnuKeepOnTop"));
  int clicks = 0;
  item.OnClick = [&] {
    ++clicks;
    item.SetChecked(clicks == 1);
  };
  Bind();
  EXPECT_EQ(action->text(), QStringLiteral("&Keep on Top"));
  action->trigger();
  EXPECT_TRUE(action->isChecked());
  action->trigger();
  EXPECT_FALSE(action->isChecked());
  item.SetEnabled(false);
  EXPECT_FALSE(action->isEnabled());
}

TEST_F(BinderTest, Tree_shows_nodes_opens_them_and_tells_the_hand) {
  TreeView tree(form, QStringLiteral("tvw"));
  auto& view = Put<QTreeView>("tvw");
  view.setGeometry(0, 0, 300, 300);
  tree.Add({}, QStringLiteral("ROOT"), QStringLiteral("All Activity"), QStringLiteral("AllActivity"));
  tree.Add(QStringLiteral("ROOT"), QStringLiteral("A"), QStringLiteral("Port A"), QStringLiteral("Protocol"));
  tree.Add(QStringLiteral("ROOT"), QStringLiteral("B"), QStringLiteral("Port B"), QStringLiteral("Protocol"));
  tree.Node(QStringLiteral("ROOT")).SetExpanded(true);
  QStringList clicked;
  tree.OnNodeClick = [&](TreeNode& node) { clicked.append(node.Key()); };
  Bind();
  const QModelIndex root = view.model()->index(0, 0);
  EXPECT_TRUE(view.isExpanded(root));
  EXPECT_TRUE(clicked.isEmpty());
  const auto click = [&](const QModelIndex& index) {
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(index).center());
  };
  click(view.model()->index(0, 0, root));
  EXPECT_EQ(clicked, QStringList{QStringLiteral("A")});
  EXPECT_EQ(tree.SelectedItem()->Key(), QStringLiteral("A"));
  click(view.model()->index(0, 0, root));
  EXPECT_EQ(clicked.size(), 2) << "a second click on the chosen node is a click too";
  QTest::keyClick(&view, Qt::Key_Down);
  EXPECT_EQ(clicked.last(), QStringLiteral("B"));
  // What the logic does comes at the next frame, and is no click.
  tree.Node(QStringLiteral("A")).SetText(QStringLiteral("Port A - Not Listening"));
  tree.Add(QStringLiteral("B"), QStringLiteral("B1"), QStringLiteral("peer"), QStringLiteral("Connection"));
  tree.SetSelectedItem(tree.Find(QStringLiteral("A")));
  Frame();
  EXPECT_EQ(view.model()->index(0, 0, root).data().toString(), QStringLiteral("Port A - Not Listening"));
  EXPECT_EQ(view.currentIndex(), view.model()->index(0, 0, root));
  EXPECT_EQ(clicked.size(), 3);
  QStringList unfolded;
  tree.OnUnfold = [&](TreeNode& node) { unfolded.append(node.Key()); };
  tree.Node(QStringLiteral("B")).SetExpanded(true);
  Frame();
  EXPECT_TRUE(view.isExpanded(view.model()->index(1, 0, root)));
  view.collapse(view.model()->index(1, 0, root));
  EXPECT_FALSE(tree.Node(QStringLiteral("B")).Expanded());
  EXPECT_EQ(unfolded, QStringList());
  view.expand(view.model()->index(1, 0, root));
  EXPECT_EQ(unfolded, QStringList{QStringLiteral("B")});
}

TEST_F(BinderTest, List_shows_rows_and_tells_clicks_on_rows_and_headers) {
  ListView list(form, QStringLiteral("lvw"));
  auto& view = Put<QTreeView>("lvw");
  view.setGeometry(0, 0, 400, 200);
  list.AddColumnHeader({QStringLiteral("AA1"), QStringLiteral("From"), 1950});
  list.AddColumnHeader({QStringLiteral("AA2"), QStringLiteral("To"), 1500});
  list.Add(QStringLiteral("KEY1"), QStringLiteral("one")).SetSubItem(1, QStringLiteral("x"));
  list.Add(QStringLiteral("KEY2"), QStringLiteral("two"));
  QStringList clicked;
  int column = 0;
  int doubles = 0;
  list.OnItemClick = [&](ListItem& item) { clicked.append(item.Key()); };
  list.OnColumnClick = [&](int index) { column = index; };
  list.OnDblClick = [&] { ++doubles; };
  Bind();
  EXPECT_EQ(view.columnWidth(0), 130);
  EXPECT_EQ(view.columnWidth(1), 100);
  EXPECT_EQ(view.model()->index(0, 1).data().toString(), QStringLiteral("x"));
  const QPoint second = view.visualRect(view.model()->index(1, 0)).center();
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, second);
  EXPECT_EQ(clicked, QStringList{QStringLiteral("KEY2")});
  EXPECT_EQ(list.SelectedItem()->Key(), QStringLiteral("KEY2"));
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, second);
  EXPECT_EQ(doubles, 1);
  QTest::mouseClick(view.header()->viewport(), Qt::LeftButton, {}, {140, view.header()->height() / 2});
  EXPECT_EQ(column, 2);
  list.SetSorted(true);
  list.SetSortOrder(1);
  Frame();
  EXPECT_EQ(view.model()->index(0, 0).data().toString(), QStringLiteral("two"));
  EXPECT_EQ(view.currentIndex().row(), 0) << "the choice stays with its row";
}

/// Two fields on two pages.
struct TabBinderTest : BinderTest {
  TabBinderTest() {
    tabs.setGeometry(0, 0, 300, 200);
    for (QLineEdit* field : {&first, &second}) {
      auto* page = new QWidget;
      field->setParent(page);
      tabs.addTab(page, QStringLiteral("page"));
    }
    first.setObjectName(QStringLiteral("txtFirst"));
    second.setObjectName(QStringLiteral("txtSecond"));
  }
  void ClickTab(int tab) {
    QTest::mouseClick(tabs.tabBar(), Qt::LeftButton, {}, tabs.tabBar()->tabRect(tab).center());
    QCoreApplication::processEvents();
  }

  TabStrip strip{form, QStringLiteral("tab"), 2};
  TextBox firstBox{form, QStringLiteral("txtFirst")};
  TextBox secondBox{form, QStringLiteral("txtSecond")};
  QTabWidget& tabs = Put<QTabWidget>("tab");
  QLineEdit& first = *new QLineEdit;
  QLineEdit& second = *new QLineEdit;
};

TEST_F(TabBinderTest, Tab_strip_shows_its_page_and_a_click_turns_it) {
  strip.SetTab(1);
  Bind();
  EXPECT_EQ(tabs.currentIndex(), 1);
  ClickTab(0);
  EXPECT_EQ(strip.Tab(), 0);
}

TEST_F(TabBinderTest, A_field_that_is_given_the_focus_comes_forward_with_its_page) {
  Bind();
  secondBox.SetFocus();
  EXPECT_EQ(tabs.currentIndex(), 1);
  EXPECT_EQ(strip.Tab(), 1);
  EXPECT_TRUE(second.hasFocus());
}

TEST_F(TabBinderTest, Turning_the_page_leaves_the_field_and_the_logic_can_bring_it_back) {
  Bind();
  first.setFocus();
  int left = 0;
  firstBox.OnLostFocus = [&] {
    ++left;
    firstBox.SetFocus();
  };
  ClickTab(1);
  EXPECT_EQ(left, 1);
  EXPECT_EQ(tabs.currentIndex(), 0);
  EXPECT_TRUE(first.hasFocus());
}

TEST_F(BinderTest, A_field_from_which_the_logic_takes_the_focus_was_not_left_by_the_user) {
  TextBox box(form, QStringLiteral("txt"));
  TextBox next(form, QStringLiteral("next"));
  auto& widget = Put<QLineEdit>("txt");
  auto& nextWidget = Put<QLineEdit>("next");
  // Both send the user back for ever, if each return counts as leaving the other.
  int left = 0;
  box.OnLostFocus = [&] { box.SetFocus(); };
  next.OnLostFocus = [&] { ++left; };
  Bind();
  widget.setFocus();
  QTest::keyClick(&widget, Qt::Key_Tab);
  EXPECT_TRUE(nextWidget.hasFocus());
  QCoreApplication::processEvents();
  EXPECT_TRUE(widget.hasFocus());
  EXPECT_EQ(left, 0);
}

TEST_F(BinderTest, A_control_without_a_widget_is_left_alone) {
  const CheckBox box(form, QStringLiteral("chkNowhere"));
  const OptionGroup options(form, QStringLiteral("optNowhere"), 3);
  Bind();
}

}  // namespace
}  // namespace veltrane
