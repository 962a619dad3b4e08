// Numbers that users type or that the settings store holds as text: the one place where text becomes a
// number. Decimal notation of the "C" locale only; blanks, tabs and line ends around the number are ignored.
#pragma once

#include <QString>

namespace veltrane {

/// True when text is a number: an optional sign, digits with an optional point, an optional exponent.
/// An empty text, "NaN" and "inf" are not numeric.
bool IsNumeric(QStringView text);

/// The value of text. Fails with a type mismatch when it is not numeric, with an overflow beyond 1.8e308.
double ToDouble(QStringView text);
/// The same, for who only compares: infinity, with the text's sign, beyond 1.8e308.
double ToDoubleOrInfinity(QStringView text);

/// Conversions to whole numbers round halves to the even number: 2.5 gives 2, 3.5 gives 4. They fail with
/// a type mismatch when the text is not numeric and with an overflow when the result does not fit.
qint16 ToInt16(QStringView text);
qint32 ToInt32(QStringView text);
qint32 ToInt32(double value);

/// "True" or "False", any case, or a number (0 is false). Anything else is a type mismatch.
bool ToBoolean(QStringView text);

/// The stored form of a flag: "True" or "False".
QString BooleanText(bool value);

}  // namespace veltrane
