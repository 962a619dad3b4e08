// What the view of a rich text shows, drawn for real, and what mouse and keys do to it.
#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QMenu>
#include <QScrollBar>
#include <QSet>
#include <QTest>
#include <QToolTip>

#include <gtest/gtest.h>

#include "forms/Form.h"
#include "history/FormattedText.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/FakeDesktop.h"
#include "ui/faces/RichTextView.h"

namespace veltrane {
namespace {

struct RichTextViewTest : testing::Test {
  RichTextViewTest() {
    view.Follow(box);
    view.resize(600, 200);
    view.show();
    view.activateWindow();
    view.setFocus();
    Frame();
  }
  void Frame() { WaitUntilSettled(view); }
  void Append(const QString& text, Colour colour = 0) {
    box.SetSelStart(box.TextLength());
    box.SetSelColor(colour);
    box.SetSelText(text);
    box.SetSelStart(box.TextLength());
  }
  void AppendLines(int count) {
    for (int i = 0; i < count; ++i)
      Append(u"line %1\r\n"_qs.arg(i));
    Frame();
  }
  QScrollBar& Bar() { return *view.verticalScrollBar(); }
  QImage Shot() { return view.viewport()->grab().toImage(); }
  /// The picture of one character's cell.
  QImage Cell(qsizetype position) { return Shot().copy(view.CellAt(position)); }
  /// How many dots of a cell have a colour other than the background's.
  int Ink(qsizetype position) {
    const QImage cell = Cell(position);
    const QRgb background = view.palette().color(QPalette::Base).rgb();
    int dots = 0;
    for (int y = 0; y < cell.height(); ++y) {
      for (int x = 0; x < cell.width(); ++x)
        dots += cell.pixel(x, y) != background;
    }
    return dots;
  }
  /// Whether a cell's darkest or lightest dots lean to this colour.
  bool HasColour(qsizetype position, QColor colour) {
    const QImage cell = Cell(position);
    for (int y = 0; y < cell.height(); ++y) {
      for (int x = 0; x < cell.width(); ++x) {
        const QColor dot = cell.pixelColor(x, y);
        if (std::abs(dot.red() - colour.red()) + std::abs(dot.green() - colour.green()) +
                std::abs(dot.blue() - colour.blue()) <
            120) {
          return true;
        }
      }
    }
    return false;
  }
  QPoint At(qsizetype position) { return view.CellAt(position).topLeft() + QPoint(0, 4); }
  void Drag(qsizetype from, qsizetype to) {
    QTest::mousePress(view.viewport(), Qt::LeftButton, {}, At(from));
    QTest::mouseMove(view.viewport(), At(to));
    QMouseEvent move(QEvent::MouseMove, QPointF(At(to)), view.viewport()->mapToGlobal(QPointF(At(to))),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(view.viewport(), &move);
    QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, At(to));
  }
  void Key(int key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(&view, static_cast<Qt::Key>(key), modifiers);
  }
  static QString Clipboard() { return QApplication::clipboard()->text(); }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  RichTextBox box{form, QStringLiteral("txt")};
  RichTextView view;
};

TEST_F(RichTextViewTest, Each_character_is_drawn_in_its_colour_and_black_is_the_palettes) {
  Append(u"##"_qs);
  Append(u"##"_qs, 0xff0000);
  Append(u"##"_qs, 255);
  Frame();
  EXPECT_TRUE(HasColour(0, view.palette().color(QPalette::Text)));
  EXPECT_TRUE(HasColour(2, Qt::blue));
  EXPECT_TRUE(HasColour(5, Qt::red));
  EXPECT_FALSE(HasColour(2, Qt::red));
  QPalette dark;
  dark.setColor(QPalette::Base, QColor(30, 30, 30));
  dark.setColor(QPalette::Text, QColor(240, 240, 240));
  view.setPalette(dark);
  EXPECT_TRUE(HasColour(0, QColor(240, 240, 240)));
  EXPECT_TRUE(HasColour(2, Qt::blue)) << "as it is stored";
}

TEST_F(RichTextViewTest, Every_byte_has_its_cell_and_what_cannot_be_printed_is_the_fonts_placeholder) {
  QByteArray all(256, '\0');
  for (int code = 0; code < 256; ++code)
    all[code] = static_cast<char>(code);
  all.replace('\t', "");
  all.replace('\n', "");
  all.replace('\r', "");
  box.SetText(BytesAsText(Payload(all + "end")));
  view.resize(5000, 100);
  Frame();
  EXPECT_EQ(view.LineCount(), 1);
  const int width = qRound(view.Cells().CellWidth());
  const QImage placeholder = Cell(0);
  EXPECT_GT(Ink(0), 5) << "it is seen";
  for (qsizetype i = 0; i < all.size(); ++i) {
    const auto code = static_cast<unsigned char>(all[i]);
    EXPECT_EQ(view.CellAt(i).x(), 2 + width * i) << int{code};
    const bool printable = QChar(code).isPrint();
    if (!printable) {
      EXPECT_EQ(Cell(i), placeholder) << int{code};
    } else if (!QChar(code).isSpace()) {
      EXPECT_GT(Ink(i), 0) << int{code};
      EXPECT_NE(Cell(i), placeholder) << int{code};
    }
  }
  EXPECT_GT(Ink(all.size() + 2), 5) << "the text goes on behind the zero byte";
}

TEST_F(RichTextViewTest, Markup_is_text_and_lines_never_wrap) {
  Append(u"<b>&amp;</b>"_qs + QString(500, u'm'));
  Frame();
  EXPECT_EQ(view.LineCount(), 1);
  EXPECT_GT(Ink(0), 5);
  EXPECT_EQ(view.CellAt(400).y(), view.CellAt(0).y());
  EXPECT_GT(view.horizontalScrollBar()->maximum(), 400);
  const int before = view.CellAt(300).x();
  view.horizontalScrollBar()->setValue(10);
  EXPECT_EQ(view.CellAt(300).x(), before - qRound(10 * view.Cells().CellWidth()));
  EXPECT_GT(Ink(20), 5);
}

TEST_F(RichTextViewTest, Tabulators_lead_to_columns_of_8) {
  Append(u"\tx\r\n1234\tx\r\n"_qs);
  Frame();
  EXPECT_EQ(view.CellAt(1).x(), view.CellAt(9).x());
  EXPECT_EQ(view.CellAt(1).x(), 2 + 8 * qRound(view.Cells().CellWidth()));
  EXPECT_GT(Ink(9), 3);
  EXPECT_EQ(Ink(8), 0);
}

// The end.

TEST_F(RichTextViewTest, It_shows_the_end_of_what_grows) {
  AppendLines(100);
  EXPECT_GT(Bar().maximum(), 50);
  EXPECT_EQ(Bar().value(), Bar().maximum());
  AppendLines(50);
  EXPECT_EQ(Bar().value(), Bar().maximum());
  EXPECT_GT(Ink(box.TextLength() - 3), 3);
}

TEST_F(RichTextViewTest, It_stays_where_the_user_has_scrolled_to_until_they_return_to_the_end) {
  AppendLines(100);
  QTest::mouseMove(view.viewport(), {20, 20});
  Key(Qt::Key_PageUp);
  const int place = Bar().value();
  EXPECT_LT(place, Bar().maximum());
  AppendLines(100);
  EXPECT_EQ(Bar().value(), place);
  Key(Qt::Key_End);
  AppendLines(10);
  EXPECT_EQ(Bar().value(), Bar().maximum());
  Key(Qt::Key_Home);
  EXPECT_EQ(Bar().value(), 0);
  AppendLines(10);
  EXPECT_EQ(Bar().value(), 0);
}

TEST_F(RichTextViewTest, A_text_that_was_cleared_shows_its_end_again) {
  AppendLines(100);
  Key(Qt::Key_Home);
  box.SetText(QString());
  AppendLines(40);
  EXPECT_EQ(Bar().value(), Bar().maximum());
}

TEST_F(RichTextViewTest, Between_a_clearing_and_the_next_frame_the_former_text_stands_there) {
  const auto inks = [](const QImage& image) {
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x)
        colours.insert(image.pixel(x, y));
    }
    return colours.size();
  };
  for (const bool selected : {false, true}) {
    AppendLines(20);
    if (selected) Drag(box.TextLength() - 5, box.TextLength() - 3);
    const QImage former = Shot();
    ASSERT_GT(inks(former), 1);
    box.SetText(QString());
    EXPECT_EQ(Shot(), former) << "cleared";
    Append(u"something else"_qs);
    EXPECT_EQ(Shot(), former) << "written";
    EXPECT_TRUE(QTest::qWaitFor([&] { return Shot() != former; }));
    EXPECT_GT(Ink(0), 3) << "the new text";
    box.SetText(QString());
    EXPECT_TRUE(QTest::qWaitFor([&] { return inks(Shot()) == 1; })) << "nothing, where nothing came";
  }
  // As the event window does it.
  box.SetText(u"first"_qs);
  EXPECT_TRUE(QTest::qWaitFor([&] { return inks(Shot()) > 1; }));
  const QImage first = Shot();
  box.SetText(u"second"_qs);
  EXPECT_EQ(Shot(), first);
  EXPECT_TRUE(QTest::qWaitFor([&] { return Shot() != first; }));
}

