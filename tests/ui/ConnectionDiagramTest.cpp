// The connection diagram as the main window draws it.
#include "tests/ui/ConnectionDiagramTest.h"

namespace veltrane {
namespace {

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

}  // namespace
}  // namespace veltrane
