// A row of buttons with pictures. A button has a key, which is its picture's too; some have a drop-down menu.
#pragma once

#include <QList>

#include "forms/Control.h"

namespace veltrane {

class ToolBar : public Control {
  Q_OBJECT

 public:
  struct Entry {
    QString text;
    QString key;
  };
  /// A separator has no key.
  struct Button {
    QString key;
    QString toolTip;
    QList<Entry> menu;
    bool enabled = true;
  };

  using Control::Control;

  void AddButton(const QString& key, const QString& toolTip);
  void AddSeparator() { mButtons.append(Button()); }
  /// Adds an entry to the drop-down menu of a button. Fails when there is no such button.
  void AddMenuEntry(const QString& button, const Entry& entry);

  const QList<Button>& Buttons() const { return mButtons; }
  /// Fail when there is no such button.
  bool ButtonEnabled(const QString& key) const { return ButtonOf(key).enabled; }
  void SetButtonEnabled(const QString& key, bool enabled);

  /// The user's click; a disabled button does not react.
  void ClickButton(const QString& key);
  /// The user's choice from a drop-down menu, which opens under a disabled button as little as its click.
  void ClickMenu(const QString& button, const QString& key);

  std::function<void(const QString& key)> OnButtonClick;
  std::function<void(const QString& key)> OnButtonMenuClick;

 private:
  const Button& ButtonOf(const QString& key) const;
  Button& ButtonOf(const QString& key) { return const_cast<Button&>(std::as_const(*this).ButtonOf(key)); }

  QList<Button> mButtons;
};

}  // namespace veltrane
