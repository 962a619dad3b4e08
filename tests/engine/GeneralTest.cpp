#include <gtest/gtest.h>

#include "engine/General.h"
#include "engine/SocketArray.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

struct GeneralTest : testing::Test {
  World world;
};

TEST_F(GeneralTest, Times_are_hours_minutes_seconds_and_on_request_milliseconds) {
  EXPECT_EQ(world.mGeneral.GetTimeString(false), QStringLiteral("07:05:03"));
  EXPECT_EQ(world.mGeneral.GetTimeString(true), QStringLiteral("07:05:03.042"));
  world.mClock.mNow.millisecond = 0;
  world.mClock.mNow.hour = 23;
  EXPECT_EQ(world.mGeneral.GetTimeString(true), QStringLiteral("23:05:03.000"));
  world.mClock.mNow.millisecond = 999;
  EXPECT_EQ(world.mGeneral.GetTimeString(true), QStringLiteral("23:05:03.999"));
}

class BrokenClock : public FakeClock {
 public:
  LocalTime Now() const override { throw Failure(22, QStringLiteral("no time")); }
};

TEST_F(GeneralTest, A_failing_clock_is_reported) {
  BrokenClock clock;
  General general({world.mStore, world.mSockets, world.mTimers, clock, world.mRandom, world.mDesktop,
                   world.mErrors, QString()},
                  {});
  EXPECT_EQ(general.GetTimeString(true), QString());
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to the get the system time.  The "
                                       "operating system reports: 22, no time")});
}

TEST_F(GeneralTest, Four_numeric_pieces_make_an_address) {
  for (const char16_t* text : {u"1.2.3.4", u"999.0.0.1", u"-1.2.3.4", u"1e3.2.3.4"}) {
    EXPECT_TRUE(world.mGeneral.IsIPAddress(QString::fromUtf16(text)));
  }
  for (const char16_t* text : {u"", u"1.2.3", u"1.2.3.4.5", u"a.2.3.4", u"localhost", u"1..3.4", u"1.2.3."}) {
    EXPECT_FALSE(world.mGeneral.IsIPAddress(QString::fromUtf16(text)));
  }
}

TEST_F(GeneralTest, Items_sockets_and_nodes_exist_or_not) {
  KeyedList<int> list;
  list.Add(1, QStringLiteral("KEY1"));
  EXPECT_TRUE(General::DoesItemExist(list, QStringLiteral("KEY1")));
  EXPECT_FALSE(General::DoesItemExist(list, QStringLiteral("KEY2")));
  EXPECT_TRUE(General::DoesItemExist(list, 1));
  EXPECT_FALSE(General::DoesItemExist(list, 0));
  EXPECT_FALSE(General::DoesItemExist(list, 2));
  SocketArray sockets(world.mSockets, [](int) { return std::make_unique<SocketEvents>(); });
  EXPECT_TRUE(General::DoesSocketExist(sockets, 0));
  EXPECT_FALSE(General::DoesSocketExist(sockets, 1));
  sockets.Load();
  EXPECT_TRUE(General::DoesSocketExist(sockets, 1));
  EXPECT_FALSE(General::DoesSocketExist(sockets, -1));
  EXPECT_TRUE(world.mGeneral.DoesNodeExist(QStringLiteral("ROOT")));
  EXPECT_FALSE(world.mGeneral.DoesNodeExist(QStringLiteral("PROTO80")));
}

TEST_F(GeneralTest, The_array_of_sockets_can_have_holes_and_grows_above_the_highest) {
  SocketArray sockets(world.mSockets, [](int) { return std::make_unique<SocketEvents>(); });
  EXPECT_EQ(sockets.UpperBound(), 0);
  sockets.Load();
  sockets.Load();
  sockets.Load();
  sockets.Unload(2);
  EXPECT_EQ(sockets.UpperBound(), 3);
  EXPECT_FALSE(sockets.Exists(2));
  EXPECT_TRUE(sockets.Exists(3));
  sockets.Unload(3);
  EXPECT_EQ(sockets.UpperBound(), 1);
  EXPECT_THROW(sockets.Unload(2), Failure);
  EXPECT_THROW(sockets.Element(0), Failure);
  sockets.Load();
  EXPECT_EQ(sockets.UpperBound(), 2);
}

TEST_F(GeneralTest, Top_most_goes_to_the_desktop_and_its_failure_is_reported) {
  world.mGeneral.SetTopMostWindow(world.mMain, true);
  world.mGeneral.SetTopMostWindow(world.mMain, false);
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("top-most frmMain"), QStringLiteral("not top-most frmMain")}));
  world.mDesktop.mFailTopMost = true;
  world.mGeneral.SetTopMostWindow(world.mMain, true);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to set the top-most window.  The "
                                       "operating system reports: 5, no such window")});
}

