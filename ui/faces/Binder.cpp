#include "ui/faces/Binder.h"

#include <QAbstractButton>
#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTreeView>

#include <functional>
#include <memory>
#include <utility>

#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "forms/TreeView.h"
#include "forms/WindowParts.h"
#include "ui/faces/ColourNumber.h"
#include "ui/faces/RichTextView.h"
#include "ui/faces/ViewBinder.h"

namespace veltrane {
namespace {

/// Calls react with every event of one type that a widget gets.
class EventWatch : public QObject {
 public:
  EventWatch(QWidget& widget, QEvent::Type type, std::function<void(QEvent&)> react)
      : QObject(&widget), mType(type), mReact(std::move(react)) {
    widget.installEventFilter(this);
  }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == mType) mReact(*event);
    return false;
  }

 private:
  QEvent::Type mType;
  std::function<void(QEvent&)> mReact;
};

/// Runs show now and at every change of control, for as long as widget lives.
template <class Show>
void Follow(const Control& control, QObject& widget, Show show) {
  show();
  QObject::connect(&control, &Control::Changed, &widget, show);
}

/// Brings the pages on which the widget stands to the front, and the focus to it. With no reason, so that the
/// field which loses it is not taken for one that the user has left: two wrong fields would send each other
/// the focus for ever.
void TakeFocus(QWidget& widget) {
  for (QWidget* page = &widget; page; page = page->parentWidget()) {
    // Between a page and its tabs stands the stack of all pages.
    QWidget* stack = page->parentWidget();
    auto* tabs = stack ? qobject_cast<QTabWidget*>(stack->parentWidget()) : nullptr;
    if (tabs && tabs->indexOf(page) >= 0) tabs->setCurrentWidget(page);
  }
  widget.setFocus(Qt::NoFocusReason);
}

void BindCommon(Control& control, QWidget& widget) {
  Follow(control, widget, [&control, &widget] {
    widget.setEnabled(control.Enabled());
    widget.setVisible(control.Visible());
  });
  const auto place = [&control, &widget] {
    const Rect& rect = control.Place();
    if (rect.width <= 0 || rect.height <= 0) return;
    widget.setGeometry(rect.left / kTwipsPerPixel, rect.top / kTwipsPerPixel, rect.width / kTwipsPerPixel,
                       rect.height / kTwipsPerPixel);
  };
  place();
  QObject::connect(&control, &Control::Placed, &widget, place);
  QObject::connect(&control, &Control::FocusAsked, &widget, [&widget] { TakeFocus(widget); });
}

template <class Widget>
void FollowCaption(const CaptionedControl& control, Widget& widget) {
  Follow(control, widget, [&control, &widget] {
    if (!control.Caption().isEmpty()) widget.setText(control.Caption());
  });
}

void BindLabel(Label& label, QLabel& widget) {
  BindCommon(label, widget);
  FollowCaption(label, widget);
  Follow(label, widget, [&label, &widget] {
    if (!label.HasBackColor()) return;
    QPalette palette = widget.palette();
    palette.setColor(QPalette::Window, ToQColor(label.BackColor()));
    widget.setPalette(palette);
    widget.setAutoFillBackground(true);
  });
  new EventWatch(widget, QEvent::MouseButtonRelease, [&label, &widget](QEvent& event) {
    const auto& release = static_cast<const QMouseEvent&>(event);
    if (release.button() == Qt::LeftButton && widget.rect().contains(release.pos())) label.Click();
  });
}

void BindButton(CommandButton& button, QAbstractButton& widget) {
  BindCommon(button, widget);
  FollowCaption(button, widget);
  QObject::connect(&widget, &QAbstractButton::clicked, &button, [&button] { button.Click(); });
}

void BindCheckBox(CheckBox& box, QCheckBox& widget) {
  BindCommon(box, widget);
  FollowCaption(box, widget);
  Follow(box, widget, [&box, &widget] { widget.setChecked(box.IsOn()); });
  // clicked, not toggled: the hand alone.
  QObject::connect(&widget, &QCheckBox::clicked, &box, [&box](bool on) { box.SetValue(on ? 1 : 0); });
}

void BindOptions(OptionGroup& group, QWidget& face) {
  auto* buttons = new QButtonGroup(&face);
  for (int i = 0; i < group.Count(); ++i) {
    auto* button = face.findChild<QRadioButton*>(group.Name() + u'_' + QString::number(i));
    if (!button) continue;
    buttons->addButton(button, i);
    QObject::connect(button, &QRadioButton::clicked, &group, [&group, i] { group.Select(i); });
  }
  Follow(group, *buttons, [&group, buttons] {
    const int set = group.Selected();
    const bool anyHasTab = set < 0 || !group.OptionEnabled(set);
    // Exclusive groups cannot show that no option is set.
    buttons->setExclusive(false);
    for (QAbstractButton* button : buttons->buttons()) {
      const int index = buttons->id(button);
      button->setChecked(index == set);
      // The tab key goes to the set option, where the toolkit's own rule would take it to the first.
      button->setFocusPolicy(anyHasTab || index == set ? Qt::StrongFocus : Qt::ClickFocus);
      button->setEnabled(group.Enabled() && group.OptionEnabled(index));
      button->setVisible(group.Visible());
    }
    buttons->setExclusive(true);
  });
}

