// Parts of a window that show no value: areas, splitters, an animation's player, and a menu that pops up.
#pragma once

#include "forms/Controls.h"

namespace veltrane {

/// A panel, a frame, a line or a shape: a place that can be hidden.
class Area : public Control {
  Q_OBJECT

 public:
  using Control::Control;
};

/// The colour of the desktop's buttons, whichever that is.
constexpr Colour kButtonFace = 0x8000000f;
constexpr Colour kWhite = 0xffffff;

/// An area with a colour of its own.
class Panel : public Area {
  Q_OBJECT

 public:
  using Area::Area;

  Colour BackColor() const { return mBackColor; }
  void SetBackColor(Colour colour) { Assign(mBackColor, colour); }

 private:
  Colour mBackColor = kButtonFace;
};

class ProgressBar : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  double Max() const { return mMax; }
  void SetMax(double max) { Assign(mMax, max); }
  double Value() const { return mValue; }
  void SetValue(double value) { Assign(mValue, value); }

 private:
  double mMax = 100;
  double mValue = 0;
};

/// A scroll bar from 0 to Max.
class ScrollBar : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  int Max() const { return mMax; }
  /// Below 1 there is nothing to scroll. A value beyond it comes down.
  void SetMax(int max);
  int Value() const { return mValue; }
  /// Fires OnChange when it is another one than before. Kept between 0 and Max.
  void SetValue(int value);
  /// By an arrow and by a page, at least 1 each.
  int SmallChange() const { return mSmallChange; }
  int LargeChange() const { return mLargeChange; }
  void SetSteps(int smallChange, int largeChange);

  std::function<void()> OnChange;

 private:
  int mMax = 0;
  int mValue = 0;
  int mSmallChange = 1;
  int mLargeChange = 1;
};

/// What is dragged with the mouse to give the panes beside it other sizes.
class Splitter : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  // What the user does, told by the face. Offsets are counted from where the drag began, in twips.
  void MouseDown();
  void MouseMove(int x, int y);
  void MouseUp();

  std::function<void()> OnMouseDown;
  std::function<void(int x, int y)> OnMouseMove;
  std::function<void()> OnMouseUp;
};

/// Plays the pictures of a file again and again.
class Animation : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  void Open(const QString& file) { Assign(mFile, file); }
  const QString& File() const { return mFile; }
  void Play() { Assign(mPlaying, true); }
  /// Stopping what stands has no effect.
  void Stop() { Assign(mPlaying, false); }
  bool IsPlaying() const { return mPlaying; }

 private:
  QString mFile;
  bool mPlaying = false;
};

/// A menu that is shown at a place of the window when the logic says so.
class PopUpMenu : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  /// x and y in twips from the corner of the window's inner area. Returns at once.
  void PopUp(int x, int y) { Q_EMIT Asked(x, y); }

 Q_SIGNALS:
  void Asked(int x, int y);
};

}  // namespace veltrane
