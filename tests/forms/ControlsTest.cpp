#include <gtest/gtest.h>

#include "base/Failure.h"
#include "forms/Controls.h"
#include "forms/Form.h"
#include "tests/support/FakeDesktop.h"

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

struct ControlsTest : testing::Test {
  int CountChanges(const Control& control) {
    QObject::connect(&control, &Control::Changed, &control, [this] { ++changes; });
    return 0;
  }
  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frmTest")};
  int changes = 0;
};

TEST_F(ControlsTest, A_form_knows_its_controls_by_name) {
  CheckBox box(form, QStringLiteral("chkOne"));
  EXPECT_EQ(form.FindControl(QStringLiteral("chkOne")), &box);
  EXPECT_EQ(form.FindControl(QStringLiteral("chkTwo")), nullptr);
  EXPECT_EQ(&box.Parent(), &form);
}

TEST_F(ControlsTest, Setting_a_check_box_fires_the_click_also_with_the_value_it_has) {
  CheckBox box(form, QStringLiteral("chk"));
  CountChanges(box);
  int clicks = 0;
  box.OnClick = [&] { ++clicks; };
  box.SetValue(1);
  EXPECT_TRUE(box.IsOn());
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(changes, 1);
  box.SetValue(1);
  EXPECT_EQ(clicks, 2);
  EXPECT_EQ(changes, 1);
  box.SetValue(0);
  EXPECT_EQ(clicks, 3);
  EXPECT_EQ(changes, 2);
}

TEST_F(ControlsTest, A_check_box_refuses_values_that_it_cannot_show) {
  CheckBox box(form, QStringLiteral("chk"));
  EXPECT_EQ(FailureOf([&] { box.SetValue(2); }), 5);
  EXPECT_EQ(FailureOf([&] { box.SetValue(-1); }), 5);
  EXPECT_EQ(box.Value(), 0);
}

TEST_F(ControlsTest, Setting_an_option_clears_the_others_and_fires_its_click) {
  OptionGroup group(form, QStringLiteral("opt"), 3);
  QList<int> clicked;
  group.OnClick = [&](int index) { clicked.append(index); };
  EXPECT_EQ(group.Selected(), -1);
  group.SetValue(1, true);
  group.SetValue(2, true);
  EXPECT_FALSE(group.Value(1));
  EXPECT_TRUE(group.Value(2));
  EXPECT_EQ(clicked, (QList<int>{1, 2}));
}

TEST_F(ControlsTest, Clearing_an_option_leaves_none_set_and_fires_nothing) {
  OptionGroup group(form, QStringLiteral("opt"), 2);
  group.SetValue(0, true);
  int clicks = 0;
  group.OnClick = [&](int) { ++clicks; };
  group.SetValue(1, false);
  EXPECT_TRUE(group.Value(0));
  group.SetValue(0, false);
  EXPECT_EQ(group.Selected(), -1);
  EXPECT_EQ(clicks, 0);
}

TEST_F(ControlsTest, An_option_that_does_not_exist_fails) {
  OptionGroup group(form, QStringLiteral("opt"), 2);
  EXPECT_EQ(FailureOf([&] { group.SetValue(2, true); }), 9);
  EXPECT_EQ(FailureOf([&] { group.SetOptionEnabled(-1, true); }), 9);
}

TEST_F(ControlsTest, A_text_box_fires_change_only_for_another_text) {
  TextBox box(form, QStringLiteral("txt"));
  int fired = 0;
  box.OnChange = [&] { ++fired; };
  box.SetText(QStringLiteral("a"));
  box.SetText(QStringLiteral("a"));
  EXPECT_EQ(fired, 1);
}

TEST_F(ControlsTest, A_text_box_may_correct_its_text_inside_its_change) {
  TextBox box(form, QStringLiteral("txt"));
  int fired = 0;
  box.OnChange = [&] {
    ++fired;
    box.SetText(QStringLiteral("8"));
  };
  box.SetText(QStringLiteral("x"));
  EXPECT_EQ(box.Text(), QStringLiteral("8"));
  EXPECT_EQ(fired, 2);
}

TEST_F(ControlsTest, Leaving_a_text_box_is_an_event_and_focus_can_be_sent_back) {
  TextBox box(form, QStringLiteral("txt"));
  int asked = 0;
  QObject::connect(&box, &Control::FocusAsked, &box, [&] { ++asked; });
  box.OnLostFocus = [&] { box.SetFocus(); };
  box.LeaveFocus();
  EXPECT_EQ(asked, 1);
}

