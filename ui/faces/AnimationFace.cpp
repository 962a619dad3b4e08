#include "ui/faces/AnimationFace.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

#include "forms/WindowParts.h"

namespace veltrane {
namespace {

constexpr double kStillOpacity = 0.4;

}  // namespace

AnimationFace::AnimationFace(Animation& animation, QWidget& parent)
    : QWidget(&parent), mAnimation(animation) {
  setObjectName(animation.Name());
  connect(&mTimer, &QTimer::timeout, this, [this] {
    mFrame = (mFrame + 1) % std::max(1, mFiles.FrameCount(mAnimation.File()));
    update();
  });
  connect(&animation, &Control::Changed, this, &AnimationFace::Follow);
  Follow();
}

void AnimationFace::Follow() {
  const double pace = mAnimation.File().isEmpty() ? 0 : mFiles.FrameMs(mAnimation.File());
  if (!mAnimation.IsPlaying() || !isVisible() || pace <= 0) {
    mTimer.stop();
  } else if (!mTimer.isActive()) {
    mTimer.start(static_cast<int>(std::lround(pace)));
  }
  update();
}

void AnimationFace::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Follow();
}

void AnimationFace::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  Follow();
}

void AnimationFace::paintEvent(QPaintEvent*) {
  if (mAnimation.File().isEmpty()) return;
  const double ratio = devicePixelRatioF();
  QImage frame = mFiles.Frame(mAnimation.File(), mFrame, (QSizeF(size()) * ratio).toSize());
  if (frame.isNull()) return;
  frame.setDevicePixelRatio(ratio);
  const QSizeF free = QSizeF(size()) - frame.deviceIndependentSize();
  QPainter painter(this);
  if (!mAnimation.IsPlaying()) painter.setOpacity(kStillOpacity);
  painter.drawImage(QPointF(free.width() / 2, free.height() / 2), frame);
}

}  // namespace veltrane
