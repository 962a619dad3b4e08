// The real-time pane from the event to its text: the real recorder, main window and options, fake sockets.
#include <gtest/gtest.h>

#include "forms/TextLines.h"
#include "tests/history/HistoryTest.h"
#include "tests/support/RichText.h"
#include "ui/RealTimeDrain.h"
#include "ui/frmMain.h"
#include "ui/frmRealTimeData.h"

namespace veltrane {
namespace {

constexpr Colour kFromClient = 0xff0000;
constexpr Colour kToServer = 0xffa4a4;
constexpr Colour kToClient = 255;
constexpr Colour kFromServer = 0x9797ff;

struct RealTimePaneTest : LoggingTest {
  RealTimePaneTest() {
    world.mGeneral.frmMain = &window;
    logging.SetSurroundings({&window, &options, &fakes.mPurge, &fakes.mTray, &fakes.mLogFile});
    window.SetSurroundings({.frmRealTimeData = &options, .drainRealTimeData = [this] { drain.Drain(); }});
    window.Show();
    window.FaceResized({0, 0, 15000, 10500}, 15000, 10500);
  }
  /// Nothing but the data, and what cannot be switched off.
  void WithoutPreamble() {
    for (CheckBox* box :
         {&options.chkIncludeDateTimeStamp, &options.chkIncludeDataDirection, &options.chkIncludeDescription})
      box->SetValue(0);
  }
  void AllDirections() {
    for (CheckBox* box : {&options.chkClientToVLT, &options.chkVLTToClient, &options.chkServerToVLT,
                          &options.chkVLTToServer, &options.chkIncludeBufferedData})
      box->SetValue(1);
  }
  void FromClient(SocketPair& pair, const QByteArray& data) {
    logging.ServerBytesReceived(pair, data, false);
  }
  void Queue(const QByteArray& data, const QString& preamble, Colour colour) {
    logging.gstrData.append(Payload(data));
    logging.gstrPreamble.append(preamble);
    logging.gcolColour.append(colour);
  }
  QList<Coloured> Pane() const { return ColouredText(window.txtRealTime); }
  QString Text() const { return window.txtRealTime.Text(); }

  frmMain window{world.mGeneral, logging};
  frmRealTimeData options{world.mGeneral, window};
  RealTimeDrain drain{logging, options, window.txtRealTime, window.tmrRealTimeData};
};

TEST_F(RealTimePaneTest, A_conversation_is_shown_with_preamble_and_a_colour_for_each_direction) {
  AllDirections();
  SocketPair& pair = Connected();
  logging.ServerBytesReceived(pair, QByteArray("GET /a\r\n"), true);
  logging.ClientBytesSendStart(pair, QByteArray("GET /a\r\n"), false, false);
  logging.ClientBytesSendStop(pair);
  logging.ClientBytesReceived(pair, QByteArray("\0\x01\xff 200 is the answer", 21), true);
  logging.ServerBytesBuffered(pair, QByteArray("ok"), false, false);
  logging.ServerBytesSendStart(pair, QByteArray("late"), false, true);  // throttled: not shown
  logging.RemoteServerDisconnected(pair, false, QString());
  const QString time = u"\r\n07:05:03.042\r\n"_qs;
  EXPECT_EQ(Pane(),
            (QList<Coloured>{
                {time + u"From: Remote client, To: VLT's internal socket server\r\n"
                        u"8 bytes of data has been received from the remote client.\r\n"_qs,
                 0},
                {u"GET /a..         : 47455420 2F610D0A ........ ........ \r\n"_qs, kFromClient},
                {time + u"From: VLT's internal socket client, To: Remote server\r\n"
                        u"8 bytes of data has been sent to the remote server.\r\n"_qs,
                 0},
                {u"GET /a..         : 47455420 2F610D0A ........ ........ \r\n"_qs, kToServer},
                {time + u"From: Remote server, To: VLT's internal socket client\r\n"
                        u"21 bytes of data has been received from the remote server.\r\n"_qs,
                 0},
                {u"... 200 is the a : 0001FF20 32303020 69732074 68652061 \r\n"
                 u"nswer            : 6E737765 72...... ........ ........ \r\n"_qs,
                 kFromServer},
                {time + u"From: VLT's internal socket server, To: Remote client\r\n"
                        u"2 bytes of data has been buffered. (Previous send to remote client is still in "
                        u"progress)\r\n"_qs,
                 0},
                {u"ok               : 6F6B.... ........ ........ ........ \r\n"_qs, kToClient},
            }));
  EXPECT_TRUE(logging.gstrData.isEmpty());
  EXPECT_TRUE(logging.gstrPreamble.isEmpty());
  EXPECT_TRUE(logging.gcolColour.isEmpty());
  EXPECT_EQ(window.txtRealTime.SelStart(), window.txtRealTime.TextLength()) << "the pane shows its end";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RealTimePaneTest, Every_format_is_shown_in_the_rows_that_are_asked_for) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.txtBytesPerRow.SetText(u"4"_qs);
  const QString rows[] = {
      u"az\x7f\0\xe9"_qs,
      u"az.. : 617A7F00 \r\n.    : E9...... \r\n"_qs,
      u"az.. : 141172177000 \r\n.    : 351......... \r\n"_qs,
      u"az.. : 097122127000 \r\n.    : 233......... \r\n"_qs,
      u"az.. : 01100001011110100111111100000000 \r\n.    : 11101001........................ \r\n"_qs,
  };
  for (int format = 0; format < 5; ++format) {
    options.optDisplayAs.Select(format);
    window.txtRealTime.SetText(QString());
    FromClient(pair, QByteArray("az\x7f\0\xe9", 5));
    EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\n\r\n"_qs, 0}, {rows[format], kFromClient}})) << format;
  }
}

TEST_F(RealTimePaneTest, The_first_data_after_a_cleared_pane_starts_with_a_line_break) {
  SocketPair& pair = Connected();
  FromClient(pair, "first");
  window.txtRealTime.SetText(QString());
  FromClient(pair, "second");
  EXPECT_TRUE(Text().startsWith(u"\r\n07:05:03.042\r\n"));
}

TEST_F(RealTimePaneTest,
       An_entry_of_exactly_the_limits_size_into_an_empty_pane_stays_and_the_next_clears_the_pane) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  options.txtRealTimeDataSize.SetText(u"1"_qs);
  FromClient(pair, QByteArray(1024, 'x'));
  EXPECT_EQ(Text(), u"\r\n\r\n"_qs + QString(1024, u'x'));
  FromClient(pair, "y");
  EXPECT_EQ(Text(), u"\r\n\r\ny");
  FromClient(pair, QByteArray(2000, 'z'));
  EXPECT_EQ(Text(), u"\r\n\r\n"_qs + QString(2000, u'z')) << "larger than the limit, into a cleared pane";
}

