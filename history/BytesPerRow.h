// How many bytes a row of numbers shows, as the user types it.
#pragma once

#include <QString>

namespace veltrane {

constexpr int kFewestPerRow = 4;
constexpr int kMostPerRow = 128;
constexpr int kPerRowStep = 4;

/// What the text becomes as soon as it changes: a multiple of 4 from 4 to 128, rounded down; 8 for what is no
/// number.
QString CorrectedBytesPerRow(const QString& text);

}  // namespace veltrane
