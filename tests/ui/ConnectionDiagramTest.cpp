// The connection diagram as the main window draws, marks and scrolls it.
#include "engine/SocketPair.h"
#include "history/HistoryText.h"
#include "tests/ui/FrmMainTest.h"
#include "ui/DiagramKinds.h"
#include "ui/frmEventDetails.h"

namespace veltrane {
namespace {

using enum DiagramArray;

const QString kPurged = QStringLiteral(
    "Since this data was displayed to the screen, it has been unloaded from memory as part of the routine "
    "data purging as specified in the Options.  No information can be displayed.");
const QString kResources = QStringLiteral("/opt/veltrane/res/");

const struct {
  DiagramArray array;
  const char* name;
} kNames[] = {{aniClient, "client"},    {aniClient2VLT, "left"}, {aniVLT, "proxy"},
              {aniVLT2Server, "right"}, {aniServer, "server"},   {pctInternet, "cloud"}};

struct ConnectionDiagramTest : FrmMainTest {
  ConnectionDiagramTest() {
    chkAnimateConnectionDiagram.SetValue(1);
    Show();
    world.mGeneral.gblnConnectionDiagramSelected = true;
    QObject::connect(&window.fraConnectionPanel, &DiagramPanel::CellPut, &window,
                     [this](const Rect& place) { put.append(place); });
  }

  struct Kind {
    int kind;
    bool followOn = false;  // what the event says of the next one
  };
  /// A connection with events of these kinds.
  SocketPairHistory& AddKinds(const QString& key, std::initializer_list<Kind> kinds) {
    SocketPairHistory& history = AddConnection(key, 0);
    for (const Kind& kind : kinds)
      AddKind(history, kind);
    return history;
  }
  void AddKind(SocketPairHistory& history, const Kind& kind) {
    const auto event = std::make_shared<SocketEvent>();
    event->mobjEventType = static_cast<SocketEventType>(kind.kind);
    event->mblnNextEventFollowOn = kind.followOn;
    event->mstrDescription = QStringLiteral("kind %1").arg(kind.kind);
    event->mstrEventTime = QStringLiteral("10:00:00.123");
    history.AddEvent(event);
  }
  void Live(SocketPairHistory& history, const Kind& kind) {
    AddKind(history, kind);
    window.AddConnectionDiagramEvent(logging.mobjSocketPairHistory.Item(history.mstrSocketPairKey));
  }
  /// What the engine tells the recorder: data arrives on a connection.
  void Arrive(const QString& key) {
    world.mGeneral.gblnRecordEvents = true;
    SocketPair pair(world.mGeneral);
    pair.SetSocketPairKey(key);
    logging.ServerBytesReceived(pair, Payload(QByteArray("x")), false);
  }
  const std::map<int, DiagramCell>& Cells(DiagramArray array) const {
    return window.fraConnectionPanel.Cells(array);
  }
  /// What a row holds in the order of the columns: "client ComputerOn.avi, left C2SData.avi, ...".
  QString Row(int row) const {
    QStringList words;
    for (const auto& name : kNames) {
      const auto found = Cells(name.array).find(row);
      if (found != Cells(name.array).end()) words.append(Word(name.name, found->second.file));
    }
    return words.join(QStringLiteral(", "));
  }
  static QString Word(const char* name, QString file) {
    return QLatin1String(name) + u' ' + file.remove(kResources);
  }
  /// The pictures in the order in which they were put there, told by their places.
  QString Order(int row) const {
    QStringList words;
    for (const Rect& place : put) {
      for (const auto& name : kNames) {
        const auto found = Cells(name.array).find(row);
        if (found != Cells(name.array).end() && found->second.place == place)
          words.append(Word(name.name, found->second.file));
      }
    }
    return words.join(QStringLiteral(", "));
  }
  int RowCount() const {
    int last = 0;
    for (const auto& cells : window.fraConnectionPanel.Cells())
      last = cells.empty() ? last : std::max(last, cells.rbegin()->first);
    return last;
  }
  QString Label(DiagramArray array, int row) const { return Cells(array).at(row).text; }
  std::shared_ptr<DiagramFigure> Figure(const SocketPairHistory& history, qsizetype position) {
    return history.mobjSocketPairEvents.Item(position)->mobjUIObject.lock();
  }
  void ClickLink(const std::shared_ptr<DiagramFigure>& figure) {
    window.fraConnectionPanel.ClickLink(figure);
  }
  QString Counter() const { return window.lblDetails.PanelText(2); }
  QString Page() const { return window.lblDetails.PanelText(3); }
  bool NextIsLit() const { return window.barNavigation.ButtonEnabled(QStringLiteral("Next")); }
  QStringList TakeReports() { return std::exchange(world.mErrors.mTexts, {}); }

