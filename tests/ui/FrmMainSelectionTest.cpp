// Selecting in the tree, its context menu, the grid, and the diagram's pages.
#include "tests/ui/FrmMainTest.h"

namespace veltrane {
namespace {

/// With the event history as the chosen view.
struct FrmMainSelectionTest : FrmMainTest {
  FrmMainSelectionTest() {
    Show();
    world.mGeneral.gblnConnectionDiagramSelected = false;
  }
  QStringList Rows() const {
    QStringList rows;
    for (qsizetype i = 1; i <= window.lvwDetails.Count(); ++i)
      rows.append(window.lvwDetails.Item(i).Key());
    return rows;
  }
  void DoubleClickRow(const QString& key) {
    window.lvwDetails.ClickItem(window.lvwDetails.Item(key));
    window.lvwDetails.DoubleClick();
  }
  bool SaveIsPossible() const {
    EXPECT_EQ(window.mnuSaveHistory.Enabled(), window.barToolbar.ButtonEnabled(QStringLiteral("SaveData")));
    return window.mnuSaveHistory.Enabled();
  }
};

TEST_F(FrmMainSelectionTest, Branches_open_level_by_level_and_the_grid_follows) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 3);
  AddConnection(QStringLiteral("KEY2"), 1, QStringLiteral("10.0.0.9"));
  AddConnection(QStringLiteral("KEY3"), 1, QStringLiteral("10.0.0.1"), QStringLiteral("10.0.0.2"), 25);
  Click(QStringLiteral("PROTO1000"));
  EXPECT_EQ(Node(QStringLiteral("PROTO1000")).ChildCount(), 2);
  EXPECT_TRUE(Node(QStringLiteral("PROTO1000")).Expanded());
  EXPECT_EQ(Rows(), (QStringList{QStringLiteral("KEY1"), QStringLiteral("KEY2")}));
  EXPECT_EQ(Columns().size(), 9);
  Click(PeerKey(history));
  EXPECT_EQ(Node(PeerKey(history)).ChildCount(), 1);
  EXPECT_EQ(Rows(), QStringList{QStringLiteral("KEY1")});
  Click(QStringLiteral("KEY1"));
  EXPECT_EQ(Node(QStringLiteral("KEY1")).ChildCount(), 3);
  EXPECT_EQ(Columns().size(), 3);
  EXPECT_EQ(Rows().size(), 3);
  EXPECT_EQ(window.lvwDetails.Item(3).SubItem(2), QStringLiteral("3"));
  Click(QStringLiteral("KEY1-2"));
  EXPECT_EQ(Columns().size(), 2);
  EXPECT_EQ(window.lvwDetails.Item(QStringLiteral("Data")).SubItem(1), QStringLiteral("xx"));
  EXPECT_EQ(window.mobjCurrentHistory.get(), &history);
  EXPECT_EQ(window.lblDetails.PanelText(1), QStringLiteral("Details for happened"));
  EXPECT_TRUE(error.txtErrorMessage.Text().isEmpty());
}

TEST_F(FrmMainSelectionTest, Column_sets_have_their_keys_captions_and_widths) {
  window.ConfigureGridForAllActivity();
  EXPECT_EQ(Columns().join(u'\n'),
            QStringLiteral("AA1 From 1964\nAA2 To 2190\nAA3 Protocol 1035\nAA4 Started 1335\n"
                           "AA5 Last Event 1140\nAA6 Last State 1830\nAA7 Bytes C2S 975\n"
                           "AA8 Bytes S2C 900\nAA9 Event Count 1049"));
  window.ConfigureGridForConnection();
  EXPECT_EQ(Columns().join(u'\n'), QStringLiteral("SC1 Time 1440\nSC2 Description 4229\nSC3 Bytes 1440"));
  window.ConfigureGridForEvent();
  EXPECT_EQ(Columns().join(u'\n'), QStringLiteral("ED1 Item 2129\nED2 Value 4289"));
  world.Save(QStringLiteral("MainForm"), QStringLiteral("ED2"), QStringLiteral("6000"));
  window.ConfigureGridForEvent();
  EXPECT_EQ(Columns().last(), QStringLiteral("ED2 Value 6000"));
}

