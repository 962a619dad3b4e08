// The simple controls. Values are those of the form's logic; what a user does arrives through the same
// setters, so that code and hand cannot differ.
#pragma once

#include <QList>
#include <QStringList>

#include "forms/Control.h"

namespace veltrane {

/// A colour number with red in the low byte and blue in the high one: 255 is pure red, 0xff0000 pure blue.
using Colour = quint32;

class Label : public CaptionedControl {
  Q_OBJECT

 public:
  using CaptionedControl::CaptionedControl;

  Colour BackColor() const { return mBackColor; }
  void SetBackColor(Colour colour);
  /// False until SetBackColor was called: the face's own background stands.
  bool HasBackColor() const { return mHasBackColor; }

  void Click();
  std::function<void()> OnClick;

 private:
  Colour mBackColor = 0;
  bool mHasBackColor = false;
};

class CommandButton : public CaptionedControl {
  Q_OBJECT

 public:
  using CaptionedControl::CaptionedControl;

  /// The user's click; a disabled button does not react.
  void Click();
  std::function<void()> OnClick;
};

/// Value 0 or 1. Every assignment of a value fires OnClick, also that of the value which it has: loading a
/// dialog from its settings is what puts them into force.
class CheckBox : public CaptionedControl {
  Q_OBJECT

 public:
  using CaptionedControl::CaptionedControl;

  int Value() const { return mValue; }
  bool IsOn() const { return mValue == 1; }
  /// Fails with a bad argument for any value but 0 and 1.
  void SetValue(int value);
  std::function<void()> OnClick;

 private:
  int mValue = 0;
};

/// Options of which at most one is set, indexed from 0; the faces know option i as name_i.
class OptionGroup : public Control {
  Q_OBJECT

 public:
  OptionGroup(Form& form, const QString& name, int count);

  int Count() const { return static_cast<int>(mEnabledOptions.size()); }
  bool Value(int index) const { return mSelected == index; }
  /// The index of the set option, or -1.
  int Selected() const { return mSelected; }
  /// True sets the option, clears the others and fires OnClick(index), also when it was set already. False
  /// only clears. Fails when there is no such option.
  void SetValue(int index, bool value);
  void Select(int index) { SetValue(index, true); }

  bool OptionEnabled(int index) const { return mEnabledOptions.at(index); }
  void SetOptionEnabled(int index, bool enabled);

  std::function<void(int index)> OnClick;

 private:
  void RequireIndex(int index) const;

  QList<bool> mEnabledOptions;
  int mSelected = -1;
};

class TextBox : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  const QString& Text() const { return mText; }
  /// Fires OnChange when the text is another one than before.
  void SetText(const QString& text);
  /// The keyboard focus has left the box.
  void LeaveFocus();

  std::function<void()> OnChange;
  std::function<void()> OnLostFocus;

 private:
  QString mText;
};

/// The arrows beside a text box that count its number up and down.
class SpinButton : public Control {
  Q_OBJECT

 public:
  SpinButton(Form& form, const QString& name, TextBox& buddy, int minimum, int maximum, int step);

  void Up() { Move(mStep); }
  void Down() { Move(-mStep); }
  TextBox& Buddy() const { return mBuddy; }

 private:
  void Move(int by);

  TextBox& mBuddy;
  int mMinimum;
  int mMaximum;
  int mStep;
};

/// A drop-down list. ListIndex is 0-based, -1 when nothing is chosen.
class ComboBox : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  const QStringList& List() const { return mList; }
  void SetList(const QStringList& list);
  int ListIndex() const { return mListIndex; }
  /// Fires OnClick. Fails when there is no such entry (-1 clears the choice).
  void SetListIndex(int index);
  /// The chosen entry's text, or an empty one.
  QString Text() const { return mListIndex < 0 ? QString() : mList.at(mListIndex); }

  std::function<void()> OnClick;

 private:
  QStringList mList;
  int mListIndex = -1;
};

/// A list with one tick per row. Rows are 0-based; ListIndex, the cursor's row, is -1 when there is none.
class TickList : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  int Count() const { return static_cast<int>(mRows.size()); }
  void Clear();
  void AddItem(const QString& text);
  QString Item(int row) const { return mRows.at(row).text; }
  bool Ticked(int row) const { return mRows.at(row).ticked; }
  /// Fires OnItemTick(row) when a tick appears or goes.
  void SetTicked(int row, bool ticked);
  int ListIndex() const { return mListIndex; }
  /// Fires OnClick.
  void SetListIndex(int row);

  std::function<void()> OnClick;
  std::function<void(int row)> OnItemTick;

 private:
  struct Row {
    QString text;
    bool ticked = false;
  };
  QList<Row> mRows;
  int mListIndex = -1;
};

/// A bar of panels with texts, counted from 1.
class StatusBar : public Control {
  Q_OBJECT

 public:
  StatusBar(Form& form, const QString& name, int panels);

  int PanelCount() const { return static_cast<int>(mPanels.size()); }
  const QString& PanelText(int panel) const;
  void SetPanelText(int panel, const QString& text);
  void DoubleClickPanel(int panel);

  std::function<void(int panel)> OnPanelDblClick;

 private:
  QStringList mPanels;
};

/// Pages of which one is in front, indexed from 0.
class TabStrip : public Control {
  Q_OBJECT

 public:
  TabStrip(Form& form, const QString& name, int count) : Control(form, name), mCount(count) {}

  int Count() const { return mCount; }
  int Tab() const { return mTab; }
  /// Fails when there is no such page.
  void SetTab(int tab);

 private:
  int mCount;
  int mTab = 0;
};

/// A menu entry. It may be a check mark's bearer, and may hold further entries (see MenuTable of the face).
class MenuItem : public CaptionedControl {
  Q_OBJECT

 public:
  MenuItem(Form& form, const QString& name, const QString& caption);

  bool Checked() const { return mChecked; }
  void SetChecked(bool checked) { Assign(mChecked, checked); }
  /// The user's choice; a disabled entry does not react.
  void Click();

  std::function<void()> OnClick;

 private:
  bool mChecked = false;
};

}  // namespace veltrane