TEST_F(RealTimePaneTest, The_limit_is_reached_by_the_last_character_and_passed_by_one_more) {
  options.optDisplayAs.Select(0);
  options.txtRealTimeDataSize.SetText(u"1"_qs);
  for (const int more : {0, 1}) {
    window.txtRealTime.SetText(QString(1000, u'x'));
    Queue(QByteArray(24 + more, 'y'), QString(), kFromClient);
    drain.Drain();
    EXPECT_EQ(Text(), QString(more == 0 ? 1000 : 0, u'x') + QString(24 + more, u'y'));
  }
}

TEST_F(RealTimePaneTest, The_length_that_the_limit_is_held_against_is_that_of_the_rows) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.txtRealTimeDataSize.SetText(u"1"_qs);
  // A row of 16 bytes takes 57 characters: 17 of them and two line breaks leave 51.
  FromClient(pair, QByteArray(16 * 17, 'x'));
  EXPECT_EQ(window.txtRealTime.TextLength(), 4 + 17 * 57);
  FromClient(pair, "y");
  EXPECT_EQ(window.txtRealTime.TextLength(), 4 + 57) << "30 characters too many";
}

TEST_F(RealTimePaneTest, Without_a_number_for_the_limit_nothing_is_ever_cleared) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  qsizetype length = 0;
  for (const QString& limit : {QString(), u"lots"_qs, u"1e999"_qs}) {
    options.txtRealTimeDataSize.SetText(limit);
    for (int i = 0; i < 3; ++i) {
      FromClient(pair, QByteArray(100'000, 'x'));
      length += 100'004;
      EXPECT_EQ(window.txtRealTime.TextLength(), length);
    }
  }
  options.txtRealTimeDataSize.SetText(u"0.5"_qs);
  FromClient(pair, QByteArray(512, 'x'));
  EXPECT_EQ(window.txtRealTime.TextLength(), 516) << "half a kilobyte";
}

TEST_F(RealTimePaneTest, Plain_text_is_the_raw_bytes_and_does_not_stop_at_a_zero_byte) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  QByteArray all(256, '\0');
  QString expected = u"\r\n\r\n"_qs;
  for (int code = 0; code < 256; ++code) {
    all[code] = static_cast<char>(code);
    expected += QChar(code);
  }
  FromClient(pair, all);
  EXPECT_EQ(Text(), expected);
}

