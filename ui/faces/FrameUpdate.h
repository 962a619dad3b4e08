// Folds any number of changes of a control into one update of its widget a frame.
#pragma once

#include <QTimer>

#include <functional>

#include "forms/Control.h"

namespace veltrane {

class FrameUpdate : public QObject {
 public:
  /// Runs update once now, and then at most once a frame as long as control changes. Owned by parent.
  FrameUpdate(const Control& control, QObject* parent, std::function<void()> update)
      : QObject(parent), mUpdate(std::move(update)) {
    mTimer.setSingleShot(true);
    mTimer.setInterval(kFrameMs);
    connect(&mTimer, &QTimer::timeout, this, [this] { mUpdate(); });
    connect(&control, &Control::Changed, this, [this] { Ask(); });
    mUpdate();
  }

  /// Runs update within a frame.
  void Ask() {
    if (!mTimer.isActive()) mTimer.start();
  }

  static constexpr int kFrameMs = 16;

 private:
  std::function<void()> mUpdate;
  QTimer mTimer;
};

}  // namespace veltrane