  CheckBox chkAnimateConnectionDiagram{options, QStringLiteral("chkAnimateConnectionDiagram")};
  QList<Rect> put;
};

// What each kind draws, in order, at the beginning of a row and as its continuation.
const struct {
  int kind;
  const char* alone;
  const char* continued;
} kDrawings[] = {
    {0, "client ComputerComingOn.avi, left LightningBolt.avi, proxy ComputerOn.avi",
     "left LightningBolt.avi, proxy ComputerOn.avi"},
    {1, "client ComputerComingOn.avi, left LightningBoltX.avi, proxy ComputerOn.avi",
     "left LightningBoltX.avi, proxy ComputerOn.avi"},
    {2, "proxy ComputerOn.avi, right LightningBoltGrey.avi, cloud Cloud.bmp",
     "right LightningBoltGrey.avi, cloud Cloud.bmp"},
    {3, "proxy ComputerOn.avi, right LightningBoltGrey.avi, server Error.avi",
     "right LightningBoltGrey.avi, server Error.avi"},
    {4, "proxy ComputerOn.avi, right LightningBolt.avi, server ComputerOn.avi",
     "right LightningBolt.avi, server ComputerOn.avi"},
    {5, "proxy ComputerOn.avi, right LightningBoltGrey.avi, server ComputerGoingOff.avi",
     "right LightningBoltGrey.avi, server ComputerGoingOff.avi"},
    {6, "proxy ComputerGoingOff.avi, left LightningBoltGrey.avi, client ComputerOn.avi",
     "left LightningBoltGrey.avi, client ComputerOn.avi"},
    {7, "proxy ComputerOn.avi, left LightningBoltGrey.avi, client ComputerGoingOff.avi",
     "left LightningBoltGrey.avi, client ComputerGoingOff.avi"},
    {8, "proxy ComputerGoingOff.avi, right LightningBoltGrey.avi, server ComputerOn.avi",
     "right LightningBoltGrey.avi, server ComputerOn.avi"},
    {9, "proxy ComputerOn.avi, right S2CData.avi, server ComputerOn.avi",
     "right S2CData.avi, server ComputerOn.avi"},
    {10, "proxy ComputerOn.avi, right C2SBuffer.avi", "right C2SBuffer.avi"},
    {11, "proxy ComputerOn.avi, right C2SDangleBuffer.avi", "right C2SDangleBuffer.avi"},
    {12, "proxy ComputerOn.avi, left S2CBuffer.avi", "left S2CBuffer.avi"},
    {13, "proxy ComputerOn.avi, left S2CDangleBuffer.avi", "left S2CDangleBuffer.avi"},
    {14, "proxy ComputerOn.avi, client ComputerOn.avi, left S2CData.avi",
     "client ComputerOn.avi, left S2CData.avi"},
    {15, "proxy ComputerOn.avi, client ComputerOn.avi, left S2CThrottle.avi",
     "client ComputerOn.avi, left S2CThrottle.avi"},
    {16, "client ComputerOn.avi, left C2SData.avi, proxy ComputerOn.avi",
     "left C2SData.avi, proxy ComputerOn.avi"},
    {17, "proxy ComputerOn.avi, right C2SData.avi, server ComputerOn.avi",
     "right C2SData.avi, server ComputerOn.avi"},
    {18, "proxy ComputerOn.avi, right C2SThrottle.avi, server ComputerOn.avi",
     "right C2SThrottle.avi, server ComputerOn.avi"},
    {19, "proxy ComputerOn.avi, left , client Error.avi", "left , client Error.avi"},
    {20, "proxy ComputerOn.avi, right , server Error.avi", "right , server Error.avi"},
    {21, "proxy ComputerOn.avi, right DangleStart.avi", "right DangleStart.avi"},
    {22, "proxy ComputerOn.avi, left DangleStart.avi", "left DangleStart.avi"},
    {23, "proxy ComputerOn.avi, right DangleStop.avi", "right DangleStop.avi"},
    {24, "proxy ComputerOn.avi, left DangleStop.avi", "left DangleStop.avi"},
};

TEST_F(ConnectionDiagramTest, Every_kind_of_event_draws_its_row_of_the_table) {
  ASSERT_EQ(std::size(kDrawings), static_cast<std::size_t>(kSocketEventTypes));
  for (const auto& drawing : kDrawings) {
    const QString key = QStringLiteral("KEY%1").arg(drawing.kind);
    SocketPairHistory& history = AddKinds(key, {{drawing.kind}});
    put.clear();
    window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(key));
    EXPECT_EQ(Order(1), QLatin1String(drawing.alone)) << drawing.kind;
    const auto link = Figure(history, 1);
    ASSERT_TRUE(link) << drawing.kind;
    EXPECT_EQ(link->tag, 1);
    EXPECT_TRUE(link->place == CellPlace(aniClient2VLT, 1) || link->place == CellPlace(aniVLT2Server, 1));
    EXPECT_EQ(TakeReports(), QStringList());
  }
}

TEST_F(ConnectionDiagramTest, An_event_that_follows_on_draws_all_but_the_computer_on_its_own_side) {
  for (const auto& drawing : kDrawings) {
    const QString key = QStringLiteral("KEY%1").arg(drawing.kind);
    // A kind without a picture before it, so that only the continuation is seen.
    SocketPairHistory& history = AddKinds(key, {{99, true}, {drawing.kind}});
    put.clear();
    window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(key));
    EXPECT_EQ(Order(1), QLatin1String(drawing.continued)) << drawing.kind;
    EXPECT_EQ(RowCount(), 1);
    ASSERT_TRUE(Figure(history, 2)) << drawing.kind;
    EXPECT_EQ(Figure(history, 2)->tag, 2);
  }
}

