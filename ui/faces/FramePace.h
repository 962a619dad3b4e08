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
    mSinceDrawn.start();
  }

  /// ms from the wish to draw to the drawing. What comes after a rest, a user's click for instance, is drawn
  /// at the next frame.
  int Pause() const {
    if (!mSinceDrawn.isValid()) return kFrameMs;
    const qint64 rest = std::min<qint64>(mCostNs * kCostToPause / 1'000'000, mLongestMs);
    return static_cast<int>(std::max<qint64>(kFrameMs, rest - mSinceDrawn.elapsed()));
  }

 private:
  /// Each view that follows the traffic may take a fiftieth of the thread, so that all together take little.
  static constexpr int kCostToPause = 50;

  int mLongestMs;
  qint64 mCostNs = 0;
  QElapsedTimer mSinceDrawn;
};

}  // namespace veltrane