TEST_F(FrmMainSelectionTest, A_second_click_on_an_open_connection_closes_what_is_below_and_loads_nothing) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 3);
  Open(QStringLiteral("KEY1"));
  const QString peer = PeerKey(history);
  AddConnection(QStringLiteral("KEY2"), 1);  // would come up if the branch were loaded again
  Click(peer);
  EXPECT_FALSE(Node(QStringLiteral("KEY1")).Expanded());
  EXPECT_EQ(Node(QStringLiteral("KEY1")).ChildCount(), 0);
  EXPECT_TRUE(Node(peer).Expanded());
  EXPECT_FALSE(window.tvwSockets.Contains(QStringLiteral("KEY2")));
}

TEST_F(FrmMainSelectionTest, An_open_connection_node_whose_connections_went_stays_expanded_with_no_children) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 3);
  Open(QStringLiteral("KEY1"));
  Click(PeerKey(history));
  window.tvwSockets.Remove(QStringLiteral("KEY1"));
  Click(PeerKey(history));
  EXPECT_TRUE(Node(PeerKey(history)).Expanded());
  EXPECT_EQ(Node(PeerKey(history)).ChildCount(), 0) << "it was open, so it is not loaded again";
}

TEST_F(FrmMainSelectionTest, Of_several_open_branches_only_the_selected_path_stays) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 5);
  AddConnection(QStringLiteral("KEY2"), 5, QStringLiteral("10.0.0.9"), QStringLiteral("10.0.0.2"), 25);
  Open(QStringLiteral("KEY1"));
  const qsizetype before = window.tvwSockets.Count();
  Click(QStringLiteral("PROTO25"));
  EXPECT_EQ(Node(QStringLiteral("PROTO1000")).ChildCount(), 0);
  EXPECT_FALSE(Node(QStringLiteral("PROTO1000")).Expanded());
  EXPECT_FALSE(window.tvwSockets.Contains(PeerKey(history)));
  EXPECT_TRUE(Node(QStringLiteral("ROOT")).Expanded());
  EXPECT_EQ(window.tvwSockets.Count(), before - 7 + 1) << "a peer, a connection, five events; one new peer";
}

TEST_F(FrmMainSelectionTest, An_unrelated_open_node_last_in_the_walk_has_the_children_loaded) {
  AddConnection(QStringLiteral("KEY1"), 1);
  AddConnection(QStringLiteral("KEY2"), 1, QStringLiteral("10.0.0.9"), QStringLiteral("10.0.0.2"), 25);
  Click(QStringLiteral("PROTO1000"));
  AddConnection(QStringLiteral("KEY3"), 1, QStringLiteral("10.0.0.77"));
  Click(QStringLiteral("PROTO1000"));
  EXPECT_EQ(Node(QStringLiteral("PROTO1000")).ChildCount(), 1) << "it was open: nothing is loaded";
  // PROTO25 was added after PROTO1000, so the walk ends with it.
  Node(QStringLiteral("PROTO25")).SetExpanded(true);
  Click(QStringLiteral("PROTO1000"));
  EXPECT_EQ(Node(QStringLiteral("PROTO1000")).ChildCount(), 2);
  EXPECT_FALSE(Node(QStringLiteral("PROTO25")).Expanded());
}

TEST_F(FrmMainSelectionTest, The_root_closes_everything_and_builds_its_level_anew) {
  AddConnection(QStringLiteral("KEY1"), 5);
  Open(QStringLiteral("KEY1"));
  world.AddPort(4000, kDontUse, QStringLiteral("New"));
  Click(QStringLiteral("ROOT"));
  EXPECT_EQ(window.tvwSockets.Count(), 5);
  EXPECT_TRUE(Node(QStringLiteral("ROOT")).Expanded());
  EXPECT_EQ(Node(QStringLiteral("PROTO4000")).Text(), QStringLiteral("New (4000) - Not Listening"));
  EXPECT_EQ(Rows(), QStringList{QStringLiteral("KEY1")});
}

