#include "history/BytesPerRow.h"

#include <algorithm>
#include <cmath>

#include "base/Failure.h"
#include "base/Numbers.h"

namespace veltrane {
namespace {

constexpr double kPerRowOfNoNumber = 8;

double NumberOf(const QString& text) {
  double number = kPerRowOfNoNumber;
  if (!IsNumeric(text)) return number;
  // One that is too large to be held is too large for a row as well.
  const bool held = PastFailures([&] { number = ToDouble(text); });
  return held ? number : text.trimmed().startsWith(u'-') ? kFewestPerRow : kMostPerRow;
}

}  // namespace

QString CorrectedBytesPerRow(const QString& text) {
  const double number = std::clamp<double>(NumberOf(text), kFewestPerRow, kMostPerRow);
  const int whole = static_cast<int>(std::floor(number));
  return QString::number(whole - whole % kPerRowStep);
}

}  // namespace veltrane