void WatchLostFocus(TextBox& box, QWidget& widget) {
  new EventWatch(widget, QEvent::FocusOut, [&box](QEvent& event) {
    // Another window in front is no leaving of the field, nor is a focus that the logic moves.
    const Qt::FocusReason reason = static_cast<QFocusEvent&>(event).reason();
    if (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason ||
        reason == Qt::NoFocusReason) {
      return;
    }
    // After the event: what it leads to may be a message box.
    QMetaObject::invokeMethod(
        &box, [&box] { box.LeaveFocus(); }, Qt::QueuedConnection);
  });
}

void BindLineEdit(TextBox& box, QLineEdit& widget) {
  BindCommon(box, widget);
  Follow(box, widget, [&box, &widget] {
    if (widget.text() != box.Text()) widget.setText(box.Text());
  });
  QObject::connect(&widget, &QLineEdit::textEdited, &box, [&box](const QString& text) { box.SetText(text); });
  WatchLostFocus(box, widget);
}

// A text that only grows at its front, as a log with the newest on top does, keeps the place and the
// selection of who reads it, and costs only what is new.
void FollowLog(TextBox& box, QPlainTextEdit& widget) {
  widget.setUndoRedoEnabled(false);
  Follow(box, widget, [&box, &widget, shown = QString()]() mutable {
    const QString& text = box.Text();
    if (text == shown) return;
    if (!shown.isEmpty() && text.endsWith(shown)) {
      const bool readsTop = !widget.textCursor().hasSelection() && widget.verticalScrollBar()->value() == 0;
      const int linesBefore = widget.document()->lineCount();
      QTextCursor(widget.document()).insertText(text.chopped(shown.size()));
      if (readsTop) {
        widget.moveCursor(QTextCursor::Start);
      } else {
        QScrollBar& bar = *widget.verticalScrollBar();
        bar.setValue(bar.value() + widget.document()->lineCount() - linesBefore);
      }
    } else {
      widget.setPlainText(text);
    }
    shown = text;
  });
}

void BindTextEdit(TextBox& box, QPlainTextEdit& widget) {
  BindCommon(box, widget);
  if (widget.isReadOnly()) {
    FollowLog(box, widget);
  } else {
    Follow(box, widget, [&box, &widget] {
      if (widget.toPlainText() != box.Text()) widget.setPlainText(box.Text());
    });
    QObject::connect(&widget, &QPlainTextEdit::textChanged, &box,
                     [&box, &widget] { box.SetText(widget.toPlainText()); });
  }
  WatchLostFocus(box, widget);
}

void BindSpinButton(SpinButton& spin, QWidget& face) {
  const auto bind = [&](const char* suffix, void (SpinButton::*move)()) {
    auto* button = face.findChild<QAbstractButton*>(spin.Name() + QLatin1String(suffix));
    if (!button) return;
    BindCommon(spin, *button);
    QObject::connect(button, &QAbstractButton::clicked, &spin, [&spin, move] { (spin.*move)(); });
  };
  bind("_up", &SpinButton::Up);
  bind("_down", &SpinButton::Down);
}

void BindComboBox(ComboBox& box, QComboBox& widget) {
  BindCommon(box, widget);
  Follow(box, widget, [&box, &widget] {
    QStringList shown;
    for (int i = 0; i < widget.count(); ++i)
      shown.append(widget.itemText(i));
    if (shown != box.List()) {
      widget.clear();
      widget.addItems(box.List());
    }
    widget.setCurrentIndex(box.ListIndex());
  });
  QObject::connect(&widget, &QComboBox::activated, &box, [&box](int index) { box.SetListIndex(index); });
}

