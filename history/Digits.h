// The digits of every byte, worked out when the program is built.
#pragma once

#include <QtGlobal>

#include <array>

namespace veltrane {

/// The 256 bytes in digits of a base, each in as many digits as the highest needs.
template <int base, int digits>
struct DigitTable {
  std::array<std::array<char, digits>, 256> bytes{};

  constexpr DigitTable() {
    for (int value = 0; value < 256; ++value) {
      int rest = value;
      for (int digit = digits - 1; digit >= 0; --digit, rest /= base) {
        bytes[static_cast<std::size_t>(value)][static_cast<std::size_t>(digit)] =
            "0123456789ABCDEF"[rest % base];
      }
    }
  }
};

inline constexpr DigitTable<16, 2> kHexDigits;
inline constexpr DigitTable<8, 3> kOctalDigits;
inline constexpr DigitTable<10, 3> kDecimalDigits;
inline constexpr DigitTable<2, 8> kBinaryDigits;

}  // namespace veltrane
