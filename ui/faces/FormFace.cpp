#include "ui/faces/FormFace.h"

#include <QCloseEvent>
#include <QDateTime>
#include <QEvent>
#include <QWindow>

#include "ui/faces/FrameUpdate.h"

namespace veltrane {

FormFace::FormFace(Form& form) : mForm(form) {
  setObjectName(form.Name());
  setAttribute(Qt::WA_QuitOnClose, false);
  connect(&form, &Form::CaptionChanged, this, [this] { setWindowTitle(mForm.Caption()); });
  connect(&form, &Form::GeometryChanged, this, &FormFace::FollowGeometry);
  connect(&form, &Form::StateChanged, this, &FormFace::FollowState);
  setWindowTitle(form.Caption());
}

void FormFace::FollowGeometry() {
  const Rect& rect = mForm.Geometry();
  if (rect.width <= 0 || rect.height <= 0) return;
  const QSize size(rect.width / kTwipsPerPixel, rect.height / kTwipsPerPixel);
  if (this->size() != size) resize(size);
  const QPoint place(rect.left / kTwipsPerPixel, rect.top / kTwipsPerPixel);
  if (isVisible() && pos() != place) move(place);
}

void FormFace::FollowState() {
  switch (mForm.State()) {
    case WindowState::kNormal:
      showNormal();
      break;
    case WindowState::kMinimized:
      showMinimized();
      break;
    case WindowState::kMaximized:
      showMaximized();
      break;
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
  const qint64 now = QDateTime::currentMSecsSinceEpoch();
  if (now - mLastRepaint < FrameUpdate::kFrameMs) {
    update();
    return;
  }
  mLastRepaint = now;
  repaint();
}

void FormFace::closeEvent(QCloseEvent* event) {
  // The form hides its face when it unloads.
  event->ignore();
  mForm.Unload();
}

void FormFace::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  Q_EMIT Hidden();
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
      width() * kTwipsPerPixel, height() * kTwipsPerPixel);
}

void FormFace::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange) {
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