void BindTickList(TickList& list, QListWidget& widget) {
  BindCommon(list, widget);
  Follow(list, widget, [&list, &widget] {
    const QSignalBlocker quiet(widget);
    while (widget.count() > list.Count())
      delete widget.takeItem(widget.count() - 1);
    while (widget.count() < list.Count())
      widget.addItem(QString());
    for (int row = 0; row < list.Count(); ++row) {
      QListWidgetItem& item = *widget.item(row);
      item.setText(list.Item(row));
      item.setCheckState(list.Ticked(row) ? Qt::Checked : Qt::Unchecked);
    }
    widget.setCurrentRow(list.ListIndex());
  });
  // A click of the mouse is told once: by the cursor that it moves, else by the tick, else by itself.
  struct Hand {
    bool told = false;
    bool enters = false;
  };
  const auto hand = std::make_shared<Hand>();
  const auto begin = [hand](QEvent&) { *hand = {}; };
  new EventWatch(*widget.viewport(), QEvent::MouseButtonPress, begin);
  new EventWatch(widget, QEvent::KeyPress, begin);
  // With the focus, a list without a cursor gets one on its first row, which nobody has chosen by that.
  new EventWatch(widget, QEvent::FocusIn,
                 [hand, &widget](QEvent&) { hand->enters = widget.currentRow() < 0; });
  QObject::connect(&widget, &QListWidget::currentRowChanged, &list, [&list, hand](int row) {
    if (std::exchange(hand->enters, false) || row < 0 || row == list.ListIndex()) return;
    hand->told = true;
    list.SetListIndex(row);
  });
  QObject::connect(&widget, &QListWidget::itemChanged, &list, [&list, &widget, hand](QListWidgetItem* item) {
    const int row = widget.row(item);
    const bool ticked = item->checkState() == Qt::Checked;
    if (list.Ticked(row) == ticked) return;
    if (std::exchange(hand->told, true) && !ticked) {
      // What the cursor's move has ticked, the same click must not take away.
      const QSignalBlocker quiet(widget);
      item->setCheckState(Qt::Checked);
      return;
    }
    // A tick moves the cursor to its row before it is told.
    if (list.ListIndex() != row) list.SetListIndex(row);
    list.SetTicked(row, ticked);
  });
  QObject::connect(&widget, &QListWidget::clicked, &list, [&list, hand](const QModelIndex& index) {
    if (!std::exchange(hand->told, true) && index.row() < list.Count()) list.SetListIndex(index.row());
  });
}

void BindTabStrip(TabStrip& strip, QTabWidget& widget) {
  BindCommon(strip, widget);
  Follow(strip, widget, [&strip, &widget] { widget.setCurrentIndex(strip.Tab()); });
  QObject::connect(&widget, &QTabWidget::currentChanged, &strip, [&strip](int tab) {
    if (tab >= 0) strip.SetTab(tab);
  });
}

void BindRichText(RichTextBox& box, RichTextView& widget) {
  BindCommon(box, widget);
  widget.Follow(box);
}

/// A frame is what can be switched off as a whole.
void BindArea(Area& area, QFrame& widget) {
  Follow(area, widget, [&area, &widget] { widget.setEnabled(area.Enabled()); });
}

void BindMenuItem(MenuItem& item, QAction& action) {
  const auto show = [&item, &action] {
    action.setText(item.Caption());
    action.setEnabled(item.Enabled());
    action.setVisible(item.Visible());
    if (item.Checked()) action.setCheckable(true);
    action.setChecked(item.Checked());
  };
  Follow(item, action, show);
  QObject::connect(&action, &QAction::triggered, &item, [&item, show] {
    item.Click();
    // The action has toggled its own mark; what the item says holds.
    show();
  });
}

/// Binds control to the widget of its name, when that is of the kind which shows such a control.
template <class ControlType, class Widget>
bool Bind(Control& control, QWidget& face, void (*bind)(ControlType&, Widget&)) {
  auto* typed = dynamic_cast<ControlType*>(&control);
  if (!typed) return false;
  auto* widget = face.findChild<Widget*>(control.Name());
  if (!widget) return false;
  bind(*typed, *widget);
  return true;
}

void BindControl(Control& control, QWidget& face) {
  if (auto* options = dynamic_cast<OptionGroup*>(&control)) {
    BindOptions(*options, face);
  } else if (auto* spin = dynamic_cast<SpinButton*>(&control)) {
    BindSpinButton(*spin, face);
  } else {
    // The first row that fits does it.
    (void)(Bind(control, face, BindLabel) || Bind(control, face, BindButton) ||
           Bind(control, face, BindCheckBox) || Bind(control, face, BindLineEdit) ||
           Bind(control, face, BindTextEdit) || Bind(control, face, BindComboBox) ||
           Bind(control, face, BindTickList) || Bind(control, face, BindTabStrip) ||
           Bind(control, face, BindMenuItem) || Bind(control, face, BindTreeView) ||
           Bind(control, face, BindListView) || Bind(control, face, BindRichText) ||
           Bind(control, face, BindArea));
  }
}

}  // namespace

void BindControls(Form& form, QWidget& face) {
  for (Control* control : form.Controls())
    BindControl(*control, face);
}

}  // namespace veltrane
