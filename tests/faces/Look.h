// What a person must find in every window: a name on all that gets the keyboard, an order as it is read, room
// for each text, keys that mean one thing. Each look gives what is wrong, in words.
#pragma once

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHash>
#include <QHeaderView>
#include <QImage>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>
#include <QWidget>

#include <algorithm>
#include <cmath>

#include "ui/faces/BarFaces.h"
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

/// A title or panel of the main window may be shorter than its text, if its tool tip has that whole.
inline int WidthOfPanel(PanelLabel& panel) {
  panel.grab();  // writing it sets the tool tip
  return panel.toolTip() == panel.text().toHtmlEscaped() ? 0 : panel.WholeWidth();
}

inline QSize NeededBy(QWidget& widget) {
  if (auto* panel = qobject_cast<PanelLabel*>(&widget))
    return {WidthOfPanel(*panel), panel->minimumSizeHint().height()};
  const auto* label = qobject_cast<QLabel*>(&widget);
  if (label && label->wordWrap()) return {0, label->heightForWidth(label->width())};
  // What a field shows is the user's; its height is the font's.
  if (qobject_cast<QLineEdit*>(&widget)) return {0, widget.fontMetrics().height()};
  return widget.minimumSizeHint();
}

inline bool HasText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) return !label->text().isEmpty();
  if (const auto* group = qobject_cast<const QGroupBox*>(&widget)) return !group->title().isEmpty();
  // An arrow has none.
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) return !button->text().isEmpty();
  return qobject_cast<const QComboBox*>(&widget) || qobject_cast<const QLineEdit*>(&widget);
}

/// Whether it stands within the window and within all that is around it, which would cut it off. What is in a
/// view that scrolls can be scrolled to.
inline bool IsInside(const QWidget& widget) {
  for (const QWidget* at = &widget; !at->isWindow(); at = at->parentWidget()) {
    const QWidget* around = at->parentWidget();
    if (qobject_cast<const QAbstractScrollArea*>(around->parentWidget())) return true;
    if (!around->rect().contains(at->geometry())) return false;
  }
  return true;
}

inline QString Has(const QString& name, QSize room, QSize needed) {
  return QStringLiteral("%1 has %2x%3 of %4x%5")
      .arg(name)
      .arg(room.width())
      .arg(room.height())
      .arg(needed.width())
      .arg(needed.height());
}

/// Captions of a list's columns that are cut. The columns of the main window's grid have the widths they are
/// given: the user can widen them, and the tool tip has the caption whole.
inline QStringList CutHeads(const QHeaderView& heads) {
  QStringList wrong;
  for (int i = 0; i < heads.count(); ++i) {
    const QString caption = heads.model()->headerData(i, Qt::Horizontal).toString();
    const bool isTold = heads.model()->headerData(i, Qt::Horizontal, Qt::ToolTipRole) == caption;
    const bool isGiven =
        !heads.stretchLastSection() && heads.sectionResizeMode(i) == QHeaderView::Interactive;
    if (isTold && isGiven) continue;
    const QSize room(heads.sectionSize(i), heads.height());
    const QSize needed(heads.sectionSizeHint(i), heads.sizeHint().height());
    if (needed.boundedTo(room) != needed)
      wrong.append(Has(Name(*heads.parentWidget()) + u'.' + caption, room, needed));
  }
  return wrong;
}

/// Captions of pages that are cut, or out of view.
inline QStringList CutTabs(const QTabBar& tabs) {
  QStringList wrong;
  for (int i = 0; i < tabs.count(); ++i) {
    const QSize needed = tabs.fontMetrics().size(Qt::TextShowMnemonic, tabs.tabText(i));
    const QRect room = tabs.tabRect(i);
    if (needed.boundedTo(room.size()) != needed || !tabs.rect().contains(room))
      wrong.append(Has(tabs.window()->objectName() + u'.' + tabs.tabText(i), room.size(), needed));
  }
  return wrong;
}

/// Labels, buttons, boxes, fields, titles, captions and heads whose text is cut, and what stands outside the
/// window.
inline QStringList WithoutRoom(const FormFace& face) {
  QStringList wrong;
  for (QWidget* widget : face.findChildren<QWidget*>()) {
    if (!widget->isVisibleTo(&face)) continue;
    if (const auto* heads = qobject_cast<QHeaderView*>(widget)) wrong += CutHeads(*heads);
    if (const auto* tabs = qobject_cast<QTabBar*>(widget)) wrong += CutTabs(*tabs);
    if (!HasText(*widget) || widget->objectName().startsWith(u"qt_")) continue;
    const QSize needed = NeededBy(*widget);
    if (!IsInside(*widget) || needed.boundedTo(widget->size()) != needed)
      wrong.append(Has(Name(*widget), widget->size(), needed));
  }
  return wrong;
}