TEST_F(FrmMainSelectionTest, Paths_are_told_by_this_table) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 1);
  Open(QStringLiteral("KEY1"));
  const QString root = QStringLiteral("ROOT");
  const QString port = QStringLiteral("PROTO1000");
  const QString other = QStringLiteral("PROTO25");
  const QString peer = PeerKey(history);
  const QString key = QStringLiteral("KEY1");
  const struct {
    QString a;
    QString b;
    bool related;
    bool wasClosed;
  } rows[] = {{root, root, false, true}, {port, root, false, true},  {key, root, false, true},
              {port, port, true, false}, {key, key, true, false},    {peer, port, false, false},
              {key, peer, false, false}, {root, port, true, true},   {root, key, true, true},
              {port, key, true, true},   {peer, key, true, true},    {other, key, false, true},
              {key, port, false, true},  {other, port, false, true}, {key, other, false, true}};
  for (const auto& row : rows) {
    bool wasClosed = !row.wasClosed;
    EXPECT_EQ(IsNodeRelated(Node(row.a), Node(row.b), wasClosed), row.related)
        << row.a.toStdString() << ' ' << row.b.toStdString();
    EXPECT_EQ(wasClosed, row.wasClosed) << row.a.toStdString() << ' ' << row.b.toStdString();
  }
}

TEST_F(FrmMainSelectionTest, A_node_that_has_lost_its_tree_is_reported_and_keeps_the_result) {
  const TreeNodeRef lost = TreeView::Keep(Node(QStringLiteral("PROTO25")));
  window.tvwSockets.Remove(*lost);
  bool wasClosed = false;
  EXPECT_FALSE(IsNodeRelated(Node(QStringLiteral("PROTO1000")), *lost, wasClosed));
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].startsWith(
      QStringLiteral("An error occurred while attempting to determine whether a node is related to another "
                     "node.  The operating system reports: 91, ")));
}

TEST_F(FrmMainSelectionTest, A_failing_click_is_reported_and_ends_there) {
  AddConnection(QStringLiteral("KEY1"), 1);
  Open(QStringLiteral("KEY1"));
  logging.mobjSocketPairHistory.Clear();
  Click(QStringLiteral("KEY1-1"));
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].startsWith(
      QStringLiteral("An error occurred while attempting to process the node click in the tree view.  The "
                     "operating system reports: ")));
}

TEST_F(FrmMainSelectionTest, Saving_is_possible_for_connections_and_events_alone) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 1);
  Open(QStringLiteral("KEY1"));
  EXPECT_TRUE(SaveIsPossible());
  Click(QStringLiteral("KEY1-1"));
  EXPECT_TRUE(SaveIsPossible());
  for (const QString& key : {PeerKey(history), QStringLiteral("PROTO1000"), QStringLiteral("ROOT")}) {
    Click(key);
    EXPECT_FALSE(SaveIsPossible()) << key.toStdString();
  }
}

TEST_F(FrmMainSelectionTest, A_branch_that_was_folded_by_hand_opens_again_with_a_click) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Open(QStringLiteral("KEY1"));
  for (const char* key : {"KEY1", "ROOT"}) {
    Node(QLatin1String(key)).SetExpanded(false);
    const qsizetype children = Node(QLatin1String(key)).ChildCount();
    Click(QLatin1String(key));
    EXPECT_TRUE(Node(QLatin1String(key)).Expanded());
    EXPECT_EQ(Node(QLatin1String(key)).ChildCount(), children);
  }
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainSelectionTest, A_double_click_in_the_tree_expands_and_never_folds) {
  Node(QStringLiteral("ROOT")).SetExpanded(false);
  window.tvwSockets.DoubleClick();
  EXPECT_TRUE(Node(QStringLiteral("ROOT")).Expanded());
  window.tvwSockets.DoubleClick();
  EXPECT_TRUE(Node(QStringLiteral("ROOT")).Expanded());
}

TEST_F(FrmMainSelectionTest, New_events_come_in_below_an_open_connection_and_the_selection_stays) {
  world.mGeneral.gblnRecordEvents = true;
  world.SetDestination(1000, QStringLiteral("10.0.0.2"), 80);
  world.mSockets.OnCreate = [](StubSocket& socket) { socket.mLocalPort = 1000; };
  Listener().Request(1);
  StubSocket* server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
  Click(QStringLiteral("PROTO1000"));
  Click(Node(QStringLiteral("PROTO1000")).Child(0).Key());
  Click(QStringLiteral("KEY1"));
  const qsizetype before = Node(QStringLiteral("KEY1")).ChildCount();
  server->Arrive("hello");
  EXPECT_GT(Node(QStringLiteral("KEY1")).ChildCount(), before);
  EXPECT_EQ(Rows().size(), Node(QStringLiteral("KEY1")).ChildCount());
  EXPECT_EQ(window.tvwSockets.SelectedItem()->Key(), QStringLiteral("KEY1"));
}

