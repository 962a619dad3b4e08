// The connection diagram as the main window marks and scrolls it, and as events and purges change it.
#include "tests/ui/ConnectionDiagramTest.h"

namespace veltrane {
namespace {

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