TEST_F(ControlsTest, Spin_arrows_move_the_number_within_its_limits) {
  TextBox box(form, QStringLiteral("txt"));
  SpinButton spin(form, QStringLiteral("up"), box, 4, 128, 4);
  box.SetText(QStringLiteral("8"));
  spin.Up();
  EXPECT_EQ(box.Text(), QStringLiteral("12"));
  spin.Down();
  spin.Down();
  spin.Down();
  EXPECT_EQ(box.Text(), QStringLiteral("4"));
  box.SetText(QStringLiteral("127"));
  spin.Up();
  EXPECT_EQ(box.Text(), QStringLiteral("128"));
  box.SetText(QStringLiteral("x"));
  spin.Up();
  EXPECT_EQ(box.Text(), QStringLiteral("4"));
  box.SetText(QStringLiteral("1e300"));
  spin.Down();
  EXPECT_EQ(box.Text(), QStringLiteral("124"));
  spin.SetEnabled(false);
  spin.Up();
  EXPECT_EQ(box.Text(), QStringLiteral("124"));
}

TEST_F(ControlsTest, A_disabled_button_does_not_click) {
  CommandButton button(form, QStringLiteral("cmd"));
  int clicks = 0;
  button.OnClick = [&] { ++clicks; };
  button.Click();
  button.SetEnabled(false);
  button.Click();
  EXPECT_EQ(clicks, 1);
}

TEST_F(ControlsTest, A_button_may_go_in_its_own_click) {
  auto button = std::make_unique<CommandButton>(form, QStringLiteral("cmd"));
  bool ran = false;
  button->OnClick = [&] {
    button.reset();
    ran = true;
  };
  button->Click();
  EXPECT_TRUE(ran);
}

TEST_F(ControlsTest, A_combo_box_chooses_by_index) {
  ComboBox box(form, QStringLiteral("cbo"));
  box.SetList({QStringLiteral("a"), QStringLiteral("b")});
  EXPECT_EQ(box.Text(), QString());
  int clicks = 0;
  box.OnClick = [&] { ++clicks; };
  box.SetListIndex(1);
  EXPECT_EQ(box.Text(), QStringLiteral("b"));
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(FailureOf([&] { box.SetListIndex(2); }), 9);
  box.SetListIndex(-1);
  EXPECT_EQ(box.Text(), QString());
}

TEST_F(ControlsTest, A_tick_list_tells_ticks_that_change) {
  TickList list(form, QStringLiteral("lst"));
  list.AddItem(QStringLiteral("one"));
  list.AddItem(QStringLiteral("two"));
  QList<int> ticks;
  list.OnItemTick = [&](int row) { ticks.append(row); };
  list.SetTicked(1, true);
  list.SetTicked(1, true);
  list.SetTicked(1, false);
  EXPECT_EQ(ticks, (QList<int>{1, 1}));
  EXPECT_FALSE(list.Ticked(1));
  list.SetListIndex(1);
  list.Clear();
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(list.ListIndex(), -1);
}

TEST_F(ControlsTest, Status_panels_are_counted_from_1) {
  StatusBar bar(form, QStringLiteral("bar"), 3);
  bar.SetPanelText(1, QStringLiteral("first"));
  bar.SetPanelText(3, QStringLiteral("last"));
  EXPECT_EQ(bar.PanelText(1), QStringLiteral("first"));
  EXPECT_EQ(bar.PanelText(2), QString());
  EXPECT_EQ(bar.PanelText(3), QStringLiteral("last"));
  EXPECT_EQ(FailureOf([&] { bar.SetPanelText(0, {}); }), 9);
  EXPECT_EQ(FailureOf([&] { bar.SetPanelText(4, {}); }), 9);
  int clicked = 0;
  bar.OnPanelDblClick = [&](int panel) { clicked = panel; };
  bar.DoubleClickPanel(2);
  EXPECT_EQ(clicked, 2);
}

TEST_F(ControlsTest, A_tab_strip_brings_one_of_its_pages_to_the_front) {
  TabStrip strip(form, QStringLiteral("tab"), 3);
  CountChanges(strip);
  EXPECT_EQ(strip.Tab(), 0);
  strip.SetTab(2);
  EXPECT_EQ(strip.Tab(), 2);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(FailureOf([&] { strip.SetTab(3); }), 9);
  EXPECT_EQ(FailureOf([&] { strip.SetTab(-1); }), 9);
  EXPECT_EQ(strip.Tab(), 2);
}

TEST_F(ControlsTest, A_label_has_no_colour_of_its_own_until_it_gets_one) {
  Label label(form, QStringLiteral("lbl"));
  CountChanges(label);
  EXPECT_FALSE(label.HasBackColor());
  label.SetBackColor(0);
  EXPECT_TRUE(label.HasBackColor());
  EXPECT_EQ(changes, 1);
  label.SetBackColor(255);
  EXPECT_EQ(changes, 2);
}

TEST_F(ControlsTest, A_menu_entry_clicks_when_enabled) {
  MenuItem item(form, QStringLiteral("mnu"), QStringLiteral("&Item"));
  int clicks = 0;
  item.OnClick = [&] { ++clicks; };
  item.Click();
  item.SetEnabled(false);
  item.Click();
  EXPECT_EQ(clicks, 1);
  EXPECT_EQ(item.Caption(), QStringLiteral("&Item"));
}

}  // namespace
}  // namespace veltrane
