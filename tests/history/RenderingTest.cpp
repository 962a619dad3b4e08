#include "history/Formatter.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

using RenderingTest = LoggingTest;

TEST_F(RenderingTest, What_is_not_printable_is_escaped_with_two_digits) {
  EXPECT_EQ(Logging::GetChar(QByteArray("a\nb\\\x01\x7f\xff ~", 9)), "a\\0Ab\\5C\\01\\7F\\FF ~");
  EXPECT_EQ(Logging::GetChar(QByteArray("\0", 1)), "\\00");
  EXPECT_EQ(Logging::GetChar({}), "");
}

TEST_F(RenderingTest, Lines_may_stay_lines) {
  EXPECT_EQ(Logging::GetChar2("a\r\nb\t\\"), "a\r\nb\\09\\5C");
}

TEST_F(RenderingTest, Bytes_in_digits_end_in_a_blank_each) {
  EXPECT_EQ(Logging::GetAscII("A\x01"), "065 001 ");
  EXPECT_EQ(Logging::GetHex("A\x0f"), "41 0F ");
  EXPECT_EQ(Logging::GetBinary("A"), "01000001 ");
  EXPECT_EQ(Logging::GetOctal("A\x08\xff"), "101 010 377 ");
}

TEST_F(RenderingTest, Printable_is_from_32_to_126_but_for_the_backslash) {
  for (int code = 0; code < 256; ++code) {
    EXPECT_EQ(Logging::IsPrintable(static_cast<char>(code)), code >= 32 && code <= 126 && code != '\\')
        << code;
  }
}

TEST_F(RenderingTest, Single_bytes) {
  EXPECT_EQ(Logging::Bin(0), "00000000");
  EXPECT_EQ(Logging::Bin(0x81), "10000001");
  EXPECT_EQ(Logging::GetHexDigit(15), "0F");
  EXPECT_EQ(Logging::GetHexDigit(0xa0), "A0");
  EXPECT_EQ(HexDigitValue('9'), 9);
  EXPECT_EQ(HexDigitValue('A'), 10);
  EXPECT_EQ(HexDigitValue('F'), 15);
  EXPECT_EQ(HexDigitValue('a'), 42) << "ten, and the distance from A";
}

TEST_F(RenderingTest, A_dump_of_33_bytes_has_2_rows) {
  QByteArray data(33, 'A');
  data[1] = '\n';
  const QByteArray first = "A." + QByteArray(30, 'A') + " : 410A4141 " + QByteArray("41414141 ").repeated(7);
  const QByteArray second = "A" + QByteArray(31, ' ') + " : 41...... " + QByteArray("........ ").repeated(7);
  EXPECT_EQ(Dump(data), first + "\r\n" + second + "\r\n");
  EXPECT_EQ(Dump({}), "");
  EXPECT_EQ(Dump(QByteArray(32, 'x')).count("\r\n"), 1);
}

TEST_F(RenderingTest, A_dump_that_cannot_be_made_is_reported) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer ends the program where memory is refused";
#endif
  const char byte = 'x';
  // Nothing of it is read: the room for its dump is asked for first.
  EXPECT_EQ(Dump(QByteArrayView(&byte, qsizetype{1} << 55)), "");
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].startsWith(QStringLiteral(
      "An error occurred while attempting to format the data to hex.  The operating system reports: ")));
}

TEST(FormatterTest, Each_format_has_its_digits) {
  const QByteArray data("Az\\", 3);
  EXPECT_EQ(FormatRows(data, 'h', 4), "Az.  : 417A5C.. \r\n");
  EXPECT_EQ(FormatRows(data, 'o', 4), "Az.  : 101172134... \r\n");
  EXPECT_EQ(FormatRows(data, 'd', 4), "Az.  : 065122092... \r\n");
  EXPECT_EQ(FormatRows(data, 'b', 4), "Az.  : 010000010111101001011100........ \r\n");
}

/// The rule again, byte by byte.
QByteArray Slowly(const QByteArray& data, char format, int perRow) {
  const int base = format == 'h' ? 16 : format == 'o' ? 8 : format == 'd' ? 10 : 2;
  const int digits = format == 'h' ? 2 : format == 'b' ? 8 : 3;
  QByteArray text;
  for (qsizetype start = 0; start < data.size(); start += perRow) {
    QByteArray numbers;
    for (int i = 0; i < perRow; ++i) {
      const bool there = start + i < data.size();
      const auto code = there ? static_cast<unsigned char>(data[start + i]) : 0U;
      text += !there ? ' ' : Logging::IsPrintable(static_cast<char>(code)) ? static_cast<char>(code) : '.';
      numbers += there ? QByteArray::number(code, base).toUpper().rightJustified(digits, '0')
                       : QByteArray(digits, '.');
      if (i % 4 == 3) numbers += ' ';
    }
    text += " : " + numbers + "\r\n";
  }
  return text;
}

TEST(FormatterTest, All_lengths_formats_and_widths_follow_the_rule) {
  QByteArray data;
  for (int i = 0; i < 300; ++i)
    data.append(static_cast<char>(i * 7));
  for (const char format : {'h', 'o', 'd', 'b'}) {
    for (const qint16 perRow : {qint16(4), qint16(16), qint16(20), qint16(128)}) {
      for (qsizetype length = 0; length <= data.size(); length += 1 + length / 40) {
        const QByteArray bytes = data.left(length);
        const QByteArray rows = FormatRows(bytes, static_cast<quint8>(format), perRow);
        ASSERT_EQ(rows, Slowly(bytes, format, perRow)) << format << perRow << ' ' << length;
        ASSERT_LE(rows.size(), FormatTextRequiredLength(length, static_cast<quint8>(format), perRow));
      }
    }
  }
}

TEST(FormatterTest, No_data_gives_no_text) {
  char output[1];
  EXPECT_EQ(FormatText("", output, 'h', 16, 0), 0);
  EXPECT_EQ(FormatTextRequiredLength(0, 'h', 16), 0);
}

TEST(FormatterTest, The_required_length_goes_past_what_32_bits_hold) {
  EXPECT_GT(FormatTextRequiredLength(500'000'000, 'b', 16), 0x7fffffffLL);
}

}  // namespace
}  // namespace veltrane
