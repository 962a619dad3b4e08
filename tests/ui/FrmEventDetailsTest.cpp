#include <QFile>

#include "tests/support/LeastTime.h"
#include "tests/support/RichText.h"
#include "tests/ui/FrmMainTest.h"
#include "ui/DiagramGeometry.h"
#include "ui/DiagramPanel.h"
#include "ui/frmEventDetails.h"

namespace veltrane {

/// Notes what it is told.
class FakeDiagram : public EventDiagram {
 public:
  explicit FakeDiagram(Journal& journal) : mJournal(journal) {}
  bool CheckForPageChange(qint16 event) override {
    mJournal.Note(QStringLiteral("page of %1").arg(event));
    return mPageChanges;
  }
  void DisplayConnectionDiagram(const SocketPairHistoryRef& history) override {
    mJournal.Note(QStringLiteral("display ") + history->mstrSocketPairKey);
  }
  bool IsDrawn(const std::shared_ptr<DiagramFigure>& figure) const override { return figure != nullptr; }
  bool HighlightEvent(const std::shared_ptr<DiagramFigure>& figure) override {
    mJournal.Note(figure ? QStringLiteral("highlight") : QStringLiteral("highlight nothing"));
    return figure != nullptr;
  }
  void UnhighlightEvent() override { mJournal.Note(QStringLiteral("unhighlight")); }

  bool mPageChanges = false;

 private:
  Journal& mJournal;
};

struct FrmEventDetailsTest : testing::Test {
  FrmEventDetailsTest() {
    history->mstrSocketPairKey = u"KEY1"_qs;
    history->mstrRemoteClientIP = u"10.0.0.1"_qs;
    history->mlngRemoteClientPort = 5000;
    history->mstrRemoteServerIP = u"10.0.0.2"_qs;
    history->mlngRemoteServerPort = 80;
    history->mstrRemoteServerName = u"shop.example"_qs;
    Add({}, u"accepted"_qs);
    Add(QByteArray("GET /\r\n\0", 8), u"8 bytes came"_qs);
    Add({}, u"failed"_qs);
    Event(3).mlngErrorNumber = 10061;
    Event(3).mstrErrorString = u"Connection refused"_qs;
  }
  SocketEvent& Add(const QByteArray& data, const QString& description) {
    const auto event = std::make_shared<SocketEvent>();
    event->mstrEventTime = u"10:00:00.001"_qs;
    event->mstrDescription = description;
    event->mstrData = Payload(data);
    event->mobjUIObject = figure;
    history->AddEvent(event);
    return *event;
  }
  SocketEvent& Event(qsizetype position) { return *history->mobjSocketPairEvents.Item(position); }
  void LoseFigure() {
    owner.reset();
    figure.reset();
  }
  QStringList Fields() const {
    QStringList captions;
    for (const Label* label :
         {&form.lblEventTime, &form.lblFinishTime, &form.lblDescription, &form.lblErrorNumber,
          &form.lblErrorDescription, &form.lblRemoteClient, &form.lblRemoteServer}) {
      captions.append(label->Caption());
    }
    return captions;
  }
  bool DetailsEnabled() const {
    return form.lblEventTime.Enabled() && form.lblFinishTime.Enabled() && form.lblDescription.Enabled() &&
           form.lblErrorNumber.Enabled() && form.lblErrorDescription.Enabled() &&
           form.lblRemoteClient.Enabled() && form.lblRemoteServer.Enabled() && form.txtData.Enabled() &&
           form.fraContainer.Enabled();
  }
  bool DetailsDisabled() const {
    return !form.lblEventTime.Enabled() && !form.lblFinishTime.Enabled() && !form.lblDescription.Enabled() &&
           !form.lblErrorNumber.Enabled() && !form.lblErrorDescription.Enabled() &&
           !form.lblRemoteClient.Enabled() && !form.lblRemoteServer.Enabled() && !form.txtData.Enabled() &&
           !form.fraContainer.Enabled();
  }
  /// left 0, left 1, right 0, right 1.
  QString Arrows() const {
    QString text;
    for (const auto* buttons : {&form.cmdLeft, &form.cmdRight}) {
      for (const CommandButton& button : *buttons)
        text += button.Enabled() ? u'1' : u'0';
    }
    return text;
  }
  QString Data() const { return form.txtData.Text(); }
  QString Title() const { return form.Caption(); }
  void Tick() { world.mTimers.Advance(std::chrono::milliseconds(1000)); }
  /// Without loading the window.
  bool Show(qint16 position) {
    form.mobjHistory = history;
    form.mintEventIndex = position;
    return form.ShowDetails();
  }
  qint16 Position() const { return form.mintEventIndex; }
  bool HasHistory() const { return form.mobjHistory != nullptr; }
  QString Stored(const char* key) { return world.Get(u"EventDetails"_qs, QLatin1String(key)); }
  void Store(const char* key, const char* value) {
    world.Save(u"EventDetails"_qs, QLatin1String(key), QLatin1String(value));
  }

