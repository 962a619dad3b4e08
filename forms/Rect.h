// Places and sizes in twips, 15 to the pixel.
#pragma once

namespace veltrane {

constexpr int kTwipsPerPixel = 15;

struct Rect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;

  int Right() const { return left + width; }
  int Bottom() const { return top + height; }
  friend bool operator==(const Rect&, const Rect&) = default;
};

}  // namespace veltrane
