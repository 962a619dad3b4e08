#include "history/Formatter.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "history/Digits.h"

namespace veltrane {
namespace {

constexpr qint32 kGroup = 4;  // bytes between blanks
constexpr char kBetween[] = " : ";
constexpr qint32 kBetweenLength = 3;
constexpr qint32 kLineEndLength = 2;

constexpr std::array<char, 256> kCharacters = [] {
  std::array<char, 256> table{};
  for (int code = 0; code < 256; ++code) {
    const bool printable = IsPrintableByte(static_cast<unsigned char>(code));
    table[static_cast<std::size_t>(code)] = printable ? static_cast<char>(code) : '.';
  }
  return table;
}();

template <std::size_t digits>
char* PutDigits(char* at, const std::array<char, digits>& text) {
  std::memcpy(at, text.data(), digits);
  return at + digits;
}

/// The digits of one row. count bytes are there, perRow would fit.
template <const auto& table>
char* PutNumbers(char* at, const unsigned char* bytes, qint32 count, qint32 perRow) {
  constexpr std::size_t kDigits = std::tuple_size_v<typename std::decay_t<decltype(table.bytes)>::value_type>;
  qint32 done = 0;
  for (; done + kGroup <= count; done += kGroup) {
    for (qint32 i = 0; i < kGroup; ++i)
      at = PutDigits(at, table.bytes[bytes[done + i]]);
    *at++ = ' ';
  }
  for (; done < perRow; ++done) {
    if (done < count) {
      at = PutDigits(at, table.bytes[bytes[done]]);
    } else {
      at = std::fill_n(at, kDigits, '.');
    }
    if (done % kGroup == kGroup - 1) *at++ = ' ';
  }
  return at;
}

struct Format {
  quint8 code;
  qint32 digits;
  char* (*putNumbers)(char* at, const unsigned char* bytes, qint32 count, qint32 perRow);
};

constexpr std::array kFormats{
    Format{'h', 2, PutNumbers<kHexDigits>},
    Format{'o', 3, PutNumbers<kOctalDigits>},
    Format{'d', 3, PutNumbers<kDecimalDigits>},
    Format{'b', 8, PutNumbers<kBinaryDigits>},
};

const Format& FormatOf(quint8 code) {
  const auto* found =
      std::find_if(kFormats.begin(), kFormats.end(), [code](const Format& row) { return row.code == code; });
  return found == kFormats.end() ? kFormats.front() : *found;
}

}  // namespace

qsizetype FormatTextRequiredLength(qsizetype lngDataLength, quint8 bytFormat, qint16 intBytesPerRow) {
  const qsizetype perRow = intBytesPerRow;
  const qsizetype rows = (lngDataLength + perRow - 1) / perRow;
  const qsizetype numbers = perRow * FormatOf(bytFormat).digits + perRow / kGroup;
  return rows * (perRow + kBetweenLength + numbers + kLineEndLength);
}

qsizetype FormatText(const char* data, char* output, quint8 bytFormat, qint16 intBytesPerRow,
                     qsizetype lngDataLength) {
  const Format& format = FormatOf(bytFormat);
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  char* at = output;
  for (qsizetype start = 0; start < lngDataLength; start += intBytesPerRow) {
    const auto count = static_cast<qint32>(std::min<qsizetype>(intBytesPerRow, lngDataLength - start));
    at = std::transform(bytes + start, bytes + start + count, at,
                        [](unsigned char code) { return kCharacters[code]; });
    at = std::fill_n(at, intBytesPerRow - count, ' ');
    at = std::copy_n(kBetween, kBetweenLength, at);
    at = format.putNumbers(at, bytes + start, count, intBytesPerRow);
    *at++ = '\r';
    *at++ = '\n';
  }
  return at - output;
}

QByteArray FormatRows(QByteArrayView data, quint8 bytFormat, qint16 intBytesPerRow) {
  QByteArray rows(FormatTextRequiredLength(data.size(), bytFormat, intBytesPerRow), Qt::Uninitialized);
  rows.truncate(FormatText(data.data(), rows.data(), bytFormat, intBytesPerRow, data.size()));
  return rows;
}

}  // namespace veltrane