TEST_F(FrmMainSelectionTest, The_details_window_is_cleared_and_follows_while_it_is_open) {
  AddConnection(QStringLiteral("KEY1"), 2);
  Open(QStringLiteral("KEY1"));
  world.mJournal.Take();
  Click(QStringLiteral("KEY1-1"));
  EXPECT_EQ(world.mJournal.Take(), QStringList{QStringLiteral("ClearDetails")});
  eventDetails.Show();
  world.mJournal.Take();
  Click(QStringLiteral("KEY1-2"));
  EXPECT_EQ(world.mJournal.Take(),
            (QStringList{QStringLiteral("ClearDetails"), QStringLiteral("SetDetails KEY1 2")}));
}

// The context menu.

TEST_F(FrmMainSelectionTest, A_right_click_on_a_port_opens_the_menu_at_the_mouse) {
  int x = 0;
  int y = 0;
  QObject::connect(&window.mnuPopup, &PopUpMenu::Asked, &window, [&](int left, int top) {
    x = left;
    y = top;
  });
  RightClick(QStringLiteral("PROTO1000"));
  EXPECT_EQ(x, window.tvwSockets.Place().left + 30);
  EXPECT_EQ(y, window.tvwSockets.Place().top + 60);
  EXPECT_EQ(window.mnuPopup.Tag(), QStringLiteral("1000"));
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("PROTO1000"));
  EXPECT_TRUE(window.mnuStopListening.Enabled());
  EXPECT_TRUE(window.mnuProtocol.Enabled());
  EXPECT_FALSE(window.mnuSaveHistoryPopUp.Enabled());
  RightClick(QStringLiteral("PROTO25"));
  EXPECT_FALSE(window.mnuStopListening.Enabled()) << "an idle port";
}

TEST_F(FrmMainSelectionTest, Stop_listening_stops_the_port_and_says_so) {
  RightClick(QStringLiteral("PROTO1000"));
  window.mnuStopListening.Click();
  EXPECT_EQ(world.Get(kProtocols, QStringLiteral("1000")), kDontUse);
  EXPECT_NE(Listener().State(), SocketState::kListening);
  EXPECT_EQ(Node(QStringLiteral("PROTO1000")).Text(), QStringLiteral("Apps (1000) - Not Listening"));
}

TEST_F(FrmMainSelectionTest, Protocol_shows_the_ports_row_in_the_configuration_with_no_owner) {
  RightClick(QStringLiteral("PROTO1000"));
  world.mJournal.Take();
  window.mnuKeepOnTop.Click();
  window.mnuProtocol.Click();
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("top-most frmMain"), QStringLiteral("SelectPort KEY1000"),
                         QStringLiteral("show frmConfigure"), QStringLiteral("top-most frmConfigure")}));
}

TEST_F(FrmMainSelectionTest, A_right_click_on_a_connection_or_event_offers_to_save) {
  AddConnection(QStringLiteral("KEY1"), 1);
  Open(QStringLiteral("KEY1"));
  int menus = 0;
  QObject::connect(&window.mnuPopup, &PopUpMenu::Asked, &window, [&] { ++menus; });
  for (const char* key : {"KEY1", "KEY1-1"}) {
    RightClick(QLatin1String(key));
    EXPECT_FALSE(window.mnuProtocol.Enabled());
    EXPECT_FALSE(window.mnuStopListening.Enabled());
    EXPECT_TRUE(window.mnuSaveHistoryPopUp.Enabled());
  }
  EXPECT_EQ(menus, 2);
  world.mJournal.Take();
  window.mnuSaveHistoryPopUp.Click();
  EXPECT_EQ(world.mJournal.lines, QStringList{QStringLiteral("show frmSaveHistory over frmMain")});
}

TEST_F(FrmMainSelectionTest, A_right_click_on_a_dynamically_allocated_port_selects_and_gives_no_menu) {
  int menus = 0;
  QObject::connect(&window.mnuPopup, &PopUpMenu::Asked, &window, [&] { ++menus; });
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 1);
  Click(QStringLiteral("PROTO1000"));
  for (const QString& key : {QStringLiteral("PROTO2000"), QStringLiteral("ROOT")}) {
    RightClick(key);
    EXPECT_EQ(window.mnodSelectedNode->Key(), key);
    EXPECT_FALSE(SaveIsPossible());
  }
  Click(QStringLiteral("PROTO1000"));
  RightClick(PeerKey(history));
  EXPECT_EQ(window.mnodSelectedNode->Key(), PeerKey(history));
  EXPECT_EQ(menus, 0);
}