TEST_F(ConnectionDiagramTest, Event_kinds_beyond_24_draw_nothing_but_pass_through_the_end) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{25}, {-1}, {16}});
  window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(QStringLiteral("KEY1")));
  EXPECT_EQ(Row(1), QString());
  EXPECT_EQ(Row(2), QString());
  EXPECT_EQ(Row(3), QStringLiteral("client ComputerOn.avi, left C2SData.avi, proxy ComputerOn.avi"));
  EXPECT_FALSE(Figure(history, 1));
  for (int i = 0; i < 10; ++i)
    AddKind(history, {99});
  window.DisplayConnectionDiagram(window.mobjCurrentHistory);
  EXPECT_EQ(window.fraConnectionPanel.Place().height, SurfaceHeight(13))
      << "room is made for them all the same";
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(ConnectionDiagramTest, Labels_tell_peers_ports_descriptions_and_times) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{16, true}, {17}, {3}, {19}});
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Label(lblClient, 1), QStringLiteral("(10.0.0.1:5000)"));
  EXPECT_EQ(Label(lblServer, 1), QStringLiteral("(10.0.0.2:80)"));
  history.mstrRemoteClientName = QStringLiteral("client.test");
  history.mstrRemoteServerName = QStringLiteral("server.test");
  window.DisplayConnectionDiagram(window.mobjCurrentHistory);
  EXPECT_EQ(Label(lblClient, 1), QStringLiteral("client.test\n(10.0.0.1:5000)"));
  EXPECT_EQ(Label(lblServer, 1), QStringLiteral("server.test\n(10.0.0.2:80)"));
  EXPECT_EQ(Label(lblVLT, 1), QStringLiteral("127.0.0.1:1000"));
  EXPECT_EQ(Label(lblClient2VLT, 1), QStringLiteral("kind 16\n10:00:00.123"));
  EXPECT_EQ(Label(lblVLT2Server, 1), QStringLiteral("kind 17\n10:00:00.123"));
  EXPECT_EQ(Label(lblServer, 2), QString()) << "of what failed nothing is told";
  EXPECT_EQ(Label(lblClient, 3), QString());
  EXPECT_EQ(Cells(aniClient).at(3).place.height, 1200);
  EXPECT_EQ(Cells(aniServer).at(1).place.height, 840);
}

TEST_F(ConnectionDiagramTest, Linked_events_share_a_row) {
  SocketPairHistory& history =
      AddKinds(QStringLiteral("KEY1"), {{0, true}, {2}, {4}, {16, true}, {17}, {22, true}, {21}});
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(RowCount(), 4);
  EXPECT_EQ(Row(1),
            QStringLiteral("client ComputerComingOn.avi, left LightningBolt.avi, proxy ComputerOn.avi, "
                           "right LightningBoltGrey.avi, cloud Cloud.bmp"));
  EXPECT_EQ(Row(2), QStringLiteral("proxy ComputerOn.avi, right LightningBolt.avi, server ComputerOn.avi"));
  EXPECT_EQ(Row(3), QStringLiteral("client ComputerOn.avi, left C2SData.avi, proxy ComputerOn.avi, "
                                   "right C2SData.avi, server ComputerOn.avi"));
  EXPECT_EQ(Row(4), QStringLiteral("left DangleStart.avi, proxy ComputerOn.avi, right DangleStart.avi"));
  EXPECT_EQ(Figure(history, 5)->place, CellPlace(aniVLT2Server, 3));
}

TEST_F(ConnectionDiagramTest, An_event_over_the_link_of_the_one_before_leaves_it_its_figure) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{16, true}, {14}});
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Row(1), QStringLiteral("client ComputerOn.avi, left S2CData.avi, proxy ComputerOn.avi"));
  EXPECT_EQ(Label(lblClient2VLT, 1), QStringLiteral("kind 14\n10:00:00.123"));
  const Rect place = CellPlace(aniClient2VLT, 1);
  EXPECT_EQ(window.fraConnectionPanel.FigureAt(place.left, place.top), Figure(history, 2)) << "the top one";
  EXPECT_TRUE(window.HighlightEvent(Figure(history, 1)));
  EXPECT_EQ(Counter(), QStringLiteral("Event 1 of 2  "));
}

TEST_F(ConnectionDiagramTest, A_history_of_20_events_has_one_page_and_the_21st_only_lights_Next) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 20);
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 1  "));
  EXPECT_EQ(RowCount(), 20);
  EXPECT_FALSE(NextIsLit());
  put.clear();
  Live(history, {16});
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 2  "));
  EXPECT_TRUE(NextIsLit());
  EXPECT_TRUE(put.isEmpty());
  EXPECT_EQ(RowCount(), 20);
  EXPECT_EQ(Pages().mlngDiagramRow, 21) << "the row moves on while an earlier page is in view";
  window.barNavigation.ClickButton(QStringLiteral("Next"));
  EXPECT_EQ(RowCount(), 1);
  EXPECT_EQ(Pages().mlngDiagramRow, 1);
  EXPECT_EQ(Figure(history, 21)->tag, 21);
  EXPECT_FALSE(Figure(history, 20)) << "what is not drawn has no figure";
}