TEST_F(RichTextViewTest, A_clearing_is_no_reason_to_draw_before_the_next_frame) {
  struct PaintCounter : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      count += event->type() == QEvent::Paint;
      return false;
    }
    int count = 0;
  } paints;
  AppendLines(20);
  view.viewport()->installEventFilter(&paints);
  for (int i = 0; i < 5; ++i) {
    box.SetText(QString());
    Append(u"text"_qs);
    QCoreApplication::sendPostedEvents(&view, QEvent::UpdateRequest);
  }
  EXPECT_EQ(paints.count, 0);
  EXPECT_TRUE(QTest::qWaitFor([&] { return paints.count > 0; }));
}

TEST_F(RichTextViewTest, A_text_whose_caret_is_at_its_start_is_shown_from_there) {
  AppendLines(100);
  box.SetText(FormattedText(Payload(QByteArray(100'000, 'x')), 'h', 16));
  Frame();
  EXPECT_EQ(Bar().value(), 0);
  EXPECT_EQ(Bar().maximum(), 100'000 / 16 + 1 - Bar().pageStep());
}

TEST_F(RichTextViewTest, A_text_that_has_gone_is_not_looked_for_before_the_next_frame) {
  const auto fill = [&] {
    box.SetText(QString());
    for (int i = 0; i < 400; ++i)
      Append(QString(40, u'x') + u"\r\n"_qs);
    Frame();
    // Of the blocks only the last one is at hand.
    EXPECT_EQ(Bar().value(), Bar().maximum());
    view.viewport()->repaint();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, {5, 5});
  };
  fill();
  box.SetText(u"x"_qs);
  EXPECT_EQ(view.LineCount(), 1);
  Bar().setValue(0);
  view.viewport()->repaint();
  EXPECT_EQ(view.FirstLine(), 0);
  fill();
  EXPECT_GT(view.LineCount(), 400);
  box.SetText(u"x"_qs);
  Key(Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_FALSE(view.HasSelection());
  fill();
  box.SetText(u"x"_qs);
  QTest::mousePress(view.viewport(), Qt::LeftButton, {}, {100, 100});
  EXPECT_FALSE(view.HasSelection());
  QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, {100, 100});
  fill();
  Drag(box.TextLength() - 30, box.TextLength() - 20);
  EXPECT_TRUE(view.HasSelection());
  box.SetText(QString());
  EXPECT_EQ(view.SelectedText(), QString());
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, {100, 100});
  view.viewport()->repaint();
  EXPECT_FALSE(view.HasSelection());
  Append(QString(1000, u'y'));
  view.SelectAll();
  Key(Qt::Key_Left, Qt::ShiftModifier);
  Frame();
  EXPECT_EQ(view.SelectedText(), QString(999, u'y'));
}

// Selecting and copying.

TEST_F(RichTextViewTest, What_is_dragged_over_is_selected_and_copied_as_it_stands) {
  Append(u"abc\r\nd\x01\0f\r\nghi"_qs);
  Frame();
  Drag(1, 7);
  EXPECT_EQ(view.SelectedText(), u"bc\r\nd\x01"_qs);
  EXPECT_TRUE(HasColour(2, view.palette().color(QPalette::Highlight)));
  EXPECT_FALSE(HasColour(0, view.palette().color(QPalette::Highlight)));
  Key(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(Clipboard(), u"bc\r\nd\x01"_qs);
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, At(0));
  EXPECT_FALSE(view.HasSelection());
  Key(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(Clipboard(), u"bc\r\nd\x01"_qs) << "nothing is no reason to lose it";
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::ShiftModifier, At(10));
  EXPECT_EQ(view.SelectedText(), u"abc\r\nd\x01\0f\r"_qs.left(9)) << "a line ends before its line end";
}

TEST_F(RichTextViewTest, All_is_selected_with_the_keys_and_a_word_with_a_double_click) {
  AppendLines(300);
  Key(Qt::Key_A, Qt::ControlModifier);
  Key(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(Clipboard(), box.Text());
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, At(box.TextLength() - 4) + QPoint(3, 0));
  EXPECT_EQ(view.SelectedText(), u"299");
}

TEST_F(RichTextViewTest, Keys_with_Shift_extend_the_selection) {
  Append(u"abc\r\ndef\r\nghi"_qs);
  Frame();
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, At(1));
  Key(Qt::Key_Right, Qt::ShiftModifier);
  EXPECT_EQ(view.SelectedText(), u"b");
  Key(Qt::Key_Right, Qt::ShiftModifier);
  Key(Qt::Key_Right, Qt::ShiftModifier);
  EXPECT_EQ(view.SelectedText(), u"bc\r\n") << "CR and LF go together";
  Key(Qt::Key_Left, Qt::ShiftModifier);
  EXPECT_EQ(view.SelectedText(), u"bc");
  Key(Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(view.SelectedText(), u"bc\r\ndef");
  Key(Qt::Key_Home, Qt::ShiftModifier);
  EXPECT_EQ(view.SelectedText(), u"bc\r\n");
  Key(Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
  EXPECT_EQ(view.SelectedText(), u"bc\r\ndef\r\nghi");
  Key(Qt::Key_Home, Qt::ShiftModifier | Qt::ControlModifier);
  EXPECT_EQ(view.SelectedText(), u"a");
}

TEST_F(RichTextViewTest, What_takes_more_than_256_MB_is_not_copied_and_the_user_is_told) {
  QApplication::clipboard()->setText(u"before"_qs);
  box.SetText(FormattedText(Payload(QByteArray(20'000'000, 'x')), 'b', 8));
  ASSERT_GT(box.TextLength(), 128 * 1024 * 1024);
  view.SelectAll();
  Key(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(Clipboard(), u"before");
  EXPECT_TRUE(QToolTip::text().startsWith(u"The selection is too long"));
}

TEST_F(RichTextViewTest, The_menu_copies_and_selects_all) {
  Append(u"text"_qs);
  Frame();
  const auto open = [&] {
    QContextMenuEvent event(QContextMenuEvent::Mouse, {10, 10}, view.mapToGlobal(QPoint(10, 10)));
    QApplication::sendEvent(view.viewport(), &event);
    return view.findChildren<QMenu*>(QStringLiteral("mnuText")).last();
  };
  QMenu* menu = open();
  EXPECT_FALSE(menu->actions()[0]->isEnabled());
  menu->actions()[1]->trigger();
  menu->close();
  EXPECT_EQ(view.SelectedText(), u"text");
  menu = open();
  EXPECT_TRUE(menu->actions()[0]->isEnabled());
  menu->actions()[0]->trigger();
  menu->close();
  EXPECT_EQ(Clipboard(), u"text");
}

TEST_F(RichTextViewTest, A_selection_stays_while_the_text_grows_and_goes_with_the_text) {
  Append(u"abcdef"_qs);
  Frame();
  Drag(1, 3);
  AppendLines(3);
  EXPECT_EQ(view.SelectedText(), u"bc");
  box.SetText(u"another"_qs);
  Frame();
  EXPECT_FALSE(view.HasSelection());
}

// Much text.

TEST_F(RichTextViewTest, A_hundred_megabytes_are_shown_in_every_format_without_a_stop) {
  QByteArray bytes(100'000'000, 'x');
  for (qsizetype i = 79; i < bytes.size(); i += 80)
    bytes[i] = '\n';
  const Payload data(bytes);
  QElapsedTimer clock;
  for (const char format : {'\0', 'h', 'o', 'd', 'b'}) {
    clock.start();
    box.SetText(format == 0 ? BytesAsText(data) : FormattedText(data, static_cast<quint8>(format), 8));
    qint64 longest = clock.elapsed();
    const qint64 lines = format == 0 ? 100'000'000 / 80 + 1 : 100'000'000 / 8 + 1;
    while (view.LineCount() != lines && clock.elapsed() < 60'000) {
      QElapsedTimer turn;
      turn.start();
      QCoreApplication::processEvents();
      longest = std::max(longest, turn.elapsed());
      QTest::qSleep(2);
    }
    EXPECT_EQ(view.LineCount(), lines) << format;
    EXPECT_LT(longest, 500) << format;
    clock.start();
    Key(Qt::Key_End);
    view.viewport()->repaint();
    EXPECT_LT(clock.elapsed(), 500) << format;
    EXPECT_EQ(view.FirstLine(), Bar().maximum());
  }
}

TEST_F(RichTextViewTest, End_means_the_end_of_a_text_whose_lines_are_still_being_counted) {
  constexpr int kLines = 300'000;
  QByteArray data;
  for (int i = 0; i < kLines; ++i)
    data += QByteArray(i % 60, 'x') + "\r\n";
  const auto countOn = [this] { return QTest::qWaitFor([this] { return view.LineCount() == kLines + 1; }); };
  const struct {
    const char* name;
    std::function<void()> act;
    bool endsAtEnd;
  } rows[] = {{"nothing", [] {}, false},
              {"End", [this] { Key(Qt::Key_End); }, true},
              {"End, then the bar",
               [this] {
                 Key(Qt::Key_End);
                 Bar().setValue(100);
               },
               false},
              {"End, then another key",
               [this] {
                 Key(Qt::Key_End);
                 Key(Qt::Key_Up);
               },
               false},
              {"End, then the mouse",
               [this] {
                 Key(Qt::Key_End);
                 QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, {5, 5});
               },
               false}};
  for (const auto& row : rows) {
    box.SetText(BytesAsText(Payload(data)));
    ASSERT_TRUE(QTest::qWaitFor([this] { return view.LineCount() > 1; })) << row.name;
    ASSERT_LT(view.LineCount(), kLines) << row.name;
    row.act();
    const int former = Bar().value();
    ASSERT_TRUE(countOn()) << row.name;
    EXPECT_EQ(Bar().value(), row.endsAtEnd ? Bar().maximum() : former) << row.name;
  }
}

TEST_F(RichTextViewTest, A_line_of_ten_megabytes_is_walked_through_nowhere) {
  box.SetText(BytesAsText(Payload(QByteArray(10'000'000, 'y'))));
  for (int i = 0; i < 200 && view.horizontalScrollBar()->maximum() < 9'000'000; ++i)
    QTest::qWait(20);
  QElapsedTimer clock;
  clock.start();
  view.horizontalScrollBar()->setValue(view.horizontalScrollBar()->maximum());
  view.viewport()->repaint();
  EXPECT_LT(clock.elapsed(), 500);
  EXPECT_GT(Ink(10'000'000 - 1), 3);
  Drag(9'999'990, 9'999'995);
  EXPECT_EQ(view.SelectedText(), u"yyyyy");
}

TEST_F(RichTextViewTest, Hidden_it_takes_nothing_up_and_in_view_all_at_once) {
  view.hide();
  AppendLines(50);
  EXPECT_EQ(view.LineCount(), 1);
  view.show();
  Frame();
  EXPECT_EQ(view.LineCount(), 51);
  EXPECT_EQ(Bar().value(), Bar().maximum());
}

TEST_F(RichTextViewTest, Switched_off_it_is_drawn_in_the_colour_of_what_is_off) {
  Append(u"##"_qs, 255);
  view.setEnabled(false);
  Frame();
  EXPECT_FALSE(HasColour(0, Qt::red));
  EXPECT_GT(Ink(0), 3);
}

TEST_F(RichTextViewTest, Without_its_font_it_takes_the_desktops_fixed_one) {
  QFont font(QStringLiteral("No Such Family"));
  font.setPointSize(14);
  view.setFont(font);
  EXPECT_TRUE(QFontInfo(view.Cells().Font()).fixedPitch());
  EXPECT_EQ(view.Cells().Font().pointSize(), 14);
  Append(u"x"_qs);
  Frame();
  EXPECT_GT(Ink(0), 3);
}

}  // namespace
}  // namespace veltrane