TEST_F(RealTimePaneTest, With_chkColourCode_off_data_is_black_and_the_pane_loses_its_earlier_colours) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  FromClient(pair, "blue");
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\n\r\n"_qs, 0}, {u"blue"_qs, kFromClient}}));
  options.chkColourCode.SetValue(0);
  FromClient(pair, "black");
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\n\r\nblue\r\n\r\nblack"_qs, 0}}));
  EXPECT_EQ(window.txtRealTime.SelStart(), window.txtRealTime.TextLength()) << "the pane shows its end";
  options.chkColourCode.SetValue(1);
  FromClient(pair, "blue");
  EXPECT_EQ(Pane(),
            (QList<Coloured>{{u"\r\n\r\nblue\r\n\r\nblack\r\n\r\n"_qs, 0}, {u"blue"_qs, kFromClient}}));
}

TEST_F(RealTimePaneTest, A_preamble_of_nothing_is_a_bare_line_break_behind_the_line_break) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  FromClient(pair, "a");
  EXPECT_EQ(Text(), u"\r\n\r\na");
  Queue("b", QString(), kFromClient);
  drain.Drain();
  EXPECT_EQ(Text(), u"\r\n\r\nab") << "none at all gives no line break";
}

TEST_F(RealTimePaneTest, Of_more_than_10_entries_only_data_goes_and_takes_an_older_preamble_and_colour) {
  options.optDisplayAs.Select(0);
  for (int i = 1; i <= 12; ++i)
    Queue(QByteArray::number(i), u"p%1 "_qs.arg(i), static_cast<Colour>(i));
  drain.Drain();
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\np1 "_qs, 0}, {u"3"_qs, 1}}));
  EXPECT_EQ(logging.gstrData.size(), 9);
  EXPECT_EQ(logging.gstrPreamble.size(), 11);
  EXPECT_EQ(logging.gcolColour.size(), 11);
  drain.Drain();
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\np1 "_qs, 0}, {u"3"_qs, 1}, {u"\r\np2 "_qs, 0}, {u"4"_qs, 2}}))
      << "one entry at each call";
}

TEST_F(RealTimePaneTest, A_missing_colour_or_preamble_is_passed_over_and_the_data_is_shown) {
  options.optDisplayAs.Select(0);
  Queue("a", u"p"_qs, 7);
  logging.gcolColour.clear();
  drain.Drain();
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\npa"_qs, 0}})) << "in the colour of what stands before it";
  Queue("b", u"q"_qs, 7);
  logging.gstrPreamble.clear();
  drain.Drain();
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\npa"_qs, 0}, {u"b"_qs, 7}}));
  EXPECT_TRUE(logging.gstrData.isEmpty());
}

TEST_F(RealTimePaneTest, A_replay_with_colours_copes_with_kinds_that_have_none) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.chkVLTToServer.SetValue(1);
  options.optDisplayAs.Select(0);
  logging.ClientBytesSendStart(pair, QByteArray("throttled"), false, true);
  logging.ClientBytesSendStart(pair, QByteArray("plain"), false, false);
  logging.ClientBytesBuffered(pair, QByteArray("dangled"), false, true);
  EXPECT_EQ(Text(), u"\r\n\r\nplain");
  window.tvwSockets.Add(u"ROOT"_qs, u"KEY1"_qs, QString(), u"Socket"_qs);
  logging.LoadAllEvents(u"KEY1"_qs);
  EXPECT_EQ(Pane(),
            (QList<Coloured>{
                {u"\r\n\r\nthrottled\r\n\r\n"_qs, 0}, {u"plain"_qs, kToServer}, {u"\r\n\r\ndangled"_qs, 0}}));
  EXPECT_TRUE(logging.gcolColour.isEmpty());
}

TEST_F(RealTimePaneTest,
       A_failure_before_the_pane_is_touched_is_reported_and_the_entry_waits_for_the_next_drain) {
  SocketPair& pair = Connected();
  options.optDisplayAs.SetValue(1, false);
  FromClient(pair, "one");
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{u"An error occurred while attempting to display the real time data.  The operating "
                        u"system reports: 13, Type mismatch"_qs});
  EXPECT_EQ(Text(), QString());
  EXPECT_EQ(logging.gstrData.size(), 1);
  options.optDisplayAs.Select(0);
  WithoutPreamble();
  FromClient(pair, "two");
  EXPECT_TRUE(Text().endsWith(u"\r\none")) << "the first one, with the preamble that it was queued with";
  EXPECT_EQ(logging.gstrData.size(), 1);
  drain.Drain();
  EXPECT_TRUE(Text().endsWith(u"one\r\n\r\ntwo"));
  EXPECT_THROW(drain.Drain(), Failure) << "nothing is queued";
}

