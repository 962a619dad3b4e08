#include "ui/faces/FormFace.h"

#include <QAbstractItemView>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QEvent>
#include <QGuiApplication>
#include <QLayout>
#include <QPushButton>
#include <QTabBar>
#include <QThread>
#include <QToolButton>
#include <QWindow>

#include "forms/Controls.h"
#include "ui/faces/FramePace.h"

namespace veltrane {

FormFace::FormFace(Form& form) : mForm(form) {
  setObjectName(form.Name());
  setAttribute(Qt::WA_QuitOnClose, false);
  connect(&form, &Form::CaptionChanged, this, [this] { setWindowTitle(mForm.Caption()); });
  connect(&form, &Form::GeometryChanged, this, &FormFace::FollowGeometry);
  connect(&form, &Form::StateChanged, this, &FormFace::FollowState);
  setWindowTitle(form.Caption());
  if (form.State() == WindowState::kMinimized) setWindowState(Qt::WindowMinimized);
}

void FormFace::SetInner(QWidget& inner) {
  mInner = &inner;
  inner.installEventFilter(this);
}

bool FormFace::eventFilter(QObject* watched, QEvent* event) {
  if (watched == mInner && event->type() == QEvent::Resize) TellSize();
  return QWidget::eventFilter(watched, event);
}

void FormFace::FollowGeometry() {
  const Rect& rect = mForm.Geometry();
  if (rect.width <= 0 || rect.height <= 0) return;
  const QSize size(rect.width / kTwipsPerPixel, rect.height / kTwipsPerPixel);
  if (this->size() != size) resize(size);
  // The window may have limits of its own.
  if (this->size() != size) TellSize();
  const QPoint place(rect.left / kTwipsPerPixel, rect.top / kTwipsPerPixel);
  if (pos() != place && (isVisible() || CanOpenAt(place))) move(place);
}

// A place of 0, 0 is the desktop's to choose, and so is one on a screen that is there no more.
bool FormFace::CanOpenAt(QPoint place) {
  constexpr QPoint kInTitle(40, 10);
  return !place.isNull() && QGuiApplication::screenAt(place + kInTitle);
}

void FormFace::FollowState() {
  switch (mForm.State()) {
    case WindowState::kNormal:
      showNormal();
      break;
    case WindowState::kMinimized:
      // Later: a window that minimises and then hides at once may come back minimised, because the window
      // manager takes the two in any order. One that has hidden meanwhile need not minimise.
      QMetaObject::invokeMethod(
          this,
          [this] {
            if (isVisible() && mForm.State() == WindowState::kMinimized) showMinimized();
          },
          Qt::QueuedConnection);
      break;
    case WindowState::kMaximized:
      showMaximized();
      break;
  }
}

void FormFace::ShowInState() {
  const bool minimized = mForm.State() == WindowState::kMinimized;
  if (!isVisible()) {
    FollowGeometry();
    if (!minimized) setWindowState(windowState() & ~Qt::WindowMinimized);
  }
  if (!isVisible() && minimized) {
    showMinimized();
  } else {
    show();
  }
}

void FormFace::SetTopMost(bool topMost) {
  // Changing the flag of a widget makes its window anew; the flag of the window alone does not.
  if (QWindow* window = windowHandle()) {
    window->setFlag(Qt::WindowStaysOnTopHint, topMost);
  } else {
    setWindowFlag(Qt::WindowStaysOnTopHint, topMost);
  }
}

void FormFace::RepaintNow() {
  // Before the event loop runs, nothing would carry out a repaint that is put off.
  const bool canWait = QThread::currentThread()->loopLevel() > 0;
  if (canWait && mSinceRepaint.isValid() && mSinceRepaint.elapsed() < FramePace::kFrameMs) {
    update();
    return;
  }
  mSinceRepaint.start();
  repaint();
}

void FormFace::closeEvent(QCloseEvent* event) {
  // The form hides its face when it unloads.
  event->ignore();
  mForm.Unload();
}

void FormFace::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!event->spontaneous()) MakeRoomForText();
  const CommandButton* button = mForm.DefaultButton();
  if (event->spontaneous() || !button) return;
  if (auto* widget = findChild<QPushButton*>(button->Name())) widget->setDefault(true);
  FocusFirstField();
}

/// A text of several lines needs more height in a larger font than its window was designed with.
void FormFace::MakeRoomForText() {
  if (!layout() || !layout()->hasHeightForWidth()) return;
  layout()->activate();
  const int needed = layout()->totalHeightForWidth(width());
  if (height() < needed) resize(width(), needed);
}

/// The tabs above a page are no field. Of a group of options it is the one that is set.
void FormFace::FocusFirstField() {
  for (QWidget* widget = nextInFocusChain(); widget != this; widget = widget->nextInFocusChain()) {
    const auto* option = qobject_cast<QAbstractButton*>(widget);
    QAbstractButton* chosen = option && option->group() ? option->group()->checkedButton() : nullptr;
    QWidget& field = chosen ? *chosen : *widget;
    if (!(field.focusPolicy() & Qt::TabFocus) || !field.isEnabled() || !field.isVisibleTo(this) ||
        field.focusProxy() || qobject_cast<QTabBar*>(&field)) {
      continue;
    }
    field.setFocus(Qt::NoFocusReason);
    return;
  }
}

// What the widget with the focus has left alone.
void FormFace::keyPressEvent(QKeyEvent* event) {
  const bool plain = !(event->modifiers() & ~Qt::KeypadModifier);
  if (!plain || !PressByKey(event->key())) QWidget::keyPressEvent(event);
}

bool FormFace::PressByKey(int key) {
  CommandButton* button = nullptr;
  if (key == Qt::Key_Escape) {
    button = mForm.CancelButton();
  } else if (key == Qt::Key_Return || key == Qt::Key_Enter) {
    // In a list the key means the row, and on a button that button.
    QWidget* focus = focusWidget();
    if (qobject_cast<QAbstractItemView*>(focus)) return false;
    if (qobject_cast<QPushButton*>(focus) || qobject_cast<QToolButton*>(focus)) {
      static_cast<QAbstractButton*>(focus)->click();
      return true;
    }
    button = mForm.DefaultButton();
  }
  if (button) button->Click();
  return button;
}

// A window that is minimised, or whose owner is, is hidden by the desktop; its form is shown all the same.
void FormFace::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  if (!mForm.Visible()) Q_EMIT Hidden();
}

void FormFace::moveEvent(QMoveEvent* event) {
  QWidget::moveEvent(event);
  TellSize();
}

void FormFace::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  TellSize();
}

void FormFace::TellSize() {
  mForm.FaceResized(
      {x() * kTwipsPerPixel, y() * kTwipsPerPixel, width() * kTwipsPerPixel, height() * kTwipsPerPixel},
      mInner->width() * kTwipsPerPixel, mInner->height() * kTwipsPerPixel);
}

void FormFace::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange) {
    // Of a window that is hidden the window manager forgets the state; the user has not changed it.
    if (!isVisible()) return;
    const bool minimized = windowState().testFlag(Qt::WindowMinimized);
    const bool maximized = windowState().testFlag(Qt::WindowMaximized);
    mForm.FaceStateChanged(minimized   ? WindowState::kMinimized
                           : maximized ? WindowState::kMaximized
                                       : WindowState::kNormal);
  } else if (event->type() == QEvent::ActivationChange && isActiveWindow()) {
    mForm.FaceActivated();
  }
}

}  // namespace veltrane
