// The connection diagram of a connection that a limit of events holds down.
#include "tests/ui/ConnectionDiagramTest.h"

namespace veltrane {
namespace {

struct DiagramPurgeTest : ConnectionDiagramTest {
  DiagramPurgeTest() { around.mPurge.mMaximumEventCount = QStringLiteral("200"); }
  /// A connection with 200 events, with a page in view.
  SocketPairHistory& Begin(const QString& button) {
    SocketPairHistory& history = AddConnection(kKey, 200);
    Open(kKey);
    window.barNavigation.ClickButton(button);
    return history;
  }
  void ArriveAndPurge(int events) {
    for (int i = 0; i < events; ++i)
      Arrive(kKey);
    logging.KillDeadSocketConnections();
  }
  void ExpectNewestOnLastPage(const SocketPairHistory& history) {
    EXPECT_EQ(Page(), QStringLiteral("Page 10 of 10  "));
    EXPECT_FALSE(NextIsLit());
    EXPECT_EQ(RowCount(), kEventsPerPage);
    for (int position = 181; position <= 200; ++position) {
      ASSERT_TRUE(Figure(history, position)) << position;
      EXPECT_EQ(Figure(history, position)->tag, position);
    }
  }

  const QString kKey = QStringLiteral("KEY1");
};

TEST_F(DiagramPurgeTest, The_last_page_of_a_full_connection_goes_on_with_the_newest_events) {
  SocketPairHistory& history = Begin(QStringLiteral("Last"));
  for (int turn = 0; turn < 50; ++turn) {
    ArriveAndPurge(1);
    ExpectNewestOnLastPage(history);
  }
  ArriveAndPurge(30);
  ExpectNewestOnLastPage(history);
  EXPECT_EQ(TakeReports(), QStringList());
}

TEST_F(DiagramPurgeTest, A_page_that_only_begins_is_left_for_the_last_one) {
  SocketPairHistory& history = Begin(QStringLiteral("Last"));
  Arrive(kKey);
  ASSERT_TRUE(NextIsLit());
  window.barNavigation.ClickButton(QStringLiteral("Next"));
  ASSERT_EQ(Page(), QStringLiteral("Page 11 of 11  "));
  ASSERT_EQ(RowCount(), 1);
  logging.KillDeadSocketConnections();
  ExpectNewestOnLastPage(history);
}

TEST_F(DiagramPurgeTest, A_reader_on_an_earlier_page_is_not_disturbed) {
  SocketPairHistory& history = Begin(QStringLiteral("First"));
  window.barNavigation.ClickButton(QStringLiteral("Next"));
  window.barNavigation.ClickButton(QStringLiteral("Next"));
  const auto figure = Figure(history, 45);
  window.HighlightEvent(figure);
  const Rect mark = window.shpHighlight.Place();
  put.clear();
  ArriveAndPurge(1);
  ArriveAndPurge(1);
  EXPECT_EQ(Page(), QStringLiteral("Page 3 of 10  "));
  EXPECT_TRUE(NextIsLit());
  EXPECT_TRUE(put.isEmpty()) << "nothing is drawn again";
  EXPECT_TRUE(Diagram().IsDrawn(figure));
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(window.shpHighlight.Place(), mark);
}

TEST_F(DiagramPurgeTest, A_mark_on_the_last_page_stays_on_its_event) {
  SocketPairHistory& history = Begin(QStringLiteral("Last"));
  window.HighlightEvent(Figure(history, 195));
  ArriveAndPurge(3);
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(Figure(history, 192)->place));
  EXPECT_EQ(Counter(), QStringLiteral("Event 192 of 200  "));
}

TEST_F(DiagramPurgeTest, A_lowered_limit_takes_its_pages_away_at_once) {
  Begin(QStringLiteral("Last"));
  around.mPurge.mMaximumEventCount = QStringLiteral("25");
  ArriveAndPurge(1);
  EXPECT_EQ(Page(), QStringLiteral("Page 2 of 2  "));
  EXPECT_EQ(RowCount(), 5);
  EXPECT_FALSE(NextIsLit());
  ArriveAndPurge(1);
  EXPECT_EQ(Page(), QStringLiteral("Page 2 of 2  "));
  EXPECT_EQ(RowCount(), 5);
}

}  // namespace
}  // namespace veltrane
