#include "ui/faces/BarFaces.h"

#include <QFontInfo>
#include <QFontMetrics>
#include <QFrame>
#include <QHBoxLayout>
#include <QLocale>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOption>
#include <QTime>
#include <QTimer>
#include <QToolButton>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "forms/Controls.h"
#include "forms/ToolBar.h"
#include "forms/WindowParts.h"
#include "ui/faces/Pictures.h"

namespace veltrane {
namespace {

constexpr int kClockMs = 1000;
constexpr int kSeparatorHeight = 28;
constexpr int kLeastFont = 10;  // of a panel, in pixels
constexpr int kSides = 4;       // beside its text

template <class Show>
void Follow(const Control& control, QObject& widget, Show show) {
  show();
  QObject::connect(&control, &Control::Changed, &widget, show);
}

QMenu* BuildDropDown(ToolBar& bar, const ToolBar::Button& button, QWidget& parent) {
  auto* menu = new QMenu(&parent);
  for (const ToolBar::Entry& entry : button.menu) {
    QAction* action = menu->addAction(entry.text);
    action->setObjectName(entry.key);
    QObject::connect(action, &QAction::triggered, &bar,
                     [&bar, owner = button.key, key = entry.key] { bar.ClickMenu(owner, key); });
  }
  return menu;
}

QToolButton* BuildButton(ToolBar& bar, const ToolBar::Button& button, QWidget& parent, int pictureSize) {
  auto* widget = new QToolButton(&parent);
  widget->setObjectName(bar.Name() + u'_' + button.key);
  widget->setIcon(Picture(button.key));
  widget->setIconSize(QSize(pictureSize, pictureSize));
  widget->setToolTip(button.toolTip);
  widget->setAccessibleName(button.toolTip);
  widget->setAutoRaise(true);
  widget->setFocusPolicy(Qt::TabFocus);
  if (!button.menu.isEmpty()) {
    widget->setMenu(BuildDropDown(bar, button, *widget));
    widget->setPopupMode(QToolButton::MenuButtonPopup);
  }
  QObject::connect(widget, &QToolButton::clicked, &bar, [&bar, key = button.key] { bar.ClickButton(key); });
  Follow(bar, *widget, [&bar, widget, key = button.key] { widget->setEnabled(bar.ButtonEnabled(key)); });
  return widget;
}

QFrame* BuildSeparator(QWidget& parent) {
  auto* line = new QFrame(&parent);
  line->setFrameShape(QFrame::VLine);
  line->setFrameShadow(QFrame::Sunken);
  line->setFixedHeight(kSeparatorHeight);
  return line;
}

void KeepClock(QLabel& label) {
  auto* timer = new QTimer(&label);
  const auto show = [&label] {
    label.setText(QLocale().toString(QTime::currentTime(), QLocale::ShortFormat));
  };
  QObject::connect(timer, &QTimer::timeout, &label, show);
  timer->start(kClockMs);
  show();
}

/// A double click on a panel, told by number.
class DoubleClicks : public QObject {
 public:
  DoubleClicks(StatusBar& bar, QWidget& label, int panel) : QObject(&label), mBar(bar), mPanel(panel) {
    label.installEventFilter(this);
  }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::MouseButtonDblClick) mBar.DoubleClickPanel(mPanel);
    return false;
  }

 private:
  StatusBar& mBar;
  int mPanel;
};

}  // namespace

PanelLabel::PanelLabel(QWidget* parent) : QLabel(parent) {
  // Addresses stand in angle brackets; nothing here is markup.
  setTextFormat(Qt::PlainText);
}

QSize PanelLabel::minimumSizeHint() const {
  QFont least = font();
  least.setPixelSize(std::min(kLeastFont, QFontInfo(least).pixelSize()));
  return {0, QFontMetrics(least).height() + 2 * frameWidth()};
}

// The heights of the main window's titles and panels are given, whatever the user's font is.
QFont PanelLabel::FittingFont() const {
  QFont fitting = font();
  for (int size = QFontInfo(fitting).pixelSize();
       size > kLeastFont && QFontMetrics(fitting).height() > contentsRect().height(); --size) {
    fitting.setPixelSize(size - 1);
  }
  return fitting;
}

int PanelLabel::WholeWidth() const {
  const int around = width() - contentsRect().width() + 2 * kSides;
  return QFontMetrics(FittingFont()).horizontalAdvance(text()) + around;
}

void PanelLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setFont(FittingFont());
  QStyleOptionFrame frame;
  initStyleOption(&frame);
  style()->drawControl(QStyle::CE_ShapedFrame, &frame, &painter, this);
  const QRect room = contentsRect().adjusted(kSides, 0, -kSides, 0);
  const QString shown = painter.fontMetrics().elidedText(text(), Qt::ElideRight, room.width());
  style()->drawItemText(&painter, room, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeft), palette(),
                        isEnabled(), shown, foregroundRole());
  const QString tip = shown == text() ? QString() : text().toHtmlEscaped();
  if (toolTip() != tip) setToolTip(tip);
}

QWidget* BuildToolBar(ToolBar& bar, QWidget& parent, int pictureSize) {
  auto* widget = new QWidget(&parent);
  widget->setObjectName(bar.Name());
  auto* layout = new QHBoxLayout(widget);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(2);
  for (const ToolBar::Button& button : bar.Buttons()) {
    layout->addWidget(button.key.isEmpty() ? static_cast<QWidget*>(BuildSeparator(*widget))
                                           : BuildButton(bar, button, *widget, pictureSize));
  }
  layout->addStretch();
  return widget;
}

QWidget* BuildStatusBar(StatusBar& bar, QWidget& parent, std::initializer_list<int> stretches, int clock) {
  auto* widget = new QWidget(&parent);
  widget->setObjectName(bar.Name());
  auto* layout = new QHBoxLayout(widget);
  layout->setContentsMargins(1, 1, 1, 1);
  layout->setSpacing(2);
  int panel = 0;
  for (const int stretch : stretches) {
    auto* label = new PanelLabel(widget);
    label->setObjectName(bar.Name() + u'_' + QString::number(++panel));
    label->setFrameStyle(static_cast<int>(QFrame::StyledPanel) | static_cast<int>(QFrame::Sunken));
    label->setMargin(4);
    label->setSizePolicy(stretch > 0 ? QSizePolicy::Ignored : QSizePolicy::Preferred, QSizePolicy::Preferred);
    layout->addWidget(label, stretch);
    new DoubleClicks(bar, *label, panel);
    if (panel == clock) {
      KeepClock(*label);
      continue;
    }
    Follow(bar, *label, [&bar, label, panel, stretch] {
      label->setText(bar.PanelText(panel));
      label->setVisible(stretch > 0 || !bar.PanelText(panel).isEmpty());
    });
  }
  return widget;
}

SplitterFace::SplitterFace(Splitter& splitter, QWidget& parent, Qt::CursorShape cursor)
    : QWidget(&parent), mSplitter(splitter) {
  setObjectName(splitter.Name());
  setCursor(cursor);
}

void SplitterFace::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  mStart = event->pos();
  mSplitter.MouseDown();
}

void SplitterFace::mouseMoveEvent(QMouseEvent* event) {
  const QPoint offset = event->pos() - mStart;
  mSplitter.MouseMove(offset.x() * kTwipsPerPixel, offset.y() * kTwipsPerPixel);
}

void SplitterFace::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) mSplitter.MouseUp();
}

}  // namespace veltrane
