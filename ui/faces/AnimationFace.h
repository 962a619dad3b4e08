// Plays an animation again and again while it is to be seen. What stands still is pale; what has no pictures
// shows nothing, and nobody is told: an animation of a window's corner is no reason to disturb.
#pragma once

#include <QTimer>
#include <QWidget>

#include "ui/faces/AnimationFiles.h"

namespace veltrane {

class Animation;

class AnimationFace : public QWidget {
  Q_OBJECT

 public:
  AnimationFace(Animation& animation, QWidget& parent);

  bool IsMoving() const { return mTimer.isActive(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void Follow();

  Animation& mAnimation;
  AnimationFiles mFiles{[](const Failure&) {}};
  QTimer mTimer;
  int mFrame = 0;
};

}  // namespace veltrane
