#include "base/Numbers.h"

#include <cmath>
#include <limits>

#include "base/Failure.h"

namespace veltrane {
namespace {

bool IsDigit(QChar c) {
  return c >= u'0' && c <= u'9';
}

qsizetype SkipDigits(QStringView text, qsizetype at) {
  while (at < text.size() && IsDigit(text[at]))
    ++at;
  return at;
}

qsizetype SkipSign(QStringView text, qsizetype at) {
  return at < text.size() && (text[at] == u'+' || text[at] == u'-') ? at + 1 : at;
}

template <class Whole>
Whole ToWhole(double value) {
  // nearbyint rounds halves to even in the default rounding mode, which nothing in the program changes.
  const double rounded = std::nearbyint(value);
  if (!(rounded >= std::numeric_limits<Whole>::min() && rounded <= std::numeric_limits<Whole>::max())) {
    throw Failure(FailureNumber::kOverflow);
  }
  return static_cast<Whole>(rounded);
}

}  // namespace

bool IsNumeric(QStringView text) {
  text = text.trimmed();
  const qsizetype start = SkipSign(text, 0);
  qsizetype at = SkipDigits(text, start);
  qsizetype digits = at - start;
  if (at < text.size() && text[at] == u'.') {
    const qsizetype fraction = at + 1;
    at = SkipDigits(text, fraction);
    digits += at - fraction;
  }
  if (digits == 0) return false;
  if (at < text.size() && (text[at] == u'e' || text[at] == u'E')) {
    const qsizetype exponent = SkipSign(text, at + 1);
    at = SkipDigits(text, exponent);
    if (at == exponent) return false;
  }
  return at == text.size();
}

double ToDoubleOrInfinity(QStringView text) {
  if (!IsNumeric(text)) throw Failure(FailureNumber::kTypeMismatch);
  // toDouble gives infinity for what is too large, and zero for what is too small.
  return text.trimmed().toDouble();
}

double ToDouble(QStringView text) {
  const double value = ToDoubleOrInfinity(text);
  if (std::isinf(value)) throw Failure(FailureNumber::kOverflow);
  return value;
}

qint16 ToInt16(QStringView text) {
  return ToWhole<qint16>(ToDouble(text));
}

qint32 ToInt32(QStringView text) {
  return ToWhole<qint32>(ToDouble(text));
}

qint32 ToInt32(double value) {
  return ToWhole<qint32>(value);
}

bool ToBoolean(QStringView text) {
  const QStringView word = text.trimmed();
  if (word.compare(u"True", Qt::CaseInsensitive) == 0) return true;
  if (word.compare(u"False", Qt::CaseInsensitive) == 0) return false;
  return ToDouble(word) != 0;
}

QString BooleanText(bool value) {
  return value ? QStringLiteral("True") : QStringLiteral("False");
}

}  // namespace veltrane