TEST_F(ConnectionDiagramTest, New_events_appear_at_the_end_and_nothing_is_redrawn) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{0, true}, {2}});
  Open(QStringLiteral("KEY1"));
  put.clear();
  Live(history, {4});
  EXPECT_EQ(Order(2), QStringLiteral("proxy ComputerOn.avi, right LightningBolt.avi, server ComputerOn.avi"));
  EXPECT_EQ(put.size(), 6) << "three pictures and their labels";
  Live(history, {16, true});
  Live(history, {17});
  EXPECT_EQ(RowCount(), 3);
  EXPECT_EQ(Row(3), QStringLiteral("client ComputerOn.avi, left C2SData.avi, proxy ComputerOn.avi, "
                                   "right C2SData.avi, server ComputerOn.avi"));
}

TEST_F(ConnectionDiagramTest, A_new_event_goes_on_in_the_row_that_a_redraw_left_open) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{0}, {16, true}});
  Open(QStringLiteral("KEY1"));
  Live(history, {17});
  EXPECT_EQ(RowCount(), 2);
  EXPECT_EQ(Row(2), QStringLiteral("client ComputerOn.avi, left C2SData.avi, proxy ComputerOn.avi, "
                                   "right C2SData.avi, server ComputerOn.avi"));
}

TEST_F(ConnectionDiagramTest, A_history_without_events_has_one_page_with_nothing_on_it) {
  const struct {
    int events;
    int pages;
  } rows[] = {{0, 1}, {1, 1}, {20, 1}, {21, 2}, {40, 2}, {41, 3}};
  for (const auto& row : rows)
    EXPECT_EQ(DiagramPages::PageCount(row.events), row.pages) << row.events;
  AddConnection(QStringLiteral("KEY1"), 0);
  window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(QStringLiteral("KEY1")));
  EXPECT_EQ(Pages().mintPageCount, 1);
  EXPECT_EQ(RowCount(), 0);
  EXPECT_FALSE(NextIsLit());
}

TEST_F(ConnectionDiagramTest, A_page_begins_with_the_whole_picture_of_an_event_that_follows_on) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 19);
  AddKind(history, {16, true});
  AddKind(history, {17});
  Open(QStringLiteral("KEY1"));
  window.barNavigation.ClickButton(QStringLiteral("Next"));
  EXPECT_EQ(Row(1), QStringLiteral("proxy ComputerOn.avi, right C2SData.avi, server ComputerOn.avi"));
}

TEST_F(ConnectionDiagramTest, Where_a_purge_has_moved_the_positions_the_page_begins_anew) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 5);
  Open(QStringLiteral("KEY1"));
  for (int i = 0; i < 1000; ++i) {
    history.mobjSocketPairEvents.RemoveFirst();
    Live(history, {16});
    ASSERT_EQ(RowCount(), 5);
  }
  EXPECT_EQ(Figure(history, 5)->tag, 5);
  EXPECT_EQ(Figure(history, 1)->tag, 1);
}

TEST_F(ConnectionDiagramTest, A_page_that_begins_anew_keeps_its_mark_and_its_place_on_the_screen) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 20);
  Open(QStringLiteral("KEY1"));
  window.HighlightEvent(Figure(history, 15));
  const auto markOnScreen = [this] {
    return window.fraConnectionPanel.Place().top + window.shpHighlight.Place().top;
  };
  const int before = markOnScreen();
  const int top = window.fraConnectionPanel.Place().top;
  ASSERT_LT(top, 0);
  for (int i = 0; i < 3; ++i)
    history.mobjSocketPairEvents.RemoveFirst();
  Live(history, {16});
  EXPECT_EQ(RowCount(), 18);
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(history, 12)->place));
  EXPECT_EQ(Counter(), QStringLiteral("Event 12 of 18  "));
  EXPECT_EQ(markOnScreen(), before);
  EXPECT_EQ(window.fraConnectionPanel.Place().top, top + 3 * 1600);
  // Its event goes, the place stays.
  window.HighlightEvent(Figure(history, 1));
  window.scrConnectionPanelVert.SetValue(100);
  history.mobjSocketPairEvents.RemoveFirst();
  Live(history, {16});
  EXPECT_FALSE(window.shpHighlight.Visible());
  EXPECT_EQ(window.fraConnectionPanel.Place().top, -1000);
  EXPECT_EQ(window.scrConnectionPanelVert.Value(), 100);
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(ConnectionDiagramTest, The_animation_option_decides_whether_cells_play_and_files_are_opened_anyway) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{0, true}, {2}, {19}});
  const auto playing = [this] {
    int count = 0;
    for (const auto& cells : window.fraConnectionPanel.Cells())
      count += static_cast<int>(
          std::count_if(cells.begin(), cells.end(), [](const auto& cell) { return cell.second.playing; }));
    return count;
  };
  chkAnimateConnectionDiagram.SetValue(0);
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(playing(), 0);
  EXPECT_EQ(Cells(aniClient).at(1).file, kResources + QStringLiteral("ComputerComingOn.avi"));
  window.PlayAnimations(true);
  EXPECT_EQ(playing(), 7);
  window.PlayAnimations(false);
  EXPECT_EQ(playing(), 0);
  chkAnimateConnectionDiagram.SetValue(1);
  Live(history, {4});
  EXPECT_EQ(playing(), 3) << "new cells go by the option";
}