TEST_F(FrmMainSelectionTest, A_right_click_off_any_node_and_one_on_a_port_without_a_socket_end_silently) {
  window.tvwSockets.MouseDown(nullptr, true, 0, 0);
  world.mGeneral.gobjListening->mcolListeningSocket.Remove(QStringLiteral("KEY1000"));
  RightClick(QStringLiteral("PROTO1000"));
  window.tvwSockets.MouseDown(&Node(QStringLiteral("PROTO25")), false, 0, 0);
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("ROOT"));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

// The grid.

TEST_F(FrmMainSelectionTest, A_click_on_a_header_sorts_and_a_second_one_turns_the_order) {
  ListView& grid = window.lvwDetails;
  grid.ClickColumn(3);
  EXPECT_TRUE(grid.Sorted());
  EXPECT_EQ(grid.SortKey(), 2);
  EXPECT_EQ(grid.SortOrder(), 0);
  grid.ClickColumn(3);
  EXPECT_EQ(grid.SortOrder(), 1);
  grid.ClickColumn(3);
  EXPECT_EQ(grid.SortOrder(), 0);
  grid.SetSortOrder(1);
  grid.ClickColumn(1);
  EXPECT_EQ(grid.SortKey(), 0);
  EXPECT_EQ(grid.SortOrder(), 0);
}

TEST_F(FrmMainSelectionTest, Bytes_are_sorted_as_text_so_9_comes_after_10000) {
  AddConnection(QStringLiteral("KEY1"), 1).mlngBytesC2S = 9;
  AddConnection(QStringLiteral("KEY2"), 1).mlngBytesC2S = 10000;
  Click(QStringLiteral("ROOT"));
  window.lvwDetails.ClickColumn(7);
  const ListModel model(window.lvwDetails);
  EXPECT_EQ(model.index(0, 6).data().toString(), QStringLiteral("10000"));
  EXPECT_EQ(model.index(1, 6).data().toString(), QStringLiteral("9"));
}

TEST_F(FrmMainSelectionTest, Double_clicks_lead_from_all_activity_down_to_the_details_of_an_event) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Click(QStringLiteral("ROOT"));
  DoubleClickRow(QStringLiteral("KEY1"));
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
  EXPECT_EQ(window.tvwSockets.SelectedItem()->Key(), QStringLiteral("KEY1"));
  EXPECT_TRUE(Node(QStringLiteral("KEY1")).Expanded());
  DoubleClickRow(QStringLiteral("KEY1-2"));
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1-2"));
  window.mnuKeepOnTop.Click();
  world.mJournal.Take();
  DoubleClickRow(QStringLiteral("Data"));
  EXPECT_EQ(world.mJournal.lines, (QStringList{QStringLiteral("SetDetails KEY1 2"),
                                               QStringLiteral("show frmEventDetails over frmMain"),
                                               QStringLiteral("top-most frmEventDetails")}));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainSelectionTest, A_row_whose_server_is_not_known_leads_to_the_node_with_an_empty_server) {
  AddConnection(QStringLiteral("KEY1"), 1, QStringLiteral("10.0.0.1"), QString());
  Click(QStringLiteral("ROOT"));
  EXPECT_EQ(window.lvwDetails.Item(QStringLiteral("KEY1")).SubItem(1), QStringLiteral("<NA>"));
  DoubleClickRow(QStringLiteral("KEY1"));
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
}

TEST_F(FrmMainSelectionTest, Without_such_a_node_the_double_click_ends_silently) {
  AddConnection(QStringLiteral("KEY1"), 1);
  Click(QStringLiteral("ROOT"));
  window.lvwDetails.Item(QStringLiteral("KEY1")).SetSubItem(1, QStringLiteral("<NA>"));
  DoubleClickRow(QStringLiteral("KEY1"));
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("PROTO1000")) << "as far as it got";
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainSelectionTest, A_row_whose_history_was_purged_and_no_row_do_nothing) {
  AddConnection(QStringLiteral("KEY1"), 1);
  Click(QStringLiteral("ROOT"));
  window.lvwDetails.DoubleClick();
  logging.mobjSocketPairHistory.Clear();
  DoubleClickRow(QStringLiteral("KEY1"));
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("ROOT"));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

