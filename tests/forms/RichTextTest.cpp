// The rich text and its lines.
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include "forms/Form.h"
#include "forms/RichTextBox.h"
#include "forms/TextLines.h"
#include "tests/support/FakeDesktop.h"
#include "tests/support/RichText.h"

namespace veltrane {
namespace {

/// Rows of two characters and CR LF, which counts how much of it was made.
class CountedRows : public TextSource {
 public:
  explicit CountedRows(qsizetype rows) : mRows(rows) {}
  qsizetype Length() const override { return mRows * 4; }
  qsizetype RowLength() const override { return 4; }
  QString Piece(qsizetype offset, qsizetype length) const override {
    mMade += length;
    mLongest = std::max(mLongest, length);
    QString text;
    for (qsizetype i = offset; i < offset + length; ++i)
      text += QStringLiteral("ab\r\n")[i % 4];
    return text;
  }
  mutable qsizetype mMade = 0;
  mutable qsizetype mLongest = 0;

 private:
  qsizetype mRows;
};

struct RichTextTest : testing::Test {
  void Append(const QString& text, Colour colour) {
    box.SetSelStart(box.TextLength());
    box.SetSelColor(colour);
    box.SetSelText(text);
  }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  RichTextBox box{form, QStringLiteral("txt")};
};

TEST_F(RichTextTest, What_is_appended_has_its_own_colour) {
  Append(u"red"_qs, 255);
  Append(u"black"_qs, 0);
  Append(u" too"_qs, 0);
  EXPECT_EQ(box.Text(), u"redblack too");
  EXPECT_EQ(ColouredText(box), (QList<Coloured>{{u"red"_qs, 255}, {u"black too"_qs, 0}}));
  EXPECT_EQ(box.SelStart(), 12);
  EXPECT_EQ(box.TextLength(), 12);
}

TEST_F(RichTextTest, The_caret_takes_the_colour_of_what_stands_before_it) {
  Append(u"red"_qs, 255);
  Append(u"blue"_qs, 0xff0000);
  box.SetSelStart(2);
  EXPECT_EQ(box.SelColor(), 255U);
  box.SetSelStart(3);
  EXPECT_EQ(box.SelColor(), 255U);
  box.SetSelStart(99);
  EXPECT_EQ(box.SelStart(), 7);
  EXPECT_EQ(box.SelColor(), 0xff0000U);
  box.SetText(QString());
  EXPECT_EQ(box.SelColor(), 0U);
}

TEST_F(RichTextTest, Text_goes_into_the_middle_of_a_run) {
  Append(u"hello"_qs, 5);
  Append(u"!"_qs, 6);
  box.SetSelStart(2);
  box.SetSelColor(7);
  box.SetSelText(u"XX"_qs);
  EXPECT_EQ(ColouredText(box), (QList<Coloured>{{u"he"_qs, 5}, {u"XX"_qs, 7}, {u"llo"_qs, 5}, {u"!"_qs, 6}}));
  EXPECT_EQ(box.SelStart(), 4);
  box.SetSelStart(0);
  box.SetSelText(u">"_qs);
  EXPECT_EQ(box.Text(), u">heXXllo!");
}

TEST_F(RichTextTest, Assigning_text_drops_all_colours_and_the_caret_goes_to_the_start) {
  Append(u"a"_qs, 9);
  box.SetText(box.Text() + u'b');
  EXPECT_EQ(ColouredText(box), (QList<Coloured>{{u"ab"_qs, 0}}));
  EXPECT_EQ(box.SelStart(), 0);
  box.SetText(QString());
  EXPECT_EQ(box.TextLength(), 0);
  EXPECT_EQ(box.RunCount(), 0);
}

TEST_F(RichTextTest, Appending_to_the_text_is_the_same_as_assigning_it) {
  Append(u"a"_qs, 9);
  const quint64 generation = box.Generation();
  box.AppendToText(PlainText(u"b"_qs));
  EXPECT_EQ(ColouredText(box), (QList<Coloured>{{u"ab"_qs, 0}}));
  EXPECT_EQ(box.SelStart(), 0);
  EXPECT_EQ(box.Generation(), generation) << "the text has only grown";
  Append(u"c"_qs, 9);
  box.SetSelStart(1);
  box.SetSelText(u"-"_qs);
  EXPECT_EQ(ColouredText(box), (QList<Coloured>{{u"a-b"_qs, 0}, {u"c"_qs, 9}}));
  EXPECT_NE(box.Generation(), generation);
}

TEST_F(RichTextTest, A_part_of_the_text_goes_over_its_runs) {
  Append(u"abc"_qs, 1);
  Append(u"def"_qs, 2);
  EXPECT_EQ(box.Mid(2, 2), u"cd");
  EXPECT_EQ(box.Mid(4, 100), u"ef");
  EXPECT_EQ(box.Mid(6, 1), QString());
  EXPECT_EQ(box.RunAt(2), 0);
  EXPECT_EQ(box.RunAt(3), 1);
}

TEST_F(RichTextTest, Nothing_is_made_of_a_text_that_nobody_looks_at) {
  const auto rows = std::make_shared<CountedRows>(1'000'000);
  for (int i = 0; i < 3; ++i) {
    box.SetSelStart(box.TextLength());
    box.SetSelText(rows);
    box.AppendToText(rows);
  }
  TextLines lines(box);
  EXPECT_TRUE(lines.Update(10));
  EXPECT_EQ(lines.Count(), 6'000'001);
  EXPECT_EQ(box.TextLength(), 24'000'000);
  EXPECT_EQ(rows->mMade, 0);
  EXPECT_EQ(lines.Start(5'000'000), 20'000'000);
  EXPECT_EQ(lines.End(5'000'000), 20'000'002);
  EXPECT_EQ(lines.LineAt(20'000'003), 5'000'000);
  EXPECT_LT(rows->mMade, 10);
}

TEST_F(RichTextTest, A_long_text_is_made_in_pieces) {
  const auto rows = std::make_shared<CountedRows>(1'000'000);
  box.SetText(rows);
  const QString text = box.Text();
  EXPECT_EQ(text, rows->Piece(0, 8).repeated(500'000));
  EXPECT_LE(rows->mLongest, 1024 * 1024);
}

/// All line starts, by looking at every character.
QList<qsizetype> StartsOf(const QString& text) {
  QList<qsizetype> starts{0};
  for (qsizetype i = 1; i <= text.size(); ++i) {
    const bool atEnd = i == text.size();
    if (text[i - 1] == u'\n' || (!atEnd && text[i - 1] == u'\r' && text[i] != u'\n')) starts.append(i);
  }
  return starts;
}

qsizetype LongestOf(const QString& text) {
  qsizetype longest = 0;
  for (const QString& line : text.split(QLatin1Char('\n')))
    longest = std::max(longest, line.size() + 7 * line.count(u'\t'));
  return longest;
}

void ExpectLines(const RichTextBox& box, const TextLines& lines) {
  const QString text = box.Text();
  const QList<qsizetype> starts = StartsOf(text);
  ASSERT_EQ(lines.Count(), starts.size());
  for (qsizetype i = 0; i < starts.size(); ++i) {
    ASSERT_EQ(lines.Start(i), starts[i]) << i;
    QString line = text.mid(starts[i], (i + 1 < starts.size() ? starts[i + 1] : text.size()) - starts[i]);
    if (line.endsWith(u'\n')) line.chop(1);
    if (line.endsWith(u'\r')) line.chop(1);
    ASSERT_EQ(lines.End(i), starts[i] + line.size()) << i;
    ASSERT_EQ(lines.LineAt(starts[i]), i);
    ASSERT_EQ(lines.LineAt(starts[i] + std::max<qsizetype>(0, line.size() - 1)), i);
  }
}

TEST_F(RichTextTest, Lines_end_at_every_kind_of_line_end_wherever_the_pieces_meet) {
  for (const char* const text : {"", "\n", "\r", "\r\n", "a", "a\n", "a\r\nb", "a\rb", "\n\n", "\r\r",
                                 "\r\n\r\n", "\n\r", "a\r\n\tb\nccc\r\rd"}) {
    const QString whole = QLatin1String(text);
    for (qsizetype cut = 0; cut <= whole.size(); ++cut) {
      box.SetText(QString());
      TextLines lines(box);
      Append(whole.left(cut), 1);
      EXPECT_TRUE(lines.Update(1000));
      ExpectLines(box, lines);
      Append(whole.mid(cut), 2);
      EXPECT_TRUE(lines.Update(1000));
      ExpectLines(box, lines);
    }
  }
}

TEST_F(RichTextTest, Lines_of_1000_random_texts_are_found_in_slices) {
  QRandomGenerator random(8);
  const QString alphabet = u"abcdefghijklmn\r\n\r\n\t\0"_qs;
  TextLines lines(box);
  for (int round = 0; round < 1000; ++round) {
    if (random.bounded(20) == 0) {
      box.SetText(QString());
    } else if (random.bounded(4) == 0) {
      box.SetSelStart(box.TextLength());
      box.SetSelText(std::make_shared<CountedRows>(random.bounded(1, 5)));
    } else {
      QString text;
      const int length = random.bounded(random.bounded(10) == 0 ? 40'000 : 30);
      const int rarely = random.bounded(2) == 0 ? 1 : 5000;
      for (int i = 0; i < length; ++i)
        text += random.bounded(rarely) == 0 ? alphabet[random.bounded(static_cast<int>(alphabet.size()))]
                                            : QChar(u'x');
      Append(text, 3);
    }
    if (random.bounded(3) == 0) continue;
    int slices = 0;
    while (!lines.Update(1000))
      ASSERT_LT(++slices, 1000);
    if (round % 10 == 0) ExpectLines(box, lines);
    if (HasFatalFailure()) return;
  }
}

TEST_F(RichTextTest, The_longest_line_gives_tabulators_their_room) {
  TextLines lines(box);
  for (const QString& text :
       {u"ab\n"_qs, u"a\tb\r\n"_qs, u"0123456789012\n"_qs, u"\t\tlast"_qs, u" longer"_qs}) {
    Append(text, 0);
    EXPECT_TRUE(lines.Update(100));
    EXPECT_GE(lines.LongestLine(), LongestOf(box.Text()));
    EXPECT_LE(lines.LongestLine(), LongestOf(box.Text()) + 2) << "its line end";
  }
  box.SetText(QString());
  EXPECT_TRUE(lines.Update(100));
  EXPECT_EQ(lines.LongestLine(), 0);
}

}  // namespace
}  // namespace veltrane
