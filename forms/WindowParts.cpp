#include "forms/WindowParts.h"

#include <algorithm>

namespace veltrane {

void ScrollBar::SetMax(int max) {
  Assign(mMax, std::max(0, max));
  SetValue(mValue);
}

void ScrollBar::SetValue(int value) {
  if (Assign(mValue, std::clamp(value, 0, mMax)) && OnChange) OnChange();
}

void ScrollBar::SetSteps(int smallChange, int largeChange) {
  Assign(mSmallChange, std::max(1, smallChange));
  Assign(mLargeChange, std::max(1, largeChange));
}

void Splitter::MouseDown() {
  if (OnMouseDown) OnMouseDown();
}

void Splitter::MouseMove(int x, int y) {
  if (OnMouseMove) OnMouseMove(x, y);
}

void Splitter::MouseUp() {
  if (OnMouseUp) OnMouseUp();
}

}  // namespace veltrane