// Grid or diagram, and pages.

struct FrmMainDiagramTest : FrmMainSelectionTest {
  FrmMainDiagramTest() { world.mGeneral.gblnConnectionDiagramSelected = true; }
  QString Buttons() const {
    QString text;
    for (const ToolBar::Button& button : window.barNavigation.Buttons())
      text += button.enabled ? button.key.left(1) : QStringLiteral("-");
    return text;
  }
  QString Counter() const { return window.lblDetails.PanelText(2); }
  QString Page() const { return window.lblDetails.PanelText(3); }
  void Turn(const char* key) { window.barNavigation.ClickButton(QLatin1String(key)); }
};

TEST_F(FrmMainDiagramTest, The_diagram_lies_over_the_grid_for_connections_and_events_alone) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 3);
  Click(QStringLiteral("PROTO1000"));
  Click(PeerKey(history));
  EXPECT_FALSE(window.panDiagramOuter.Visible());
  Click(QStringLiteral("KEY1"));
  EXPECT_TRUE(window.panDiagramOuter.Visible());
  EXPECT_EQ(window.panDiagramOuter.Place(), window.lvwDetails.Place());
  EXPECT_EQ(window.lvwDetails.Count(), 0) << "a grid that nobody sees is not filled";
  EXPECT_EQ(window.mobjCurrentHistory.get(), &history);
  Click(QStringLiteral("KEY1-2"));
  EXPECT_TRUE(window.panDiagramOuter.Visible());
  Click(QStringLiteral("ROOT"));
  EXPECT_FALSE(window.panDiagramOuter.Visible());
}

TEST_F(FrmMainDiagramTest, The_event_history_uncovers_the_grid_and_fills_it) {
  AddConnection(QStringLiteral("KEY1"), 3);
  Open(QStringLiteral("KEY1"));
  window.mnuEventHistory.Click();
  EXPECT_FALSE(window.panDiagramOuter.Visible());
  EXPECT_EQ(window.lvwDetails.Count(), 3);
  Click(QStringLiteral("KEY1-2"));
  window.mnuConnectionDiagram.Click();
  EXPECT_TRUE(window.panDiagramOuter.Visible());
  EXPECT_EQ(window.mobjCurrentHistory->mstrSocketPairKey, QStringLiteral("KEY1"));
}

TEST_F(FrmMainDiagramTest, The_event_history_disables_the_buttons_and_the_diagram_enables_them_again) {
  AddConnection(QStringLiteral("KEY1"), 41);
  Open(QStringLiteral("KEY1"));
  ASSERT_EQ(Buttons(), QStringLiteral("--NL"));
  window.mnuEventHistory.Click();
  EXPECT_EQ(Buttons(), QStringLiteral("----"));
  window.mnuConnectionDiagram.Click();
  EXPECT_EQ(Buttons(), QStringLiteral("--NL"));
}

TEST_F(FrmMainDiagramTest, The_event_history_keeps_counting_what_the_diagram_showed_last) {
  AddConnection(QStringLiteral("KEY1"), 3);
  AddConnection(QStringLiteral("KEY2"), 5);
  Open(QStringLiteral("KEY1"));
  window.mnuEventHistory.Click();
  Click(QStringLiteral("KEY2"));
  EXPECT_EQ(Counter(), QStringLiteral("Events: 3  "));
  window.mnuConnectionDiagram.Click();
  EXPECT_EQ(Counter(), QStringLiteral("Events: 5  "));
  window.mnuEventHistory.Click();
  Click(QStringLiteral("KEY2-4"));
  EXPECT_EQ(Counter(), QStringLiteral("Events: 5  "));
}