TEST_F(RealTimePaneTest, A_failure_of_the_pane_itself_is_passed_over_and_takes_nothing_else_along) {
  options.optDisplayAs.Select(0);
  int changes = 0;
  int failing = 0;
  QObject::connect(&window.txtRealTime, &RichTextBox::TextChanged, &window, [&] {
    if (++changes == failing) throw Failure(FailureNumber::kBadArgument);
  });
  const auto drainWith = [&](int which, Colour colour) {
    failing = 0;
    window.txtRealTime.SetText(u"before"_qs);
    changes = 0;
    failing = which;
    Queue("data", u"preamble "_qs, colour);
    EXPECT_NO_THROW(drain.Drain());
    EXPECT_EQ(window.txtRealTime.SelStart(), window.txtRealTime.TextLength()) << which;
    EXPECT_TRUE(logging.gstrData.isEmpty()) << which;
    EXPECT_TRUE(logging.gstrPreamble.isEmpty()) << which;
    EXPECT_TRUE(logging.gcolColour.isEmpty()) << which;
    return Text();
  };
  EXPECT_EQ(drainWith(1, 7), u"before\r\ndata") << "the line break fails, and the preamble with it";
  EXPECT_EQ(drainWith(2, 7), u"before\r\npreamble data");
  EXPECT_EQ(drainWith(3, 7), u"before\r\npreamble data") << "the data";
  EXPECT_EQ(drainWith(3, 0), u"before\r\npreamble data") << "data without a colour";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(RealTimePaneTest, A_limit_of_nothing_or_less_clears_the_pane_at_every_event) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  for (const QString& limit : {u"0"_qs, u"-5"_qs}) {
    options.txtRealTimeDataSize.SetText(limit);
    for (const char* data : {"a", "b"}) {
      FromClient(pair, data);
      EXPECT_EQ(Text(), u"\r\n\r\n"_qs + QLatin1String(data)) << limit.toStdString();
    }
  }
}

TEST_F(RealTimePaneTest, Cancel_puts_the_pane_back_too) {
  options.cmdOK.Click();
  ASSERT_TRUE(window.txtRealTime.Visible());
  options.Show(&window);
  options.chkShowRealTimeData.SetValue(0);
  EXPECT_FALSE(window.txtRealTime.Visible()) << "at once";
  options.cmdCancel.Click();
  EXPECT_TRUE(window.txtRealTime.Visible());
}

TEST_F(RealTimePaneTest, A_single_entry_switches_the_timer_off_that_nothing_switches_on) {
  EXPECT_FALSE(window.tmrRealTimeData.Enabled());
  window.tmrRealTimeData.SetEnabled(true);
  Queue("a", QString(), 1);
  Queue("b", QString(), 1);
  drain.Drain();
  EXPECT_TRUE(window.tmrRealTimeData.Enabled());
  drain.Drain();
  EXPECT_FALSE(window.tmrRealTimeData.Enabled());
}

TEST_F(RealTimePaneTest, Options_hold_from_the_next_event_on_before_OK_and_cancel_takes_them_back) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.cmdOK.Click();
  options.Show(&window);
  options.optDisplayAs.Select(0);
  options.lblColor[0].SetBackColor(5);
  FromClient(pair, "a");
  options.chkClientToVLT.SetValue(0);
  FromClient(pair, "b");
  EXPECT_EQ(Pane(), (QList<Coloured>{{u"\r\n\r\n"_qs, 0}, {u"a"_qs, 5}}));
  options.cmdCancel.Click();
  FromClient(pair, "c");
  EXPECT_EQ(
      Pane().mid(2),
      (QList<Coloured>{{u"\r\n\r\n"_qs, 0},
                       {u"c                : 63...... ........ ........ ........ \r\n"_qs, kFromClient}}));
}

TEST_F(RealTimePaneTest, Closing_the_pane_leaves_its_text_and_queues_nothing_until_it_opens_again) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  options.optDisplayAs.Select(0);
  FromClient(pair, "a");
  window.chkCloseRealTime.SetValue(1);
  EXPECT_FALSE(options.chkShowRealTimeData.IsOn());
  EXPECT_FALSE(window.txtRealTime.Visible());
  FromClient(pair, "b");
  EXPECT_TRUE(logging.gstrData.isEmpty());
  window.barToolbar.ClickMenu(u"Realtime"_qs, u"ShowRealTime"_qs);
  EXPECT_TRUE(window.txtRealTime.Visible());
  FromClient(pair, "c");
  EXPECT_EQ(Text(), u"\r\n\r\na\r\n\r\nc");
}

TEST_F(RealTimePaneTest, What_the_limit_clears_is_never_made_and_its_memory_goes) {
  SocketPair& pair = Connected();
  WithoutPreamble();
  const QByteArray chunk(256 * 1024, 'x');
  for (int i = 0; i < 1000; ++i)
    FromClient(pair, chunk);
  EXPECT_EQ(window.txtRealTime.RunCount(), 3) << "line break, preamble and data";
  EXPECT_EQ(window.txtRealTime.TextLength(), 4 + 256 * 1024 / 16 * 57);
}

}  // namespace
}  // namespace veltrane