TEST_F(GeneralTest, The_first_run_seeds_six_ports_in_order) {
  world.mGeneral.CheckFirstRun();
  EXPECT_TRUE(world.mGeneral.gblnFirstRun);
  const QList<SettingRow> descriptions{
      {QStringLiteral("25"), QStringLiteral("SMTP - Outgoing e-mail")},
      {QStringLiteral("110"), QStringLiteral("POP3 - Incoming e-mail")},
      {QStringLiteral("8080"), QStringLiteral("HTTP Proxy - Web")},
      {QStringLiteral("443"), QStringLiteral("HTTPS Proxy - Secure Web")},
      {QStringLiteral("21"), QStringLiteral("FTP - File Transfer Protocol")},
      {QStringLiteral("1000"), QStringLiteral("Pass Through - For Testing Apps")}};
  const QList<SettingRow> protocols{{QStringLiteral("25"), QStringLiteral("Pass Through")},
                                    {QStringLiteral("110"), QStringLiteral("POP3")},
                                    {QStringLiteral("8080"), QStringLiteral("HTTP")},
                                    {QStringLiteral("443"), QStringLiteral("HTTPS")},
                                    {QStringLiteral("21"), QStringLiteral("FTP")},
                                    {QStringLiteral("1000"), QStringLiteral("Pass Through")}};
  EXPECT_EQ(world.mGeneral.mSettings.All(QStringLiteral("PortsInUse")), descriptions);
  EXPECT_EQ(world.mGeneral.mSettings.All(QStringLiteral("Protocols")), protocols);
  EXPECT_EQ(world.Get(QStringLiteral("Protocols\\Pass Through\\Port 25"), QStringLiteral("Port")),
            QStringLiteral("25"));
  EXPECT_EQ(world.Get(QStringLiteral("Protocols\\Pass Through\\Port 1000"), QStringLiteral("Port")),
            QStringLiteral("1000"));
  // Names that can exist on no network.
  for (const int port : {25, 1000}) {
    EXPECT_TRUE(
        world.Get(QStringLiteral("Protocols\\Pass Through\\Port %1").arg(port), QStringLiteral("Server"))
            .endsWith(QStringLiteral(".invalid")));
  }
  EXPECT_EQ(world.Get(QStringLiteral("FirstRun"), QStringLiteral("FirstRun")), QStringLiteral("False"));
}

TEST_F(GeneralTest, The_second_run_seeds_nothing) {
  world.Save(QStringLiteral("FirstRun"), QStringLiteral("FirstRun"), QStringLiteral("False"));
  world.mGeneral.CheckFirstRun();
  EXPECT_FALSE(world.mGeneral.gblnFirstRun);
  EXPECT_EQ(world.mStore.mRows.size(), 1);
}

TEST_F(GeneralTest, A_failure_half_way_leaves_the_first_run_to_be_done_again) {
  world.mStore.mWritesBeforeFailure = 4;
  world.mGeneral.CheckFirstRun();
  EXPECT_FALSE(world.mGeneral.gblnFirstRun);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{
                QStringLiteral("An error occurred while attempting to check whether this is the first time "
                               "that Veltrane has run.  The operating system reports: 1001, store is full")});
  world.mStore.mWritesBeforeFailure = -1;
  world.mGeneral.CheckFirstRun();
  EXPECT_TRUE(world.mGeneral.gblnFirstRun);
  EXPECT_EQ(world.mGeneral.mSettings.All(QStringLiteral("PortsInUse")).size(), 6);
}

TEST_F(GeneralTest, An_ephemeral_port_loses_its_three_places) {
  const QString text = QStringLiteral("FTP Data - Dynamically allocated");
  world.AddPort(1500, text, text);
  world.SetDestination(1500, QStringLiteral("10.0.0.1"), 2000);
  world.mGeneral.DeleteEphemeralPortReferences(1500);
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(GeneralTest, An_ephemeral_port_keeps_its_three_places_where_the_store_fails_on_the_way) {
  const QString text = QStringLiteral("FTP Data - Dynamically allocated");
  world.AddPort(1500, text, text);
  world.SetDestination(1500, QStringLiteral("10.0.0.1"), 2000);
  const qsizetype rows = world.mStore.mRows.size();
  for (const int deletes : {0, 1, 2}) {
    world.mStore.mDeletesBeforeFailure = deletes;
    EXPECT_FALSE(world.mGeneral.DeleteEphemeralPortReferences(1500));
    EXPECT_EQ(world.mStore.mRows.size(), rows) << deletes;
  }
  world.mStore.mDeletesBeforeFailure = 3;
  EXPECT_TRUE(world.mGeneral.DeleteEphemeralPortReferences(1500));
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
}

TEST_F(GeneralTest, An_ephemeral_port_without_a_destination_keeps_its_description) {
  const QString text = QStringLiteral("FTP Data - Dynamically allocated");
  world.AddPort(1500, text, text);
  world.mGeneral.DeleteEphemeralPortReferences(1500);
  EXPECT_EQ(world.Get(QStringLiteral("Protocols"), QStringLiteral("1500")), QStringLiteral("(none)"));
  EXPECT_EQ(world.Get(QStringLiteral("PortsInUse"), QStringLiteral("1500")), text);
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{
                QStringLiteral("An error occurred while attempting to delete the Ephemeral port references "
                               "from the registry.  The operating system reports: 5, Invalid procedure call "
                               "or argument")});
}

TEST_F(GeneralTest, What_closed_sockets_still_hold_counts_as_held_payload) {
  world.mSockets.OnLingering(100);
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 100);
  world.mSockets.OnLingering(-40);
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Held(), 60);
}

TEST_F(GeneralTest, What_a_closed_socket_holds_for_a_silent_peer_is_given_up_when_others_need_the_room) {
  world.mGeneral.mPayloadLimit.SetMost(100);
  world.mSockets.OnLingering(99);
  EXPECT_FALSE(world.mSockets.MayGiveUp(50));
  world.mSockets.OnLingering(1);
  EXPECT_FALSE(world.mSockets.MayGiveUp(50)) << "nobody waits for the room";
  world.mGeneral.mPayloadLimit.Wait([] {});
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_TRUE(world.mSockets.MayGiveUp(50));
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts.first().startsWith(
      QStringLiteral("A closed connection was given up with 50 bytes for a peer that has taken nothing")));
}

}  // namespace
}  // namespace veltrane