TEST_F(ConnectionDiagramTest, Selecting_an_event_marks_its_link) {
  AddKinds(QStringLiteral("KEY1"), {{0, true}, {2}, {4}});
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Counter(), QStringLiteral("Events: 3  "));
  Click(QStringLiteral("KEY1-2"));
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(CellPlace(aniVLT2Server, 1)));
  EXPECT_EQ(Counter(), QStringLiteral("Event 2 of 3  "));
  window.UnhighlightEvent();
  EXPECT_FALSE(window.shpHighlight.Visible());
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(ConnectionDiagramTest, An_event_of_another_page_is_drawn_before_it_is_marked) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 50);
  Open(QStringLiteral("KEY1"));
  Click(QStringLiteral("KEY1-45"));
  EXPECT_EQ(Page(), QStringLiteral("Page 3 of 3  "));
  EXPECT_EQ(RowCount(), 10);
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(history, 45)->place));
  EXPECT_EQ(Counter(), QStringLiteral("Event 45 of 50  "));
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(ConnectionDiagramTest, After_a_purge_an_event_of_a_later_page_is_not_marked_nor_called_purged) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 30);
  Open(QStringLiteral("KEY1"));
  // What the purge does to the connection in view: its first event goes, and a redraw is asked for.
  history.mobjSocketPairEvents.RemoveFirst();
  window.RequestRedraw();
  Click(QStringLiteral("KEY1-25"));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 2  ")) << "the diagram is back on its first page";
  EXPECT_FALSE(window.shpHighlight.Visible());
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(ConnectionDiagramTest, An_event_without_its_figure_is_drawn_anew_and_one_that_is_gone_is_told) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 30);
  Open(QStringLiteral("KEY1"));
  history.mobjSocketPairEvents.Item(2)->mobjUIObject.reset();
  Click(QStringLiteral("KEY1-2"));
  EXPECT_EQ(TakeReports(), QStringList());
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(history, 2)->place));
  EXPECT_FALSE(window.HighlightEvent(nullptr));
  EXPECT_EQ(TakeReports(), QStringList{kPurged});
}

TEST_F(ConnectionDiagramTest, The_node_of_an_event_that_is_gone_says_so_in_either_view) {
  for (const bool diagram : {true, false}) {
    world.mGeneral.gblnConnectionDiagramSelected = diagram;
    const QString key = diagram ? QStringLiteral("KEY1") : QStringLiteral("KEY2");
    SocketPairHistory& history = AddConnection(key, 5);
    Open(key);
    history.mobjSocketPairEvents.RemoveFirst();
    history.mobjSocketPairEvents.RemoveFirst();
    window.UnhighlightEvent();
    Click(key + QStringLiteral("-5"));
    EXPECT_EQ(TakeReports(), QStringList{kPurged});
    EXPECT_EQ(window.mnodSelectedNode->Key(), key + QStringLiteral("-5"));
    EXPECT_EQ(window.lvwDetails.Count(), 0);
    EXPECT_FALSE(window.shpHighlight.Visible());
    Click(key + QStringLiteral("-3"));
    EXPECT_EQ(TakeReports(), QStringList());
    EXPECT_GT(window.lvwDetails.Count(), 0);
  }
}

TEST_F(ConnectionDiagramTest, An_event_that_is_selected_as_the_diagram_comes_into_view_is_marked) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 25);
  Open(QStringLiteral("KEY1"));
  const auto expectMarked = [&](qsizetype position) {
    EXPECT_TRUE(window.panDiagramOuter.Visible());
    EXPECT_TRUE(window.shpHighlight.Visible());
    ASSERT_TRUE(Figure(history, position));
    EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(history, position)->place));
    EXPECT_EQ(Counter(), QStringLiteral("Event %1 of 25  ").arg(position));
  };
  Click(PeerKey(history));
  ASSERT_FALSE(window.panDiagramOuter.Visible());
  window.tvwSockets.FoldByHand(Node(PeerKey(history)), true);
  window.tvwSockets.FoldByHand(Node(QStringLiteral("KEY1")), true);
  Click(QStringLiteral("KEY1-2"));
  expectMarked(2);
  window.mnuEventHistory.Click();
  Click(QStringLiteral("KEY1-23"));
  window.mnuConnectionDiagram.Click();
  expectMarked(23);
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(ConnectionDiagramTest, In_the_event_history_pages_are_counted_for_the_selected_event) {
  AddConnection(QStringLiteral("KEY1"), 3);
  AddConnection(QStringLiteral("KEY2"), 50);
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 1  "));
  window.mnuEventHistory.Click();
  Open(QStringLiteral("KEY2"));
  Click(QStringLiteral("KEY2-45"));
  EXPECT_EQ(Page(), QStringLiteral("Page 3 of 3  "));
}

