#include "failure/Drawing.h"

#include <algorithm>

#include "base/Numbers.h"
#include "base/RandomGenerator.h"

namespace veltrane {

bool IsNthHit(qint16 count, QStringView nth) {
  if (!IsNumeric(nth)) return false;
  // A count that has wrapped is negative; the remainder of a multiple is 0 for it too.
  return count % std::max<qint16>(ToInt16(nth), 1) == 0;
}

bool IsPercentHit(QStringView percent, RandomGenerator& random) {
  if (!IsNumeric(percent)) return false;
  const float drawn = random.Rnd();
  // Above 100 is above 100, however far.
  return ToDoubleOrInfinity(percent) / 100 >= static_cast<double>(drawn);
}

qint32 DrawFromRange(QStringView from, QStringView to, RandomGenerator& random) {
  const double drawn = static_cast<double>(random.Rnd());
  const double start = ToDouble(from);
  return ToInt32(start + drawn * (ToDouble(to) - start));
}

}  // namespace veltrane
