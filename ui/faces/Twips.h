// From the forms' twips to pixels.
#pragma once

#include <QRect>

#include <algorithm>
#include <cmath>

#include "forms/Rect.h"

namespace veltrane {

inline int Pixels(int twips) {
  return static_cast<int>(std::lround(static_cast<double>(twips) / kTwipsPerPixel));
}

/// Edges are rounded, not sizes: what touches in twips touches in pixels.
inline QRect PixelRect(const Rect& rect) {
  const QPoint corner(Pixels(rect.left), Pixels(rect.top));
  return {corner, QSize(std::max(0, Pixels(rect.Right()) - corner.x()),
                        std::max(0, Pixels(rect.Bottom()) - corner.y()))};
}

}  // namespace veltrane