TEST_F(ConnectionDiagramTest, An_event_that_came_while_an_event_was_selected_is_drawn_and_marked) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 3);
  Open(QStringLiteral("KEY1"));
  Click(QStringLiteral("KEY1-1"));
  Arrive(QStringLiteral("KEY1"));
  Arrive(QStringLiteral("KEY1"));
  ASSERT_FALSE(Figure(history, 5)) << "it is not drawn as it comes";
  Click(QStringLiteral("KEY1-5"));
  EXPECT_EQ(TakeReports(), QStringList());
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(Counter(), QStringLiteral("Event 5 of 5  "));
  ASSERT_TRUE(Figure(history, 5));
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(history, 5)->place));
}

TEST_F(ConnectionDiagramTest, An_event_is_drawn_and_marked_while_another_connection_is_in_view) {
  AddConnection(QStringLiteral("KEY1"), 3);
  SocketPairHistory& other = AddConnection(QStringLiteral("KEY2"), 4);
  Open(QStringLiteral("KEY2"));
  window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(QStringLiteral("KEY1")));
  Click(QStringLiteral("KEY2-4"));
  EXPECT_EQ(TakeReports(), QStringList());
  EXPECT_EQ(Counter(), QStringLiteral("Event 4 of 4  "));
  EXPECT_EQ(RowCount(), 4);
  ASSERT_TRUE(Figure(other, 4));
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(other, 4)->place));
}

TEST_F(ConnectionDiagramTest, An_arrow_steps_to_an_event_that_a_purge_moved_onto_the_page_in_view) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 24);
  frmEventDetails events(world.mGeneral, window);
  MainSurroundings withEvents = Around();
  withEvents.frmEventDetails = &events;
  withEvents.eventDetails = &events;
  window.SetSurroundings(withEvents);
  Open(QStringLiteral("KEY1"));
  ClickLink(Figure(history, 20));
  events.FaceActivated();
  history.mobjSocketPairEvents.RemoveFirst();
  history.mobjSocketPairEvents.RemoveFirst();
  ASSERT_FALSE(Figure(history, 19)) << "it was the 21st, on the next page";
  events.cmdRight[0].Click();
  EXPECT_EQ(TakeReports(), QStringList());
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(Counter(), QStringLiteral("Event 19 of 22  "));
  EXPECT_TRUE(events.txtData.Enabled());
}

TEST_F(ConnectionDiagramTest, The_event_window_marks_an_event_by_its_position_after_a_purge) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 8);
  Open(QStringLiteral("KEY1"));
  for (int i = 0; i < 4; ++i)
    history.mobjSocketPairEvents.RemoveFirst();
  frmEventDetails events(world.mGeneral, window);
  EXPECT_TRUE(events.SetDetails(window.mobjCurrentHistory, 2));
  EXPECT_EQ(Counter(), QStringLiteral("Event 2 of 4  "));
  EXPECT_EQ(Figure(history, 2)->tag, 2);
}

TEST_F(ConnectionDiagramTest, A_figure_does_not_outlive_its_page_nor_keep_its_event) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 3);
  Open(QStringLiteral("KEY1"));
  const std::weak_ptr<SocketEvent> event = history.mobjSocketPairEvents.Item(1);
  const auto figure = Figure(history, 1);
  history.mobjSocketPairEvents.RemoveFirst();
  EXPECT_TRUE(event.expired());
  EXPECT_FALSE(window.HighlightEvent(figure));
  Click(QStringLiteral("ROOT"));
  EXPECT_EQ(RowCount(), 0);
  EXPECT_FALSE(Figure(history, 1));
  EXPECT_EQ(TakeReports(), QStringList{kPurged});
}

TEST_F(ConnectionDiagramTest, A_click_on_a_link_opens_its_event_and_marks_it) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{0, true}, {2}, {4}});
  Open(QStringLiteral("KEY1"));
  window.mnuKeepOnTop.SetChecked(true);
  world.mJournal.Take();
  ClickLink(Figure(history, 3));
  EXPECT_EQ(world.mJournal.Take(), (QStringList{QStringLiteral("SetDetails KEY1 3"),
                                                QStringLiteral("show frmEventDetails over frmMain"),
                                                QStringLiteral("top-most frmEventDetails")}));
  EXPECT_EQ(Counter(), QStringLiteral("Event 3 of 3  "));
  Click(QStringLiteral("KEY1-1"));
  world.mJournal.Take();
  ClickLink(Figure(history, 2));
  EXPECT_EQ(world.mJournal.Take().first(), QStringLiteral("SetDetails KEY1 2"))
      << "from an event's node, too";
}

