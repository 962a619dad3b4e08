// The rules by which the schedule says yes or no and draws its numbers. The texts are what the user typed.
#pragma once

#include <QStringView>

namespace veltrane {

class RandomGenerator;

/// Whether count is a multiple of N. N is a 16-bit number, halves rounded to even; below 1 it counts as 1. A
/// text that is not numeric never hits; one above 32767 fails with an overflow.
bool IsNthHit(qint16 count, QStringView nth);

/// Hits with the given percentage. Draws once, and not at all when the text is not numeric, which never hits.
bool IsPercentHit(QStringView percent, RandomGenerator& random);

/// Draws once, a whole number between the two; to may be below from. Fails with a type mismatch when a text
/// is not numeric, and with an overflow when the result does not fit.
qint32 DrawFromRange(QStringView from, QStringView to, RandomGenerator& random);

}  // namespace veltrane