TEST_F(FrmMainDiagramTest, Pages_turn_and_the_buttons_tell_where_there_is_more) {
  AddConnection(QStringLiteral("KEY1"), 41);
  EXPECT_EQ(Buttons(), QStringLiteral("----"));
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Buttons(), QStringLiteral("--NL"));
  EXPECT_EQ(Counter(), QStringLiteral("Events: 41  "));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 3  "));
  Turn("Next");
  EXPECT_EQ(Buttons(), QStringLiteral("FPNL"));
  Turn("Last");
  EXPECT_EQ(Buttons(), QStringLiteral("FP--"));
  EXPECT_EQ(Page(), QStringLiteral("Page 3 of 3  "));
  Turn("Previous");
  EXPECT_EQ(Page(), QStringLiteral("Page 2 of 3  "));
  Turn("First");
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 3  "));
  window.shpHighlight.SetVisible(true);
  Pages().mintCurrentEvent = 7;
  window.AddConnectionDiagramEvent(window.mobjCurrentHistory);
  EXPECT_EQ(Counter(), QStringLiteral("Event 7 of 41  "));
  Click(QStringLiteral("PROTO1000"));
  EXPECT_EQ(Counter(), QString());
  EXPECT_EQ(Page(), QString());
  EXPECT_EQ(Buttons(), QStringLiteral("----"));
}

TEST_F(FrmMainDiagramTest, The_21st_event_gives_a_second_page_while_the_first_stays) {
  SocketPairHistory& history = AddConnection(QStringLiteral("KEY1"), 20);
  Open(QStringLiteral("KEY1"));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 1  "));
  EXPECT_EQ(Buttons(), QStringLiteral("----"));
  AddEvent(history);
  window.AddConnectionDiagramEvent(window.mobjCurrentHistory);
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 2  "));
  EXPECT_EQ(Buttons(), QStringLiteral("--NL"));
}

TEST_F(FrmMainDiagramTest, An_event_of_another_page_turns_to_it_and_a_purge_to_the_first) {
  AddConnection(QStringLiteral("KEY1"), 50);
  Open(QStringLiteral("KEY1"));
  Click(QStringLiteral("KEY1-41"));
  EXPECT_EQ(Page(), QStringLiteral("Page 3 of 3  "));
  Click(QStringLiteral("KEY1-20"));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 3  "));
  Click(QStringLiteral("KEY1-21"));
  window.RequestRedraw();
  Click(QStringLiteral("KEY1-22"));
  EXPECT_EQ(Page(), QStringLiteral("Page 1 of 3  "));
  EXPECT_FALSE(window.gblnRequestRedraw);
  EXPECT_EQ(Counter(), QStringLiteral("Events: 50  ")) << "it stands on another page, so nothing is marked";
  EXPECT_EQ(world.mErrors.mTexts, QStringList()) << "and it is not gone";
  Click(QStringLiteral("KEY1-22"));
  EXPECT_EQ(Page(), QStringLiteral("Page 2 of 3  "));
  EXPECT_EQ(Counter(), QStringLiteral("Event 22 of 50  "));
  window.RequestRedraw();
  Click(QStringLiteral("KEY1-7"));
  EXPECT_EQ(Counter(), QStringLiteral("Event 7 of 50  ")) << "one of the first page is marked at once";
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmMainDiagramTest, A_minimised_window_leaves_its_counters) {
  AddConnection(QStringLiteral("KEY1"), 21);
  Open(QStringLiteral("KEY1"));
  window.FaceStateChanged(WindowState::kMinimized);
  AddConnection(QStringLiteral("KEY2"), 1);
  window.DisplayConnectionDiagram(logging.mobjSocketPairHistory.Item(QStringLiteral("KEY2")));
  EXPECT_EQ(Counter(), QStringLiteral("Events: 21  "));
  EXPECT_EQ(Buttons(), QStringLiteral("----"));
}

TEST(DiagramPagesTest, An_event_finds_its_page_from_both_sides) {
  const struct {
    qint16 page;
    qint16 event;
    qint16 expected;
  } rows[] = {{0, 1, 0},  {0, 20, 0}, {0, 21, 1}, {0, 41, 2}, {2, 41, 2}, {2, 60, 2},
              {2, 40, 1}, {2, 1, 0},  {1, 20, 0}, {1, 21, 1}, {1, 61, 3}, {5, 121, 6}};
  for (const auto& row : rows) {
    DiagramPages pages;
    pages.mintCurrentPage = row.page;
    EXPECT_EQ(pages.CheckForPageChange(row.event), row.page != row.expected) << row.event;
    EXPECT_EQ(pages.mintCurrentPage, row.expected) << row.event;
  }
}

}  // namespace
}  // namespace veltrane
