#include "base/Numbers.h"

#include <algorithm>
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

/// Longer texts are shortened before they are converted, which else takes seconds for what somebody pasted.
constexpr qsizetype kUsualLength = 1000;

/// The exponent as it is written; one beyond all doubles stands for those that are further out.
qint64 Exponent(QStringView text) {
  constexpr qint64 kBeyond = 100'000'000;
  bool held = true;
  const qint64 exponent = text.isEmpty() ? 0 : text.toLongLong(&held);
  if (held) return std::clamp(exponent, -kBeyond, kBeyond);
  return text.startsWith(u'-') ? -kBeyond : kBeyond;
}

/// The same number, but for digits that no double can tell, of a numeric text.
QString Shortened(QStringView text) {
  constexpr qsizetype kDigits = 800;
  const bool isNegative = text.startsWith(u'-');
  text = text.sliced(SkipSign(text, 0));
  const qsizetype point = SkipDigits(text, 0);
  const bool hasPoint = point < text.size() && text[point] == u'.';
  const qsizetype end = hasPoint ? SkipDigits(text, point + 1) : point;
  QString digits = text.first(point).toString();
  if (hasPoint) digits += text.sliced(point + 1, end - point - 1);
  qsizetype zeros = 0;
  while (zeros < digits.size() && digits[zeros] == u'0')
    ++zeros;
  // 0.0 and the digits, so that there is a digit where all are zeros.
  const QStringView exponent = end < text.size() ? text.sliced(end + 1) : QStringView();
  return (isNegative ? QStringLiteral("-0.0") : QStringLiteral("0.0")) + digits.mid(zeros, kDigits) + u'e' +
         QString::number(Exponent(exponent) + point - zeros + 1);
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
  text = text.trimmed();
  return text.size() > kUsualLength ? Shortened(text).toDouble() : text.toDouble();
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