TEST_F(ConnectionDiagramTest, A_click_after_a_purge_opens_the_same_event_or_tells_that_it_is_gone) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 8);
  Open(QStringLiteral("KEY1"));
  const auto first = Figure(history, 1);
  const auto sixth = Figure(history, 6);
  for (int i = 0; i < 4; ++i)
    history.mobjSocketPairEvents.RemoveFirst();
  world.mJournal.Take();
  ClickLink(sixth);
  EXPECT_EQ(world.mJournal.Take().first(), QStringLiteral("SetDetails KEY1 2"));
  EXPECT_EQ(Counter(), QStringLiteral("Event 2 of 4  "));
  ClickLink(first);
  EXPECT_EQ(world.mJournal.Take(), QStringList());
  EXPECT_EQ(TakeReports(), QStringList{kPurged});
}

TEST_F(ConnectionDiagramTest, A_link_beyond_the_positions_of_the_event_window_is_marked_and_reported) {
  constexpr int kMany = 65'546;  // 10 in 16 bits
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 0);
  for (int i = 0; i < kMany; ++i)
    AddKind(history, {16});
  Click(QStringLiteral("PROTO1000"));
  Pages().mintCurrentPage = 3277;
  window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(QStringLiteral("KEY1")));
  // As if it were the socket's; a branch with all those events would take long.
  window.mnodSelectedNode = TreeView::Keep(Node(PeerKey(history)));
  window.mnodSelectedNode->SetTag(QStringLiteral("KEY1"));
  window.mnodSelectedNode->SetImage(kSocketImage);
  world.mJournal.Take();
  ASSERT_EQ(Figure(history, kMany)->tag, kMany);
  ClickLink(Figure(history, kMany));
  EXPECT_EQ(world.mJournal.Take(), QStringList()) << "no other event is shown for it";
  EXPECT_EQ(TakeReports(),
            QStringList{QStringLiteral("An error occurred while attempting to show the details of the event. "
                                       " The operating system reports: 6, Overflow")});
  EXPECT_EQ(Counter(), QStringLiteral("Event 65546 of 65546  "));
}

TEST_F(ConnectionDiagramTest, A_page_that_a_lowered_limit_took_away_gives_way_to_the_last) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 50);
  Open(QStringLiteral("KEY1"));
  window.barNavigation.ClickButton(QStringLiteral("Last"));
  ASSERT_EQ(Page(), QStringLiteral("Page 3 of 3  "));
  while (history.mobjSocketPairEvents.Count() > 25)
    history.mobjSocketPairEvents.RemoveFirst();
  window.DisplayConnectionDiagram(window.mobjCurrentHistory);
  EXPECT_EQ(Page(), QStringLiteral("Page 2 of 2  "));
  EXPECT_EQ(RowCount(), 5);
  EXPECT_FALSE(NextIsLit());
  while (!history.mobjSocketPairEvents.IsEmpty())
    history.mobjSocketPairEvents.RemoveFirst();
  window.DisplayConnectionDiagram(window.mobjCurrentHistory);
  EXPECT_EQ(Pages().mintCurrentPage, 0);
}

TEST_F(ConnectionDiagramTest, A_connection_that_was_cleared_meanwhile_still_marks_its_links) {
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{0}});
  const SocketPairHistoryRef held = logging.mobjSocketPairHistory.Item(QStringLiteral("KEY1"));
  Open(QStringLiteral("KEY1"));
  logging.mobjSocketPairHistory.Remove(QStringLiteral("KEY1"));
  world.mJournal.Take();
  ClickLink(Figure(history, 1));
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("show frmEventDetails over frmMain")});
  EXPECT_TRUE(window.shpHighlight.Visible());
}

TEST_F(ConnectionDiagramTest, A_highlight_scrolls_into_view_within_the_bars_limits) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 20);
  Open(QStringLiteral("KEY1"));
  window.FaceResized({}, 16000, 10500);
  const int view = window.panDiagramOuter.Place().height;
  EXPECT_EQ(window.fraConnectionPanel.Place().height, SurfaceHeight(20));
  EXPECT_EQ(window.scrConnectionPanelVert.Max(), (SurfaceHeight(20) - view) / 10);
  EXPECT_TRUE(window.scrConnectionPanelVert.Enabled());
  EXPECT_EQ(window.scrConnectionPanelVert.SmallChange(), 40);
  EXPECT_FALSE(window.scrConnectionPanelHoriz.Enabled()) << "all columns have room";
  window.HighlightEvent(Figure(history, 10));
  const Rect& mark = window.shpHighlight.Place();
  EXPECT_NEAR(window.fraConnectionPanel.Place().top, -(mark.Bottom() - view + view / 3), 5);
  EXPECT_EQ(window.scrConnectionPanelVert.Value(), -window.fraConnectionPanel.Place().top / 10);
  window.HighlightEvent(Figure(history, 20));
  EXPECT_EQ(window.scrConnectionPanelVert.Value(), window.scrConnectionPanelVert.Max());
  window.HighlightEvent(Figure(history, 1));
  EXPECT_EQ(window.fraConnectionPanel.Place().top, 0);
}

