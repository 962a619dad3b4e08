#include "forms/Controls.h"

#include <algorithm>
#include <utility>

#include "base/Failure.h"
#include "base/Numbers.h"

namespace veltrane {
namespace {

void RequireIndexBelow(int index, qsizetype count) {
  if (index < 0 || index >= count) throw Failure(FailureNumber::kOutOfRange);
}

// Events run from a copy: an event may replace or destroy its own control.
template <class Event, class... Arguments>
void Fire(const Event& event, Arguments... arguments) {
  if (!event) return;
  const Event copy = event;
  copy(arguments...);
}

}  // namespace

void Label::SetBackColor(Colour colour) {
  const bool first = !std::exchange(mHasBackColor, true);
  if (!Assign(mBackColor, colour) && first) Q_EMIT Changed();
}

void Label::Click() {
  Fire(OnClick);
}

void CommandButton::Click() {
  if (Enabled()) Fire(OnClick);
}

void CheckBox::SetValue(int value) {
  if (value != 0 && value != 1) throw Failure(FailureNumber::kBadArgument);
  Assign(mValue, value);
  Fire(OnClick);
}

OptionGroup::OptionGroup(Form& form, const QString& name, int count)
    : Control(form, name), mEnabledOptions(count, true) {}

void OptionGroup::RequireIndex(int index) const {
  RequireIndexBelow(index, mEnabledOptions.size());
}

void OptionGroup::SetValue(int index, bool value) {
  RequireIndex(index);
  if (value) {
    Assign(mSelected, index);
    Fire(OnClick, index);
  } else if (mSelected == index) {
    Assign(mSelected, -1);
  }
}

void OptionGroup::SetOptionEnabled(int index, bool enabled) {
  RequireIndex(index);
  Assign(mEnabledOptions[index], enabled);
}

void TextBox::SetText(const QString& text) {
  if (Assign(mText, text)) Fire(OnChange);
}

void TextBox::LeaveFocus() {
  Fire(OnLostFocus);
}

SpinButton::SpinButton(Form& form, const QString& name, TextBox& buddy, int minimum, int maximum, int step)
    : Control(form, name), mBuddy(buddy), mMinimum(minimum), mMaximum(maximum), mStep(step) {}

void SpinButton::Move(int by) {
  if (!Enabled()) return;
  double number = mMinimum;
  if (IsNumeric(mBuddy.Text())) number = std::clamp<double>(ToDouble(mBuddy.Text()), mMinimum, mMaximum) + by;
  mBuddy.SetText(QString::number(ToInt32(std::clamp<double>(number, mMinimum, mMaximum))));
}

void ComboBox::SetList(const QStringList& list) {
  mListIndex = -1;
  mList = list;
  Q_EMIT Changed();
}

void ComboBox::SetListIndex(int index) {
  if (index != -1) RequireIndexBelow(index, mList.size());
  Assign(mListIndex, index);
  Fire(OnClick);
}

void TickList::Clear() {
  mRows.clear();
  mListIndex = -1;
  Q_EMIT Changed();
}

void TickList::AddItem(const QString& text) {
  mRows.append({text, false});
  Q_EMIT Changed();
}

void TickList::SetTicked(int row, bool ticked) {
  RequireIndexBelow(row, mRows.size());
  if (Assign(mRows[row].ticked, ticked)) Fire(OnItemTick, row);
}

void TickList::SetListIndex(int row) {
  if (row != -1) RequireIndexBelow(row, mRows.size());
  Assign(mListIndex, row);
  Fire(OnClick);
}

StatusBar::StatusBar(Form& form, const QString& name, int panels) : Control(form, name) {
  mPanels.resize(panels);
}

const QString& StatusBar::PanelText(int panel) const {
  RequireIndexBelow(panel - 1, mPanels.size());
  return mPanels[panel - 1];
}

void StatusBar::SetPanelText(int panel, const QString& text) {
  RequireIndexBelow(panel - 1, mPanels.size());
  Assign(mPanels[panel - 1], text);
}

void StatusBar::DoubleClickPanel(int panel) {
  RequireIndexBelow(panel - 1, mPanels.size());
  Fire(OnPanelDblClick, panel);
}

void TabStrip::SetTab(int tab) {
  RequireIndexBelow(tab, mCount);
  Assign(mTab, tab);
}

MenuItem::MenuItem(Form& form, const QString& name, const QString& caption) : CaptionedControl(form, name) {
  SetCaption(caption);
}

void MenuItem::Click() {
  if (Enabled()) Fire(OnClick);
}

}  // namespace veltrane
