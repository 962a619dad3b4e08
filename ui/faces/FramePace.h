// How often something is drawn anew while it keeps changing: at most once a frame, and so seldom that drawing
// leaves most of the one thread to the traffic.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QWidget>

#include <algorithm>

namespace veltrane {

class FramePace {
 public:
  static constexpr int kFrameMs = 16;

  /// longestMs: what changes is on the screen after that at the latest, however long drawing takes.
  explicit FramePace(int longestMs) : mLongestMs(longestMs) {}

  /// Runs update, and draws what it has made necessary in widget's window at once, so that both are measured.
  template <class Update>
  void Draw(QWidget& widget, Update&& update) {
    QElapsedTimer clock;
    clock.start();
    update();
    QCoreApplication::sendPostedEvents(widget.window(), QEvent::UpdateRequest);
    mCostNs = clock.nsecsElapsed();
  }

  /// ms from the wish to draw to the drawing.
  int Pause() const {
    return std::clamp(static_cast<int>(mCostNs * kCostToPause / 1'000'000), kFrameMs, mLongestMs);
  }

 private:
  static constexpr int kCostToPause = 20;

  int mLongestMs;
  qint64 mCostNs = 0;
};

}  // namespace veltrane