TEST_F(ConnectionDiagramTest, The_bars_move_the_surface_and_a_larger_window_brings_it_back) {
  AddConnection(QStringLiteral("KEY1"), 20);
  Open(QStringLiteral("KEY1"));
  window.FaceResized({}, 9000, 10500);
  EXPECT_TRUE(window.scrConnectionPanelHoriz.Enabled());
  window.scrConnectionPanelHoriz.SetValue(30);
  window.scrConnectionPanelVert.SetValue(100);
  EXPECT_EQ(window.fraConnectionPanel.Place().left, -300);
  EXPECT_EQ(window.fraConnectionPanel.Place().top, -1000);
  window.FaceResized({}, 16000, 10500);
  EXPECT_EQ(window.fraConnectionPanel.Place().left, 0);
  EXPECT_EQ(window.fraConnectionPanel.Place().top, -1000);
  Click(QStringLiteral("ROOT"));
  EXPECT_EQ(window.fraConnectionPanel.Place().top, 0);
  EXPECT_FALSE(window.scrConnectionPanelVert.Enabled());
}

TEST_F(ConnectionDiagramTest, The_last_row_never_ends_below_the_surface_nor_under_its_scroll_bar) {
  constexpr int kWords = 1580;  // from the top of a link to the end of the words below it
  constexpr int kBar = 285;
  // In each of these heights another part of the fourth row would have been cut off.
  for (int height = 8000; height < 12000; height += 100) {
    const QString key = QStringLiteral("KEY%1").arg(height);
    SocketPairHistory& history = AddConnection(key, 1);
    Open(key);
    window.FaceResized({}, 9000, height);
    ASSERT_TRUE(window.scrConnectionPanelHoriz.Enabled());
    for (int row = 1; row <= 8; ++row) {
      window.scrConnectionPanelVert.SetValue(window.scrConnectionPanelVert.Max());
      EXPECT_LE(window.fraConnectionPanel.Place().top + CellPlace(aniClient2VLT, row).top + kWords,
                window.panDiagramOuter.Place().height - kBar)
          << height << ' ' << row;
      Live(history, {16});
    }
    logging.mobjSocketPairHistory.Remove(key);
    Click(QStringLiteral("ROOT"));
  }
}

TEST_F(ConnectionDiagramTest, A_redraw_shows_its_progress_while_the_surface_is_hidden) {
  AddConnection(QStringLiteral("KEY1"), 4);
  QList<double> values;
  QObject::connect(&window.pgrRefresh, &Control::Changed, &window, [&] {
    if (!window.pgrRefresh.Visible() || values.contains(window.pgrRefresh.Value())) return;
    values.append(window.pgrRefresh.Value());
    EXPECT_FALSE(window.fraConnectionPanel.Visible());
    EXPECT_EQ(window.panDiagram.BackColor(), kButtonFace);
    EXPECT_EQ(window.panDiagramOuter.BackColor(), kButtonFace);
    EXPECT_EQ(window.pgrRefresh.Max(), 100);
    const Rect& bar = window.pgrRefresh.Place();
    const Rect& room = window.panDiagram.Place();
    EXPECT_NEAR(bar.left + bar.width / 2, room.width / 2, 1) << "centred";
    EXPECT_EQ(bar.top, room.height / 2);
  });
  window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(QStringLiteral("KEY1")));
  EXPECT_EQ(values, (QList<double>{0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 45, 62.5, 75, 87.5, 100}));
  EXPECT_FALSE(window.pgrRefresh.Visible());
  EXPECT_TRUE(window.fraConnectionPanel.Visible());
  EXPECT_EQ(window.panDiagram.BackColor(), kWhite);
  EXPECT_EQ(window.panDiagramOuter.BackColor(), kWhite);
}

TEST_F(ConnectionDiagramTest, What_fails_in_drawing_is_reported_and_the_diagram_goes_on) {
  const QString failed = QStringLiteral(
      "An error occurred while attempting to draw the socket event.  The operating system reports: ");
  SocketPairHistory& history = AddKinds(QStringLiteral("KEY1"), {{0}});
  Open(QStringLiteral("KEY1"));
  EXPECT_NO_THROW(Diagram().DrawEvent(2, 2, false, history)) << "there is no second event yet";
  const QStringList reports = TakeReports();
  ASSERT_EQ(reports.size(), 1);
  EXPECT_TRUE(reports.first().startsWith(failed)) << reports.first().toStdString();
  EXPECT_EQ(RowCount(), 1);
  Live(history, {4});
  EXPECT_EQ(Row(2), QStringLiteral("proxy ComputerOn.avi, right LightningBolt.avi, server ComputerOn.avi"));
  EXPECT_TRUE(Figure(history, 2));
  EXPECT_EQ(TakeReports(), QStringList());
  window.ReportPicture(Failure(FailureNumber::kFileNotFound));
  EXPECT_EQ(TakeReports(), QStringList{failed + QStringLiteral("53, File not found")});
}

}  // namespace
}  // namespace veltrane
