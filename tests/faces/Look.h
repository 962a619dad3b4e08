// What a person must find in every window: a name on all that gets the keyboard, an order as it is read, room
// for each text, keys that mean one thing. Each look gives what is wrong, in words.
#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QComboBox>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QTabBar>
#include <QTabWidget>
#include <QWidget>

#include "ui/faces/FormFace.h"

namespace veltrane::look {

inline QString Name(const QWidget& widget) {
  return widget.window()->objectName() + u'.' + widget.objectName();
}

/// What the user meets with the keyboard, in its order, on the page in view.
inline QList<QWidget*> InKeyOrder(const FormFace& face) {
  QList<QWidget*> found;
  for (QWidget* widget = face.nextInFocusChain(); widget != &face; widget = widget->nextInFocusChain()) {
    const bool reached = widget->focusPolicy() & Qt::TabFocus && !widget->focusProxy();
    if (reached && widget->isVisibleTo(&face)) found.append(widget);
  }
  return found;
}

/// All that the keyboard reaches, and the buttons that only the mouse does.
inline QStringList WithoutName(const FormFace& face) {
  QList<QWidget*> all = InKeyOrder(face);
  for (QAbstractButton* button : face.findChildren<QAbstractButton*>())
    if (button->isVisibleTo(&face) && !button->objectName().startsWith(u"qt_")) all.append(button);
  QStringList wrong;
  for (QWidget* widget : all) {
    const QAccessibleInterface* told = QAccessible::queryAccessibleInterface(widget);
    // A tab bar's tabs have names of their own.
    if (qobject_cast<QTabBar*>(widget)) continue;
    if (!told || told->text(QAccessible::Name).isEmpty()) wrong.append(Name(*widget));
  }
  return wrong;
}

inline QRect Place(const QWidget& widget, const QWidget& face) {
  return {widget.mapTo(&face, QPoint()), widget.size()};
}

/// A step goes down, to the right, or from one column to the top of the next.
inline QStringList StepsBack(const FormFace& face) {
  constexpr int kTolerance = 4;
  QStringList wrong;
  const QList<QWidget*> order = InKeyOrder(face);
  for (qsizetype i = 1; i < order.size(); ++i) {
    const QRect from = Place(*order[i - 1], face);
    const QRect to = Place(*order[i], face);
    const bool down = to.top() + kTolerance >= from.bottom();
    const bool right = to.left() + kTolerance >= from.right();
    if (!down && !right) wrong.append(Name(*order[i - 1]) + QStringLiteral(" to ") + order[i]->objectName());
  }
  return wrong;
}

inline QSize NeededBy(QWidget& widget) {
  const auto* label = qobject_cast<QLabel*>(&widget);
  if (label && label->wordWrap()) return {0, label->heightForWidth(label->width())};
  // What a field shows is the user's; its height is the font's.
  if (qobject_cast<QLineEdit*>(&widget)) return {0, widget.fontMetrics().height()};
  return widget.minimumSizeHint();
}

inline bool HasText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) return !label->text().isEmpty();
  // An arrow has none.
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) return !button->text().isEmpty();
  return qobject_cast<const QComboBox*>(&widget) || qobject_cast<const QLineEdit*>(&widget);
}

/// Labels, buttons, boxes and fields whose text is cut, and what stands outside the window.
inline QStringList WithoutRoom(const FormFace& face) {
  QStringList wrong;
  for (QWidget* widget : face.findChildren<QWidget*>()) {
    if (!HasText(*widget) || !widget->isVisibleTo(&face) || widget->objectName().startsWith(u"qt_")) continue;
    const QSize needed = NeededBy(*widget);
    const bool inside = face.rect().contains(Place(*widget, face));
    if (inside && needed.width() <= widget->width() && needed.height() <= widget->height()) continue;
    wrong.append(QStringLiteral("%1 has %2x%3 of %4x%5")
                     .arg(Name(*widget))
                     .arg(widget->width())
                     .arg(widget->height())
                     .arg(needed.width())
                     .arg(needed.height()));
  }
  return wrong;
}

/// Keys that two of the texts in view have, or a text and a tab.
inline QStringList KeysOfTwo(const FormFace& face) {
  QMap<QString, QStringList> owners;
  const auto note = [&](const QString& text, const QString& owner) {
    const QString key = QKeySequence::mnemonic(text).toString();
    if (!key.isEmpty()) owners[key].append(owner);
  };
  for (const QWidget* widget : face.findChildren<QWidget*>()) {
    if (!widget->isVisibleTo(&face)) continue;
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
      note(button->text(), Name(*widget));
    const auto* label = qobject_cast<const QLabel*>(widget);
    if (label && label->buddy()) note(label->text(), Name(*widget));
    const auto* tabs = qobject_cast<const QTabWidget*>(widget);
    for (int i = 0; tabs && i < tabs->count(); ++i)
      note(tabs->tabText(i), Name(*widget));
  }
  QStringList wrong;
  for (auto it = owners.cbegin(); it != owners.cend(); ++it)
    if (it->size() > 1) wrong.append(it.key() + QStringLiteral(": ") + it->join(QStringLiteral(", ")));
  return wrong;
}

}  // namespace veltrane::look