/// Whether the keyboard has to be able to get there.
inline bool IsForKeys(const QWidget& widget) {
  // The head of a list is no part of its way by keys.
  if (qobject_cast<const QHeaderView*>(&widget)) return false;
  // The arrows beside a number are for the mouse: with the keyboard it is typed.
  const auto* arrow = qobject_cast<const QToolButton*>(&widget);
  if (arrow && arrow->arrowType() != Qt::NoArrow) return false;
  return qobject_cast<const QLineEdit*>(&widget) || qobject_cast<const QAbstractButton*>(&widget) ||
         qobject_cast<const QComboBox*>(&widget) || qobject_cast<const QAbstractItemView*>(&widget) ||
         qobject_cast<const QTabBar*>(&widget);
}

/// Where the Tab key leads, pressed until it comes back to where it was.
inline QList<QWidget*> ByTabKey(FormFace& face) {
  QList<QWidget*> met;
  for (;;) {
    QWidget* from = face.focusWidget();
    QTest::keyClick(from ? from : &face, Qt::Key_Tab);
    QWidget* to = face.focusWidget();
    if (!to || met.contains(to)) return met;
    met.append(to);
  }
}

/// One of a group of options stands for all: the arrow keys go on from it.
inline bool IsMet(QWidget& widget, const QList<QWidget*>& met) {
  if (met.contains(&widget) || met.contains(widget.focusProxy())) return true;
  const auto* option = qobject_cast<const QRadioButton*>(&widget);
  return option && std::any_of(met.begin(), met.end(), [option](const QWidget* other) {
           const auto* one = qobject_cast<const QRadioButton*>(other);
           return one && one->group() == option->group() &&
                  (one->group() || one->parentWidget() == option->parentWidget());
         });
}

inline QStringList NotMet(const FormFace& face) {
  auto& window = const_cast<FormFace&>(face);
  const QList<QWidget*> met = ByTabKey(window);
  QStringList wrong;
  for (QWidget* widget : face.findChildren<QWidget*>()) {
    const bool wanted = IsForKeys(*widget) && widget->isEnabled() && widget->isVisibleTo(&face);
    if (wanted && !IsMet(*widget, met)) wrong.append(Name(*widget));
  }
  return wrong;
}

inline double Luminance(QRgb colour) {
  const auto linear = [](int value) {
    const double part = value / 255.0;
    return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

/// From 1, for the same colour, to 21, for black and white.
inline double Contrast(QRgb one, QRgb other) {
  const double first = Luminance(one) + 0.05;
  const double second = Luminance(other) + 0.05;
  return std::max(first / second, second / first);
}

/// Of the commonest colour, the paper's, with the one that stands out most, the writing's.
inline double ContrastWithin(const QImage& picture) {
  QHash<QRgb, int> counts;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x)
      ++counts[picture.pixel(x, y)];
  QRgb paper = 0;
  for (auto it = counts.cbegin(); it != counts.cend(); ++it)
    if (it.value() > counts.value(paper)) paper = it.key();
  double most = 1;
  for (auto it = counts.cbegin(); it != counts.cend(); ++it)
    most = std::max(most, Contrast(paper, it.key()));
  return most;
}

/// Where a label or button has its text: within its frame, and without the box or the circle before it.
inline QRect TextPlace(const QWidget& widget) {
  constexpr int kFrame = 4;
  QStyleOptionButton option;
  option.initFrom(&widget);
  if (qobject_cast<const QCheckBox*>(&widget))
    return widget.style()->subElementRect(QStyle::SE_CheckBoxContents, &option, &widget);
  if (qobject_cast<const QRadioButton*>(&widget))
    return widget.style()->subElementRect(QStyle::SE_RadioButtonContents, &option, &widget);
  if (qobject_cast<const QLabel*>(&widget)) return widget.contentsRect();
  return widget.rect().adjusted(kFrame, kFrame, -kFrame, -kFrame);
}

/// Texts of labels and buttons that can hardly be read on what is behind them.
inline QStringList Pale(const FormFace& face) {
  constexpr double kLeast = 4.5;
  const QImage shown = const_cast<FormFace&>(face).grab().toImage();
  QStringList wrong;
  for (const QWidget* widget : face.findChildren<QWidget*>()) {
    const bool isText = qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
    if (!isText || !HasText(*widget) || !widget->isEnabled() || !widget->isVisibleTo(&face)) continue;
    const QRect text = TextPlace(*widget);
    const QRectF place(QPointF(widget->mapTo(&face, text.topLeft())) * shown.devicePixelRatio(),
                       QSizeF(text.size()) * shown.devicePixelRatio());
    const double contrast = ContrastWithin(shown.copy(place.toAlignedRect()));
    if (contrast < kLeast) wrong.append(QStringLiteral("%1 has %2").arg(Name(*widget)).arg(contrast));
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
