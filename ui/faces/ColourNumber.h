// Colour numbers of the forms, red in the low byte, as Qt's colours and back.
#pragma once

#include <QColor>

#include "forms/Controls.h"

namespace veltrane {

inline QColor ToQColor(Colour colour) {
  return {static_cast<int>(colour & 0xff), static_cast<int>((colour >> 8) & 0xff),
          static_cast<int>((colour >> 16) & 0xff)};
}

inline Colour ToColour(const QColor& colour) {
  return static_cast<Colour>(colour.red() | colour.green() << 8 | colour.blue() << 16);
}

}  // namespace veltrane
