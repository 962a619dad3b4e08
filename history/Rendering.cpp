// Bytes as text.
#include <array>

#include "engine/General.h"
#include "history/Digits.h"
#include "history/Formatter.h"
#include "history/Logging.h"

namespace veltrane {
namespace {

constexpr qint16 kDumpBytesPerRow = 32;

template <std::size_t digits>
QByteArray InDigits(QByteArrayView bytes, const std::array<std::array<char, digits>, 256>& table) {
  QByteArray text;
  text.reserve(bytes.size() * static_cast<qsizetype>(digits + 1));
  for (const char byte : bytes) {
    text.append(table[static_cast<unsigned char>(byte)].data(), static_cast<qsizetype>(digits));
    text.append(' ');
  }
  return text;
}

QByteArray Escaped(QByteArrayView bytes, bool keepLines) {
  QByteArray text;
  text.reserve(bytes.size());
  for (const char byte : bytes) {
    const bool stays = Logging::IsPrintable(byte) || (keepLines && (byte == '\r' || byte == '\n'));
    if (stays) {
      text.append(byte);
    } else {
      text.append('\\').append(Logging::GetHexDigit(static_cast<quint8>(byte)));
    }
  }
  return text;
}

template <std::size_t digits>
QByteArray Digits(quint8 value, const std::array<std::array<char, digits>, 256>& table) {
  return {table[value].data(), static_cast<qsizetype>(digits)};
}

}  // namespace

QByteArray Logging::GetChar(QByteArrayView strRaw) {
  return Escaped(strRaw, false);
}

QByteArray Logging::GetChar2(QByteArrayView strRaw) {
  return Escaped(strRaw, true);
}

QByteArray Logging::GetAscII(QByteArrayView strRaw) {
  return InDigits(strRaw, kDecimalDigits.bytes);
}

QByteArray Logging::GetHex(QByteArrayView strRaw) {
  return InDigits(strRaw, kHexDigits.bytes);
}

QByteArray Logging::GetBinary(QByteArrayView strRaw) {
  return InDigits(strRaw, kBinaryDigits.bytes);
}

QByteArray Logging::GetOctal(QByteArrayView strRaw) {
  return InDigits(strRaw, kOctalDigits.bytes);
}

bool Logging::IsPrintable(char strChar) {
  return IsPrintableByte(static_cast<unsigned char>(strChar));
}

QByteArray Logging::Bin(quint8 intValue) {
  return Digits(intValue, kBinaryDigits.bytes);
}

QByteArray Logging::GetHexDigit(quint8 intHex) {
  return Digits(intHex, kHexDigits.bytes);
}

QByteArray Logging::FormatDataToHex(QByteArrayView strData) {
  QByteArray dump;
  mGeneral.Guard(
      u"An error occurred while attempting to format the data to hex.  The operating system reports: ",
      [&] { dump = FormatRows(strData, 'h', kDumpBytesPerRow); });
  return dump;
}

// Upper-case digits, and whatever follows them in the alphabet.
int Logging::GetHexDigitValue(char strChar) {
  const auto code = static_cast<unsigned char>(strChar);
  return code >= '0' && code <= '9' ? code - '0' : 10 + code - 'A';
}

}  // namespace veltrane