  World world;
  FakeDiagram diagram{world.mJournal};
  // Only whether there is one matters here.
  std::shared_ptr<int> owner = std::make_shared<int>(0);
  std::shared_ptr<DiagramFigure> figure{owner, reinterpret_cast<DiagramFigure*>(owner.get())};
  SocketPairHistoryRef history = std::make_shared<SocketPairHistory>();
  frmEventDetails form{world.mGeneral, diagram};
};

namespace {

const QStringList kBare{u"Event Time: "_qs,   u"Finish Time: "_qs,       u"Description: "_qs,
                        u"Error Number: "_qs, u"Error Description: "_qs, u"Remote Client: "_qs,
                        u"Remote Server: "_qs};

TEST_F(FrmEventDetailsTest, It_comes_up_blank_with_the_stored_format) {
  EXPECT_EQ(Title(), u"Event Details - No Event");
  EXPECT_EQ(Fields(), kBare);
  EXPECT_TRUE(DetailsDisabled());
  EXPECT_EQ(Arrows(), u"0000");
  EXPECT_EQ(form.cboFormat.List(),
            (QStringList{u"AscII"_qs, u"Hex"_qs, u"Octal"_qs, u"Decimal"_qs, u"Binary"_qs}));
  form.Load();
  EXPECT_EQ(form.cboFormat.Text(), u"AscII");
  EXPECT_EQ(form.txtBytesPerRow.Text(), u"8");
  EXPECT_EQ(form.Geometry(), (Rect{0, 0, 7800, 5700})) << "as designed, where the desktop likes";
  EXPECT_TRUE(form.tmrControlAvailability.Enabled());
  EXPECT_EQ(form.tmrControlAvailability.Interval(), 1000);
  EXPECT_TRUE(form.ShowDetails()) << "no event is no failure";
  EXPECT_EQ(Title(), u"Event Details - No Event");
}

TEST_F(FrmEventDetailsTest, An_event_is_shown_whole) {
  Event(2).mstrEventEndTime = u"10:00:01.000"_qs;
  history->mstrRemoteClientName = u"desk.example"_qs;
  EXPECT_TRUE(form.SetDetails(history, 2));
  EXPECT_EQ(Title(), u"Event Details - #2  8 bytes came");
  EXPECT_EQ(Fields(),
            (QStringList{u"Event Time: 10:00:00.001"_qs, u"Finish Time: 10:00:01.000"_qs,
                         u"Description: 8 bytes came"_qs, u"Error Number: "_qs, u"Error Description: "_qs,
                         u"Remote Client: 10.0.0.1:5000 (desk.example)"_qs,
                         u"Remote Server: 10.0.0.2:80 (shop.example)"_qs}));
  EXPECT_EQ(Data(), QString::fromLatin1(QByteArray("GET /\r\n\0", 8)));
  EXPECT_TRUE(DetailsEnabled());
  history->mstrRemoteClientName.clear();
  EXPECT_TRUE(form.SetDetails(history, 3));
  EXPECT_EQ(Fields()[3], u"Error Number: 10061");
  EXPECT_EQ(Fields()[4], u"Error Description: Connection refused");
  EXPECT_EQ(Fields()[5], u"Remote Client: 10.0.0.1:5000");
}

TEST_F(FrmEventDetailsTest, With_an_error_number_of_0_the_field_ends_in_the_blank_after_the_colon) {
  form.SetDetails(history, 3);
  form.SetDetails(history, 1);
  EXPECT_EQ(form.lblErrorNumber.Caption(), u"Error Number: ");
}

TEST_F(FrmEventDetailsTest, An_event_with_no_data_says_so_in_every_format) {
  form.SetDetails(history, 1);
  for (int format = 0; format < 5; ++format) {
    form.cboFormat.SetListIndex(format);
    EXPECT_EQ(Data(), u"<No data in this event>");
  }
}

TEST_F(FrmEventDetailsTest, Data_is_shown_in_the_chosen_format_at_once) {
  Add(QByteArray("az\x7f\0\xe9", 5), u"bytes"_qs);
  form.SetDetails(history, 4);
  form.txtBytesPerRow.SetText(u"4"_qs);
  const QString texts[] = {
      QString::fromLatin1(QByteArray("az\x7f\0\xe9", 5)),
      u"az.. : 617A7F00 \r\n.    : E9...... \r\n"_qs,
      u"az.. : 141172177000 \r\n.    : 351......... \r\n"_qs,
      u"az.. : 097122127000 \r\n.    : 233......... \r\n"_qs,
      u"az.. : 01100001011110100111111100000000 \r\n.    : 11101001........................ \r\n"_qs,
  };
  const QList<int> codes{0, 'h', 'o', 'd', 'b'};
  for (int format = 0; format < 5; ++format) {
    form.cboFormat.SetListIndex(format);
    EXPECT_EQ(form.GetFormatCode(), codes[format]);
    EXPECT_EQ(Data(), texts[format]);
  }
  form.txtBytesPerRow.SetText(u"8"_qs);
  EXPECT_EQ(Data().count(u'\n'), 1);
}

TEST_F(FrmEventDetailsTest, Bytes_per_row_are_corrected) {
  form.Load();
  const struct {
    const char* typed;
    const char* corrected;
  } rows[] = {{"abc", "8"}, {"2", "4"}, {"500", "128"}, {"10", "8"}};
  for (const auto& row : rows) {
    form.txtBytesPerRow.SetText(QLatin1String(row.typed));
    EXPECT_EQ(form.txtBytesPerRow.Text(), QLatin1String(row.corrected)) << row.typed;
  }
  form.updBytesPerRow.Up();
  EXPECT_EQ(form.txtBytesPerRow.Text(), u"12");
}

TEST_F(FrmEventDetailsTest, The_same_event_again_leaves_the_text_alone_for_who_reads_it) {
  form.SetDetails(history, 2);
  const quint64 generation = form.txtData.Generation();
  form.FaceActivated();
  EXPECT_EQ(form.txtData.Generation(), generation);
  form.cboFormat.SetListIndex(1);
  EXPECT_NE(form.txtData.Generation(), generation);
  form.ClearDetails();
  form.SetDetails(history, 2);
  EXPECT_FALSE(Data().isEmpty());
}

/// Kilobytes of memory in use at most since it was asked last.
qint64 PeakMemory() {
  const auto file = [](const char* name) { return QStringLiteral("/proc/self/") + QLatin1String(name); };
  QFile status(file("status"));
  if (!status.open(QIODevice::ReadOnly)) return -1;
  const QByteArray text = status.readAll();
  const qsizetype at = text.indexOf("VmHWM:");
  QFile reset(file("clear_refs"));
  if (at < 0 || !reset.open(QIODevice::WriteOnly) || reset.write("5") != 1) return -1;
  return text.mid(at + 6, text.indexOf("kB", at) - at - 6).trimmed().toLongLong();
}

TEST_F(FrmEventDetailsTest, An_event_of_100_MB_takes_no_memory_of_its_own_and_no_time) {
  constexpr qint64 kBytes = 100'000'000;
  Add(QByteArray(kBytes, 'x'), u"large"_qs);
  form.Load();
  PeakMemory();
  const qint64 before = PeakMemory();
  ASSERT_GT(before, 0);
  for (int format = 0; format < 5; ++format) {
    form.SetDetails(history, 1);
    form.cboFormat.SetListIndex(format);
    const auto time = LeastTime(3, [&] {
      form.SetDetails(history, 1);
      EXPECT_TRUE(form.SetDetails(history, 4));
    });
    EXPECT_GE(form.txtData.TextLength(), kBytes);
    EXPECT_EQ(form.txtData.Mid(form.txtData.TextLength() / 2, 100).size(), 100);
    EXPECT_LT(time, std::chrono::milliseconds(5)) << "to go through all of it takes longer";
  }
  // A copy, or one format of it made, would be ten times as much.
  EXPECT_LT(PeakMemory() - before, kBytes / 1024 / 10);
}

// The arrows.

TEST_F(FrmEventDetailsTest, The_arrows_walk_and_end_at_the_first_and_the_last_event) {
  form.SetDetails(history, 1);
  EXPECT_EQ(Arrows(), u"0011") << "at once";
  Tick();
  EXPECT_EQ(Arrows(), u"0011");
  form.cmdRight[0].Click();
  EXPECT_EQ(Title(), u"Event Details - #2  8 bytes came");
  EXPECT_EQ(Arrows(), u"1111");
  form.cmdRight[1].Click();
  form.cmdRight[1].Click();
  EXPECT_EQ(Title(), u"Event Details - #3  failed") << "a second quick click does not run past the end";
  EXPECT_EQ(Arrows(), u"1100");
  for (int i = 0; i < 5; ++i)
    form.cmdLeft[i % 2].Click();
  EXPECT_EQ(Title(), u"Event Details - #1  accepted");
  EXPECT_EQ(Position(), 1);
}

TEST_F(FrmEventDetailsTest, The_arrows_catch_up_with_new_events_within_a_second) {
  form.SetDetails(history, 3);
  Tick();
  EXPECT_EQ(Arrows(), u"1100");
  Add("more", u"more"_qs);
  world.mTimers.Advance(std::chrono::milliseconds(999));
  EXPECT_EQ(Arrows(), u"1100");
  world.mTimers.Advance(std::chrono::milliseconds(1));
  EXPECT_EQ(Arrows(), u"1111");
}

TEST_F(FrmEventDetailsTest, A_position_past_the_end_shows_nothing_and_is_silent) {
  form.SetDetails(history, 3);
  EXPECT_FALSE(form.SetDetails(history, 4));
  EXPECT_EQ(Title(), u"Event Details - #3  failed") << "as far as it got";
  form.cmdRight[0].Click();
  EXPECT_EQ(Title(), u"Event Details - #3  failed");
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

// Purged meanwhile.

TEST_F(FrmEventDetailsTest, After_a_purge_it_shows_the_same_event_at_its_new_position) {
  form.SetDetails(history, 3);
  history->mobjSocketPairEvents.RemoveFirst();
  form.FaceActivated();
  EXPECT_EQ(Title(), u"Event Details - #2  failed");
  EXPECT_EQ(Arrows(), u"1100");
  Add("more", u"more"_qs);
  history->mobjSocketPairEvents.RemoveFirst();
  Tick();
  EXPECT_EQ(Arrows(), u"0011") << "it is the first one now";
  form.cmdRight[0].Click();
  EXPECT_EQ(Title(), u"Event Details - #2  more");
}

TEST_F(FrmEventDetailsTest, Between_two_ticks_of_a_purge_the_arrows_skip_no_event) {
  Add("more", u"more"_qs);
  form.SetDetails(history, 3);
  Tick();
  history->mobjSocketPairEvents.RemoveFirst();
  form.cmdRight[0].Click();
  EXPECT_EQ(Title(), u"Event Details - #3  more");
  history->mobjSocketPairEvents.RemoveFirst();
  form.cmdLeft[0].Click();
  EXPECT_EQ(Title(), u"Event Details - #1  failed");
  EXPECT_EQ(Arrows(), u"0011");
}

TEST_F(FrmEventDetailsTest, From_an_event_that_was_purged_no_arrow_leads_anywhere) {
  form.SetDetails(history, 2);
  Tick();
  EXPECT_EQ(Arrows(), u"1111");
  history->mobjSocketPairEvents.RemoveFirst();
  history->mobjSocketPairEvents.RemoveFirst();
  form.cmdRight[0].Click();
  EXPECT_EQ(Title(), u"Event Details - #2  8 bytes came") << "as far as it got";
  EXPECT_EQ(Arrows(), u"0000");
  Add("more", u"more"_qs);
  Tick();
  EXPECT_EQ(Arrows(), u"0000");
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  form.FaceActivated();
  EXPECT_EQ(Title(), u"Event Details - No Event");
}

TEST_F(FrmEventDetailsTest,
       A_position_beyond_the_last_event_fails_silently_and_the_window_goes_blank_in_front) {
  form.SetDetails(history, 3);
  for (int i = 0; i < 3; ++i)
    history->mobjSocketPairEvents.RemoveFirst();
  EXPECT_FALSE(form.ShowDetails());
  EXPECT_EQ(Title(), u"Event Details - #3  failed");
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  Tick();
  form.FaceActivated();
  EXPECT_EQ(Title(), u"Event Details - No Event");
  EXPECT_EQ(Fields(), kBare);
  EXPECT_EQ(Data(), QString());
  EXPECT_EQ(Arrows(), u"0000");
  EXPECT_TRUE(DetailsDisabled());
  EXPECT_FALSE(HasHistory());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  Tick();
  EXPECT_EQ(Arrows(), u"0000");
}

TEST_F(FrmEventDetailsTest, In_front_it_shows_what_the_event_has_become) {
  form.SetDetails(history, 2);
  Event(2).mstrEventEndTime = u"10:00:02.000"_qs;
  EXPECT_EQ(form.lblFinishTime.Caption(), u"Finish Time: ");
  form.FaceActivated();
  EXPECT_EQ(form.lblFinishTime.Caption(), u"Finish Time: 10:00:02.000");
  EXPECT_EQ(Arrows(), u"1111");
}

// The diagram.

TEST_F(FrmEventDetailsTest, With_the_diagram_chosen_its_page_turns_and_its_highlight_moves) {
  world.mGeneral.gblnConnectionDiagramSelected = true;
  EXPECT_TRUE(form.SetDetails(history, 2));
  EXPECT_EQ(world.mJournal.Take(), (QStringList{u"page of 2"_qs, u"highlight"_qs}));
  diagram.mPageChanges = true;
  EXPECT_TRUE(form.ShowDetails());
  EXPECT_EQ(world.mJournal.Take(), (QStringList{u"page of 2"_qs, u"display KEY1"_qs, u"highlight"_qs}));
  form.ClearDetails();
  EXPECT_EQ(world.mJournal.Take(), QStringList{u"unhighlight"_qs});
}

TEST_F(FrmEventDetailsTest, A_figure_that_is_not_there_skips_the_last_step) {
  world.mGeneral.gblnConnectionDiagramSelected = true;
  LoseFigure();
  EXPECT_FALSE(form.SetDetails(history, 2));
  EXPECT_EQ(world.mJournal.Take(),
            (QStringList{u"page of 2"_qs, u"display KEY1"_qs, u"highlight nothing"_qs}))
      << "it is drawn first, and what has no link even so is told";
  EXPECT_EQ(Title(), u"Event Details - #2  8 bytes came");
  EXPECT_TRUE(DetailsDisabled());
  form.FaceActivated();
  EXPECT_EQ(Title(), u"Event Details - No Event");
}

TEST_F(FrmEventDetailsTest, In_the_event_history_only_the_page_is_kept_in_step) {
  diagram.mPageChanges = true;
  LoseFigure();
  EXPECT_TRUE(form.SetDetails(history, 2));
  EXPECT_EQ(world.mJournal.Take(), QStringList{u"page of 2"_qs});
}

TEST_F(FrmEventDetailsTest, Opened_again_it_shows_nothing_of_the_event_that_it_had) {
  world.mGeneral.gblnConnectionDiagramSelected = true;
  form.cboFormat.SetListIndex(1);
  form.SetDetails(history, 2);
  EXPECT_TRUE(form.Unload());
  world.mJournal.Take();
  EXPECT_TRUE(form.SetDetails(history, 3));
  const QStringList notes = world.mJournal.Take();
  EXPECT_FALSE(notes.contains(u"page of 2")) << notes.join(u", ").toStdString();
  EXPECT_TRUE(notes.contains(u"page of 3"));
  EXPECT_EQ(Title(), u"Event Details - #3  failed");
}

// Its settings.

TEST_F(FrmEventDetailsTest, Closing_stores_the_six_values_and_the_next_showing_has_them) {
  form.Show();
  form.SetDetails(history, 2);
  form.cboFormat.SetListIndex(3);
  form.txtBytesPerRow.SetText(u"20"_qs);
  form.FaceResized({1500, 750, 9000, 6000}, 9000, 6000);
  EXPECT_TRUE(form.Unload());
  EXPECT_FALSE(form.tmrControlAvailability.Enabled());
  const QList<SettingRow> rows{{u"Format"_qs, u"3"_qs},   {u"BytesPerRow"_qs, u"20"_qs},
                               {u"Left"_qs, u"1500"_qs},  {u"Top"_qs, u"750"_qs},
                               {u"Width"_qs, u"9000"_qs}, {u"Height"_qs, u"6000"_qs}};
  EXPECT_EQ(world.mGeneral.mSettings.All(u"EventDetails"_qs), rows);
  frmEventDetails next(world.mGeneral, diagram);
  next.Load();
  EXPECT_EQ(next.cboFormat.Text(), u"Decimal");
  EXPECT_EQ(next.txtBytesPerRow.Text(), u"20");
  EXPECT_EQ(next.Geometry(), (Rect{1500, 750, 9000, 6000}));
}

TEST_F(FrmEventDetailsTest, Unusable_settings_are_reported_and_the_others_hold) {
  Store("Format", "7");
  Store("Left", "far");
  Store("Width", "9000");
  Store("Height", "10");
  Store("BytesPerRow", "33");
  form.Load();
  EXPECT_EQ(form.cboFormat.ListIndex(), 0);
  EXPECT_EQ(form.txtBytesPerRow.Text(), u"32");
  EXPECT_EQ(form.Geometry().width, 9000);
  EXPECT_EQ(form.Geometry().height, frmEventDetails::kLeastHeight);
  EXPECT_EQ(form.Geometry().left, 0);
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
  EXPECT_TRUE(
      world.mErrors.mTexts[0].startsWith(u"An error occurred while attempting to load the event details "
                                         u"setting Format.  The operating system reports: 9"));
}

TEST_F(FrmEventDetailsTest, A_store_that_takes_nothing_is_reported_and_holds_no_window) {
  form.Show();
  world.mStore.mWritesBeforeFailure = 2;
  EXPECT_TRUE(form.Unload());
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_FALSE(form.Visible());
  EXPECT_FALSE(form.tmrControlAvailability.Enabled());
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].startsWith(
      u"An error occurred while attempting to save the event details settings.  The operating system "
      u"reports: "));
}

TEST_F(FrmEventDetailsTest, A_store_that_cannot_be_read_costs_the_settings_and_not_the_window) {
  world.mStore.mFailReads = true;
  EXPECT_TRUE(form.SetDetails(history, 2));
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_EQ(form.cboFormat.ListIndex(), 0);
  EXPECT_EQ(form.txtBytesPerRow.Text(), u"8");
  EXPECT_EQ(form.Geometry(), (Rect{0, 0, 7800, 5700}));
  EXPECT_EQ(Title(), u"Event Details - #2  8 bytes came");
  EXPECT_EQ(world.mErrors.mTexts.size(), 6) << "one for each setting";
  EXPECT_TRUE(world.mErrors.mTexts[1].startsWith(
      u"An error occurred while attempting to load the event details setting BytesPerRow.  The operating "
      u"system reports: "));
}

TEST_F(FrmEventDetailsTest, A_stored_text_of_nothing_becomes_8_bytes_per_row) {
  Store("BytesPerRow", "");
  Store("Format", "1");
  EXPECT_TRUE(form.SetDetails(history, 2));
  EXPECT_EQ(form.txtBytesPerRow.Text(), u"8");
  EXPECT_EQ(Data(), u"GET /... : 47455420 2F0D0A00 \r\n");
}

TEST_F(FrmEventDetailsTest, Plain_text_asks_for_no_number_of_bytes) {
  // Not loaded: the field is still empty.
  form.cboFormat.SetListIndex(0);
  EXPECT_EQ(form.txtBytesPerRow.Text(), QString());
  EXPECT_TRUE(Show(2));
  EXPECT_EQ(Data(), QString::fromLatin1(QByteArray("GET /\r\n\0", 8)));
}

TEST_F(FrmEventDetailsTest, A_window_that_is_too_small_grows_in_one_direction_at_a_time) {
  form.Show();
  QList<Rect> asked;
  QObject::connect(&form, &Form::GeometryChanged, [&] { asked.append(form.Geometry()); });
  form.FaceResized({30, 45, 4739, 4004}, 4739, 4004);
  EXPECT_EQ(asked, (QList<Rect>{{30, 45, 4740, 4004}})) << "the height has its turn with the next resize";
  form.FaceResized({30, 45, 4740, 4004}, 4740, 4004);
  EXPECT_EQ(asked.last(), (Rect{30, 45, 4740, 4005}));
  form.FaceResized({30, 45, 4740, 4005}, 4740, 4005);
  EXPECT_EQ(asked.size(), 2);
}

// Beside the main window.

struct EventWindowTest : FrmMainTest {
  EventWindowTest() {
    window.SetSurroundings(WithDetails());
    AddConnection(u"KEY1"_qs, 25);
    Show();
    Open(u"KEY1"_qs);
  }
  MainSurroundings WithDetails() {
    MainSurroundings surroundings = Around();
    surroundings.frmEventDetails = &eventForm;
    surroundings.eventDetails = &eventForm;
    return surroundings;
  }
  frmEventDetails eventForm{world.mGeneral, window};
};

TEST_F(EventWindowTest, A_double_click_in_the_grid_opens_it_and_it_follows_the_tree) {
  Click(u"KEY1-3"_qs);
  EXPECT_FALSE(eventForm.IsLoaded()) << "it is made at its first use";
  window.lvwDetails.SetSelectedItem(&window.lvwDetails.Item(u"Data"_qs));
  window.lvwDetails.DoubleClick();
  EXPECT_TRUE(eventForm.Visible());
  EXPECT_EQ(eventForm.Caption(), u"Event Details - #3  happened");
  Click(u"KEY1-5"_qs);
  EXPECT_EQ(eventForm.Caption(), u"Event Details - #5  happened");
  EXPECT_EQ(eventForm.txtData.Text(), u"xxxxx");
  Click(u"ROOT"_qs);
  EXPECT_EQ(eventForm.Caption(), u"Event Details - No Event");
  EXPECT_TRUE(eventForm.Visible());
}

TEST_F(EventWindowTest, In_the_event_history_its_arrows_still_turn_the_page) {
  Click(u"KEY1-20"_qs);
  window.lvwDetails.SetSelectedItem(&window.lvwDetails.Item(u"Data"_qs));
  window.lvwDetails.DoubleClick();
  eventForm.FaceActivated();
  EXPECT_EQ(Pages().mintCurrentPage, 0);
  eventForm.cmdRight[0].Click();
  EXPECT_EQ(eventForm.Caption(), u"Event Details - #21  happened");
  EXPECT_EQ(Pages().mintCurrentPage, 1);
  EXPECT_FALSE(window.panDiagramOuter.Visible());
  eventForm.cmdLeft[0].Click();
  EXPECT_EQ(Pages().mintCurrentPage, 0);
}

TEST_F(EventWindowTest, In_the_diagram_its_arrows_turn_the_page_and_move_the_highlight) {
  const auto marked = [this](qsizetype position) {
    const auto figure = logging.mobjSocketPairHistory.Item(u"KEY1"_qs)
                            ->mobjSocketPairEvents.Item(position)
                            ->mobjUIObject.lock();
    return figure && window.shpHighlight.Visible() &&
           window.shpHighlight.Place() == HighlightPlace(figure->place);
  };
  const auto counter = [this] { return window.lblDetails.PanelText(2); };
  world.mGeneral.gblnConnectionDiagramSelected = true;
  Click(u"ROOT"_qs);
  Open(u"KEY1"_qs);
  eventForm.SetDetails(logging.mobjSocketPairHistory.Item(u"KEY1"_qs), 20);
  eventForm.Show();
  eventForm.FaceActivated();
  EXPECT_EQ(Pages().mintCurrentPage, 0);
  EXPECT_TRUE(marked(20));
  eventForm.cmdRight[0].Click();
  EXPECT_EQ(eventForm.Caption(), u"Event Details - #21  happened");
  EXPECT_EQ(Pages().mintCurrentPage, 1);
  EXPECT_TRUE(marked(21));
  EXPECT_EQ(counter(), u"Event 21 of 25  ");
  eventForm.cmdLeft[0].Click();
  EXPECT_EQ(Pages().mintCurrentPage, 0);
  EXPECT_TRUE(marked(20));
  EXPECT_EQ(counter(), u"Event 20 of 25  ");
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(EventWindowTest, The_end_of_the_program_unloads_it_with_its_place) {
  eventForm.Show();
  eventForm.FaceResized({150, 150, 6000, 6000}, 6000, 6000);
  window.Terminate();
  EXPECT_FALSE(eventForm.IsLoaded());
  EXPECT_EQ(world.Get(u"EventDetails"_qs, u"Width"_qs), u"6000");
}

}  // namespace
}  // namespace veltrane
