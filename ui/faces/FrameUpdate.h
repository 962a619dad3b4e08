// Folds any number of changes of a control into one update of its widget a frame.
#pragma once

#include <QTimer>

#include <functional>

#include "forms/Control.h"
#include "ui/faces/FramePace.h"

namespace veltrane {

class FrameUpdate : public QObject {
 public:
  /// Runs update once now, and then at most once a frame as long as control changes. What it changes in
  /// widget is drawn with it. Owned by parent.
  FrameUpdate(const Control& control, QWidget& widget, QObject* parent, std::function<void()> update)
      : QObject(parent), mWidget(widget), mUpdate(std::move(update)) {
    mTimer.setSingleShot(true);
    connect(&mTimer, &QTimer::timeout, this, [this] { mPace.Draw(mWidget, mUpdate); });
    connect(&control, &Control::Changed, this, [this] { Ask(); });
    mUpdate();
  }

  /// Runs update within a frame, or a few where drawing takes long.
  void Ask() {
    if (!mTimer.isActive()) mTimer.start(mPace.Pause());
  }

 private:
  static constexpr int kLongestPauseMs = 100;

  QWidget& mWidget;
  std::function<void()> mUpdate;
  FramePace mPace{kLongestPauseMs};
  QTimer mTimer;
};

}  // namespace veltrane
