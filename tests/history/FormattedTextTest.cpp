#include <gtest/gtest.h>

#include "history/BytesPerRow.h"
#include "history/FormattedText.h"
#include "history/Formatter.h"

namespace veltrane {
namespace {

QByteArray AllBytes(qsizetype count) {
  QByteArray bytes(count, '\0');
  for (qsizetype i = 0; i < count; ++i)
    bytes[i] = static_cast<char>(i * 7);
  return bytes;
}

TEST(FormattedTextTest, Its_length_and_text_are_those_of_the_formatter_in_every_format) {
  for (const char format : {'h', 'o', 'd', 'b'}) {
    for (const qint16 perRow : std::initializer_list<qint16>{4, 8, 16, 128}) {
      for (const qsizetype size : {0, 1, 3, 4, 5, 15, 16, 17, 127, 128, 129, 1000}) {
        const QByteArray data = AllBytes(size);
        const QString rows = QString::fromLatin1(FormatRows(data, static_cast<quint8>(format), perRow));
        const TextSourceRef text = FormattedText(Payload(data), static_cast<quint8>(format), perRow);
        ASSERT_EQ(text->Length(), rows.size()) << format << ' ' << perRow << ' ' << size;
        EXPECT_EQ(text->Piece(0, text->Length()), rows);
      }
    }
  }
}

TEST(FormattedTextTest, Any_piece_of_it_is_that_piece_of_the_whole) {
  const Payload whole(AllBytes(100));
  const TextSourceRef text = FormattedText(whole.Piece(10, 75), 'o', 8);
  const QString rows = QString::fromLatin1(FormatRows(whole.Piece(10, 75).View(), 'o', 8));
  for (qsizetype from = 0; from <= rows.size(); ++from) {
    for (const qsizetype length : {0, 1, 2, 39, 40, 41, 95, 300}) {
      if (from + length > rows.size()) continue;
      ASSERT_EQ(text->Piece(from, length), rows.mid(from, length)) << from << ' ' << length;
    }
  }
}

TEST(FormattedTextTest, Its_rows_are_all_of_one_length_and_of_a_large_text_only_a_piece_is_made) {
  const TextSourceRef text = FormattedText(Payload(QByteArray(100'000'000, 'x')), 'b', 4);
  EXPECT_EQ(text->RowLength(), 4 + 3 + 4 * 8 + 1 + 2);
  EXPECT_EQ(text->Length(), 25'000'000 * text->RowLength());
  EXPECT_EQ(text->Piece(text->Length() - text->RowLength(), text->RowLength()),
            QStringLiteral("xxxx : 01111000011110000111100001111000 \r\n"));
}

TEST(BytesPerRowTest, What_is_typed_becomes_a_multiple_of_4_from_4_to_128) {
  const struct {
    const char* typed;
    const char* corrected;
  } rows[] = {{"abc", "8"},   {"", "8"},        {"2", "4"},     {"-5", "4"},      {"4", "4"},
              {"7", "4"},     {"10", "8"},      {"16", "16"},   {"127.9", "124"}, {"128", "128"},
              {"500", "128"}, {"1e999", "128"}, {"-1e999", "4"}};
  for (const auto& row : rows)
    EXPECT_EQ(CorrectedBytesPerRow(QLatin1String(row.typed)), QLatin1String(row.corrected)) << row.typed;
}

}  // namespace
}  // namespace veltrane
