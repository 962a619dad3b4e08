#include <gtest/gtest.h>

#include "engine/SocketPair.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

/// Writes each call into the journal.
class JournalHandler : public ProtocolHandler {
 public:
  explicit JournalHandler(Journal& journal) : mJournal(journal) {}

  QString GetProtocolName() const override { return QStringLiteral("Journal"); }
  void ShowProperties(qint32, Form*) override {}
  void LocalServerAcceptedConnection() override {
    Note(QStringLiteral("Accepted"));
    if (mFailOnAccept) throw Failure(7, QStringLiteral("accept went wrong"));
  }
  void LocalServerRejectedConnection() override {
    Note(QStringLiteral("Rejected"));
    if (mFailOnReject) throw Failure(7, QStringLiteral("reject went wrong"));
  }
  void ConnectedToRemoteServer(const QString& comment) override {
    Note(QStringLiteral("Connected [%1] dangling %2")
             .arg(comment)
             .arg(mobjSocketPair->IsDanglingCurrentlyOn(true)));
    if (OnConnected) OnConnected();
  }
  void RemoteServerInitiatedDisconnection(const QString& comment) override {
    Note(QStringLiteral("ServerGone [%1]").arg(comment));
  }
  void ClientBytesReceived(const Payload& data) override {
    Note(QStringLiteral("ClientBytes %1").arg(QString::fromLatin1(data.Bytes())));
  }
  void ClientBytesSent() override { Note(QStringLiteral("ClientSent")); }
  void RemoteClientInitiatedDisconnection() override { Note(QStringLiteral("ClientGone")); }
  void ServerBytesReceived(const Payload& data) override {
    Note(QStringLiteral("ServerBytes %1").arg(QString::fromLatin1(data.Bytes())));
    if (OnServerBytes) OnServerBytes();
  }
  void ServerError(qint32 number, const QString& text) override {
    Note(QStringLiteral("ServerError %1 %2").arg(number).arg(text));
  }
  void ClientError(qint32 number, const QString& text) override {
    Note(QStringLiteral("ClientError %1 %2").arg(number).arg(text));
  }
  void ServerBytesSent() override { Note(QStringLiteral("ServerSent")); }
  bool ResumeThrottledOrDangledClientSend(bool discard) override {
    Note(QStringLiteral("ResumeClient %1").arg(discard));
    return mResume;
  }
  bool ResumeThrottledOrDangledServerSend(bool discard) override {
    Note(QStringLiteral("ResumeServer %1").arg(discard));
    return mResume;
  }
  void DanglingStatusChanged(bool on, qint16 direction, qint32 time) override {
    const SocketPair& pair = *mobjSocketPair;
    Note(QStringLiteral("Dangling %1 %2 %3 (on %4, start timer %5, stop timer %6)")
             .arg(on)
             .arg(direction)
             .arg(time)
             .arg(pair.IsDanglingCurrentlyOn(true) || pair.IsDanglingCurrentlyOn(false))
             .arg(pair.tmrDangleStartTimer.Enabled())
             .arg(pair.tmrDangleStopTimer.Enabled()));
  }

  bool mFailOnAccept = false;
  bool mFailOnReject = false;
  bool mResume = false;
  std::function<void()> OnServerBytes;
  std::function<void()> OnConnected;

 private:
  void Note(const QString& line) { mJournal.Note(line); }
  Journal& mJournal;
};

struct SocketPairTest : testing::Test {
  SocketPairTest() {
    world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
    pair = std::make_shared<SocketPair>(world.mGeneral);
    server = world.mSockets.mSockets[0];
    client = world.mSockets.mSockets[1];
  }
  QStringList Take() { return world.mJournal.Take(); }
  void Accept() {
    pair->ServerConnected(1, handler);
    Take();
  }
  void Connect() {
    Accept();
    client->mState = SocketState::kConnecting;
    client->Connected();
    Take();
  }
  bool Send(const char* data, Payload& sent, PayloadBuffer& rest) {
    return pair->ClientSendData(PayloadBuffer(QByteArray(data)), sent, rest);
  }

  World world;
  std::shared_ptr<JournalHandler> handler = std::make_shared<JournalHandler>(world.mJournal);
  std::shared_ptr<SocketPair> pair;
  StubSocket* server = nullptr;
  StubSocket* client = nullptr;
};

TEST_F(SocketPairTest, A_fresh_pair_is_neither_dead_nor_initialised_and_its_timers_are_silent) {
  EXPECT_FALSE(pair->Dead());
  EXPECT_FALSE(pair->ClientInitialised());
  EXPECT_FALSE(pair->mblnTerminated);
  for (const Timer* timer :
       {&pair->tmrC2SThrottleDataRequest, &pair->tmrS2CThrottleDataRequest, &pair->tmrDangleStartTimer,
        &pair->tmrDangleStopTimer, &pair->tmrTerminationTime}) {
    EXPECT_TRUE(timer->Enabled());
    EXPECT_EQ(timer->Interval(), 0);
  }
  EXPECT_FALSE(world.mTimers.NextDeadline());
}

TEST_F(SocketPairTest, ServerConnected_binds_then_accepts_then_tells_the_handler) {
  pair->ServerConnected(17, handler);
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("sckServer.Accept 17"), QStringLiteral("Accepted")}));
  EXPECT_EQ(handler->mobjSocketPair, pair.get());
  EXPECT_EQ(handler->mobjLogging, &world.mRecorder);
  EXPECT_EQ(pair->mobjProtocolHandler, handler);
}

TEST_F(SocketPairTest, A_failure_in_ServerConnected_is_the_handlers_ServerError) {
  server->mAcceptFailure = 10022;
  pair->ServerConnected(17, handler);
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("sckServer.Accept 17"),
                                 QStringLiteral("ServerError 10022 failed on purpose")}));
  server->mAcceptFailure = 0;
  handler->mFailOnAccept = true;
  pair->ServerConnected(18, handler);
  EXPECT_EQ(Take().last(), QStringLiteral("ServerError 7 accept went wrong"));
}

TEST_F(SocketPairTest, ConnectionRejected_binds_and_accepts_nothing) {
  pair->ConnectionRejected(17, handler);
  EXPECT_EQ(Take(), QStringList{QStringLiteral("Rejected")});
  EXPECT_EQ(handler->mobjSocketPair, pair.get());
  EXPECT_EQ(server->mState, SocketState::kClosed);
}

TEST_F(SocketPairTest, An_attempt_that_starts_is_true_and_one_that_fails_at_once_gives_number_and_text) {
  QString text = QStringLiteral("before");
  qint32 number = 5;
  EXPECT_TRUE(pair->AttemptConnectionToRemoteServer(QStringLiteral("host"), 25, text, number));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("sckClient.Connect host:25")});
  EXPECT_EQ(text, QStringLiteral("before"));
  client->mConnectFailure = 10049;
  EXPECT_FALSE(pair->AttemptConnectionToRemoteServer(QStringLiteral("host"), 70000, text, number));
  EXPECT_EQ(number, 10049);
  EXPECT_EQ(text, QStringLiteral("failed on purpose"));
}

TEST_F(SocketPairTest, The_accessors_read_the_socket_that_they_name) {
  server->mLocalPort = 1;
  server->mRemotePort = 2;
  server->mRemoteHost = QStringLiteral("client.name");
  server->mRemoteHostIP = QStringLiteral("1.1.1.1");
  server->mLocalIP = QStringLiteral("2.2.2.2");
  client->mLocalPort = 3;
  client->mRemotePort = 4;
  client->mRemoteHost = QStringLiteral("server.name");
  client->mRemoteHostIP = QStringLiteral("3.3.3.3");
  client->mLocalIP = QStringLiteral("4.4.4.4");
  EXPECT_EQ(pair->LocalServerPort(), 1);
  EXPECT_EQ(pair->RemoteClientPort(), 2);
  EXPECT_EQ(pair->LocalClientPort(), 3);
  EXPECT_EQ(pair->RemoteServerPort(), 4);
  EXPECT_EQ(pair->RemoteClientName(), QStringLiteral("client.name"));
  EXPECT_EQ(pair->RemoteClientIP(), QStringLiteral("1.1.1.1"));
  EXPECT_EQ(pair->LocalServerIP(), QStringLiteral("2.2.2.2"));
  EXPECT_EQ(pair->RemoteServerName(), QStringLiteral("server.name"));
  EXPECT_EQ(pair->RemoteServerIP(), QStringLiteral("3.3.3.3"));
  EXPECT_EQ(pair->LocalClientIP(), QStringLiteral("4.4.4.4"));
  EXPECT_EQ(pair->LocalServerName(), QStringLiteral("thishost"));
  EXPECT_EQ(pair->LocalClientName(), QStringLiteral("thishost"));
}

TEST_F(SocketPairTest, Server_events_become_calls) {
  Accept();
  server->Arrive("abc");
  server->Sent();
  server->Fails(10054, QStringLiteral("reset"));
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("ServerBytes abc"), QStringLiteral("ServerSent"),
                                 QStringLiteral("ServerError 10054 reset")}));
  server->PeerCloses();
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ClientGone")});
}

TEST_F(SocketPairTest, Client_events_become_calls) {
  Connect();
  client->Arrive("xyz");
  client->Sent();
  client->Fails(10060, QStringLiteral("timed out"));
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("ClientBytes xyz"), QStringLiteral("ClientSent"),
                                 QStringLiteral("ClientError 10060 timed out")}));
  client->PeerCloses();
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ServerGone []")});
}

TEST_F(SocketPairTest, Dead_before_a_peer_closes_ignores_the_close) {
  Connect();
  pair->SetDead(true);
  server->PeerCloses();
  client->PeerCloses();
  EXPECT_TRUE(Take().isEmpty());
  pair->SetDead(false);
  server->PeerCloses();
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ClientGone")});
}

TEST_F(SocketPairTest, Zero_length_GetData_leads_to_no_handler_call) {
  Connect();
  server->Arrive("");
  client->Arrive("");
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(SocketPairTest, Data_arrival_in_state_6_is_an_error_on_the_server_and_read_on_the_client) {
  Connect();
  server->mState = SocketState::kConnecting;
  client->mState = SocketState::kConnecting;
  server->Arrive("abc");
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QStringLiteral("Data arrival on server state 6")});
  EXPECT_EQ(server->mArrived.Size(), 3);
  client->Arrive("xyz");
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ClientBytes xyz")});
}

TEST_F(SocketPairTest, Data_arrival_is_read_in_states_7_and_8_only) {
  Connect();
  // Two closed sockets would end a pair that lives.
  pair->SetDead(true);
  for (const int state : {0, 2, 9}) {
    client->mState = server->mState = static_cast<SocketState>(state);
    world.mErrors.mTexts.clear();
    server->Arrive("a");
    client->Arrive("b");
    EXPECT_EQ(world.mErrors.mTexts,
              (QStringList{QStringLiteral("Data arrival on server state %1").arg(state),
                           QStringLiteral("Data arrival on client state %1").arg(state)}));
    EXPECT_TRUE(Take().isEmpty());
  }
  for (const int state : {7, 8}) {
    client->mState = server->mState = static_cast<SocketState>(state);
    server->Arrive("a");
    client->Arrive("b");
    EXPECT_EQ(Take(), (QStringList{QStringLiteral("ServerBytes a"), QStringLiteral("ClientBytes b")}));
  }
}

TEST_F(SocketPairTest, Connect_schedules_failures_then_tells_the_handler_with_the_dangling_comment) {
  Accept();
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 700;
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleText = QStringLiteral("to be dangled");
  client->Connected();
  EXPECT_TRUE(pair->ClientInitialised());
  // The plan of the termination is lost, so the comment begins with the blank.
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("ask terminate"), QStringLiteral("ask dangle"),
                                 QStringLiteral("Connected [ to be dangled] dangling 0")}));
  EXPECT_EQ(pair->tmrTerminationTime.Interval(), 700);
  EXPECT_TRUE(pair->tmrTerminationTime.Enabled());
  EXPECT_EQ(pair->tmrDangleStartTimer.Interval(), 500);
  EXPECT_TRUE(pair->tmrDangleStartTimer.Enabled());
  EXPECT_FALSE(pair->tmrDangleStopTimer.Enabled());
}

TEST_F(SocketPairTest, Connect_without_a_schedule_gives_a_single_blank_and_stops_the_timers) {
  Accept();
  world.mSchedule.mTerminatePeriod = 700;
  world.mSchedule.mTimeBeforeDangle = 500;
  client->Connected();
  EXPECT_EQ(Take().last(), QStringLiteral("Connected [ ] dangling 0"));
  EXPECT_FALSE(pair->tmrTerminationTime.Enabled());
  EXPECT_EQ(pair->tmrTerminationTime.Interval(), 0);
  EXPECT_FALSE(pair->tmrDangleStartTimer.Enabled());
  EXPECT_EQ(pair->tmrDangleStartTimer.Interval(), 0);
  EXPECT_FALSE(world.mTimers.NextDeadline());
}

TEST_F(SocketPairTest, A_schedule_that_cannot_be_read_is_reported_and_the_connection_goes_on) {
  Accept();
  world.mSchedule.OnAsked = [] { throw Failure(FailureNumber::kOverflow); };
  client->Connected();
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("ask terminate"), QStringLiteral("ask dangle"),
                                 QStringLiteral("Connected [ ] dangling 0")}));
  const QString report = QStringLiteral(
      "An error occurred while attempting to schedule the failures of a connection.  The operating system "
      "reports: 6, Overflow");
  EXPECT_EQ(world.mErrors.mTexts, (QStringList{report, report}));
}

TEST_F(SocketPairTest, A_termination_that_cannot_be_planned_leaves_the_dangle) {
  Accept();
  int asked = 0;
  world.mSchedule.OnAsked = [&] {
    if (++asked == 1) throw Failure(FailureNumber::kOverflow);
  };
  world.mSchedule.mDangle = true;
  world.mSchedule.mTimeBeforeDangle = 500;
  world.mSchedule.mDangleText = QStringLiteral("to be dangled");
  client->Connected();
  EXPECT_EQ(Take().last(), QStringLiteral("Connected [ to be dangled] dangling 0"));
  EXPECT_TRUE(pair->tmrDangleStartTimer.Enabled());
}

TEST_F(SocketPairTest, Half_a_plan_is_not_told) {
  Accept();
  world.mSchedule.OnDangleAsked = [] { throw Failure(FailureNumber::kOverflow); };
  world.mSchedule.mDangleText = QStringLiteral("Connection to be dangled in ");
  client->Connected();
  EXPECT_EQ(Take().last(), QStringLiteral("Connected [ ] dangling 0"));
}

TEST_F(SocketPairTest, The_dangles_fields_are_kept_also_when_none_is_planned) {
  Accept();
  world.mSchedule.mDanglePeriod = 1000;
  world.mSchedule.mDangleDirection = 1;
  client->Connected();
  Take();
  // As the window's button starts one by hand.
  pair->tmrDangleStartTimer_Timer();
  EXPECT_EQ(Take(), QStringList{QStringLiteral("Dangling 1 1 1000 (on 0, start timer 0, stop timer 0)")});
  EXPECT_TRUE(pair->IsDanglingCurrentlyOn(false));
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(true));
}

TEST_F(SocketPairTest, The_dangles_end_is_silent_only_after_the_handler_has_heard_of_the_connection) {
  Accept();
  handler->OnConnected = [&] { EXPECT_TRUE(pair->tmrDangleStopTimer.Enabled()); };
  client->Connected();
  EXPECT_FALSE(pair->tmrDangleStopTimer.Enabled());
}

TEST_F(SocketPairTest, A_send_on_a_closed_socket_or_with_empty_data_changes_nothing) {
  Accept();
  struct Road {
    bool (SocketPair::*send)(const PayloadBuffer&, Payload&, PayloadBuffer&);
    StubSocket* socket;
    Timer* timer;
  };
  world.mSchedule.OnThrottle = [] { ADD_FAILURE() << "no throttling is asked about"; };
  for (const Road& road : {Road{&SocketPair::ClientSendData, client, &pair->tmrC2SThrottleDataRequest},
                           Road{&SocketPair::ServerSendData, server, &pair->tmrS2CThrottleDataRequest}}) {
    Payload sent(QByteArray("old"));
    PayloadBuffer rest(QByteArray("kept"));
    for (const auto& [state, data] :
         {std::pair{SocketState::kClosed, "abc"}, std::pair{SocketState::kPeerClosing, "abc"},
          std::pair{SocketState::kConnected, ""}}) {
      road.socket->mState = state;
      road.timer->SetEnabled(true);
      road.timer->SetInterval(77);
      EXPECT_FALSE(((*pair).*road.send)(PayloadBuffer(QByteArray(data)), sent, rest));
      EXPECT_EQ(sent.Bytes(), "old");
      EXPECT_EQ(rest.Size(), 4);
      EXPECT_TRUE(road.timer->Enabled());
      EXPECT_EQ(road.timer->Interval(), 77);
    }
  }
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(SocketPairTest, An_unthrottled_send_is_whole_and_stops_the_throttle_timer) {
  Connect();
  pair->tmrC2SThrottleDataRequest.SetInterval(50);
  EXPECT_TRUE(pair->IsClientSendingData());
  Payload sent;
  PayloadBuffer rest(QByteArray("old"));
  EXPECT_FALSE(Send("abc", sent, rest));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("sckClient.SendData abc")});
  EXPECT_EQ(sent.Bytes(), "abc");
  EXPECT_TRUE(rest.IsEmpty());
  EXPECT_FALSE(pair->IsClientSendingData());
}

TEST_F(SocketPairTest, A_throttled_send_cuts_and_arms_its_own_timer) {
  Connect();
  world.mSchedule.mThrottleC2S = world.mSchedule.mThrottleS2C = true;
  Payload sent;
  PayloadBuffer rest;
  EXPECT_TRUE(Send("abcdefgh", sent, rest));
  EXPECT_EQ(sent.Bytes(), "abc");
  EXPECT_EQ(rest.TakeAll().Bytes(), "defgh");
  EXPECT_TRUE(pair->IsClientSendingData());
  EXPECT_EQ(pair->tmrC2SThrottleDataRequest.Interval(), 100);
  EXPECT_EQ(pair->tmrS2CThrottleDataRequest.Interval(), 0);
  EXPECT_TRUE(pair->ServerSendData(PayloadBuffer(QByteArray("12345")), sent, rest));
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("sckClient.SendData abc"),
                                 QStringLiteral("sckServer.SendData 123")}));
  EXPECT_EQ(pair->tmrS2CThrottleDataRequest.Interval(), 100);
}

TEST_F(SocketPairTest, The_rest_may_be_the_data_itself) {
  Connect();
  world.mSchedule.mThrottleC2S = true;
  PayloadBuffer buffer(QByteArray("abcd"));
  buffer.Append(QByteArray("efgh"));
  Payload sent;
  EXPECT_TRUE(pair->ClientSendData(buffer, sent, buffer));
  EXPECT_EQ(sent.Bytes(), "abc");
  EXPECT_EQ(buffer.Size(), 5);
  EXPECT_EQ(buffer.TakeAll().Bytes(), "defgh");
}

TEST_F(SocketPairTest, A_failing_send_is_reported_without_number_and_is_false) {
  Connect();
  Payload sent;
  PayloadBuffer rest;
  world.mSchedule.OnThrottle = [] { throw Failure(FailureNumber::kTypeMismatch); };
  EXPECT_FALSE(Send("abc", sent, rest));
  EXPECT_FALSE(pair->ServerSendData(PayloadBuffer(QByteArray("x")), sent, rest));
  EXPECT_TRUE(sent.IsEmpty());
  EXPECT_EQ(rest.TakeAll().Bytes(), "x") << "all is still to be sent";
  EXPECT_FALSE(Send("abc", sent, rest)) << "reported already";
  world.mSchedule.OnThrottle = nullptr;
  client->mSendFailure = 10055;
  EXPECT_FALSE(Send("abc", sent, rest));
  EXPECT_EQ(world.mErrors.mTexts,
            (QStringList{
                QStringLiteral("An error occurred while sending the data through the client (Low Level)"),
                QStringLiteral("An error occurred while sending the data through the server (Low Level)"),
                QStringLiteral("An error occurred while sending the data through the client (Low Level)")}));
}

TEST_F(SocketPairTest, A_negative_allowance_is_a_failing_send) {
  Connect();
  world.mSchedule.mThrottleC2S = true;
  world.mSchedule.mThrottleBytes = -1;
  Payload sent;
  PayloadBuffer rest;
  EXPECT_FALSE(Send("abc", sent, rest));
  EXPECT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(client->mSent.isEmpty());
}

TEST_F(SocketPairTest, The_throttle_timers_ask_the_handler_and_stop_at_a_no) {
  Connect();
  handler->mResume = true;
  pair->tmrC2SThrottleDataRequest.SetInterval(100);
  world.mTimers.Advance(milliseconds(99));
  EXPECT_TRUE(Take().isEmpty());
  world.mTimers.Advance(milliseconds(101));
  EXPECT_EQ(Take(), (QStringList{QStringLiteral("ResumeClient 0"), QStringLiteral("ResumeClient 0")}));
  handler->mResume = false;
  world.mTimers.Advance(milliseconds(500));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ResumeClient 0")});
  EXPECT_FALSE(pair->IsClientSendingData());
  pair->tmrS2CThrottleDataRequest.SetInterval(10);
  world.mTimers.Advance(milliseconds(10));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ResumeServer 0")});
  EXPECT_FALSE(pair->IsServerSendingData());
}

struct DangleTest : SocketPairTest {
  /// Up to the moment when the dangle has begun.
  void Dangle(qint16 direction) {
    world.mSchedule.mDangle = true;
    world.mSchedule.mTimeBeforeDangle = 500;
    world.mSchedule.mDanglePeriod = 1000;
    world.mSchedule.mDangleDirection = direction;
    Connect();
    world.mTimers.Advance(milliseconds(499));
    EXPECT_TRUE(Take().isEmpty());
    world.mTimers.Advance(milliseconds(1));
  }
};

TEST_F(DangleTest, No_dangle_is_on_before_the_connect_event_although_its_timer_is_enabled) {
  EXPECT_TRUE(pair->tmrDangleStopTimer.Enabled());
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(true));
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(false));
}

TEST_F(DangleTest, The_start_tells_the_handler_and_then_holds) {
  Dangle(2);
  EXPECT_EQ(Take(), QStringList{QStringLiteral("Dangling 1 2 1000 (on 0, start timer 0, stop timer 0)")});
  EXPECT_FALSE(pair->tmrDangleStartTimer.Enabled());
  EXPECT_TRUE(pair->IsDanglingCurrentlyOn(true));
  EXPECT_TRUE(pair->IsDanglingCurrentlyOn(false));
}

TEST_F(DangleTest, Direction_0_holds_client_to_server_and_1_server_to_client) {
  Dangle(1);
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(true));
  EXPECT_TRUE(pair->IsDanglingCurrentlyOn(false));
}

TEST_F(DangleTest, Direction_0_is_the_mirror_and_other_values_hold_nothing) {
  Dangle(0);
  EXPECT_TRUE(pair->IsDanglingCurrentlyOn(true));
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(false));
  world.mSchedule.mDangleDirection = 7;
  client->Connected();
  world.mTimers.Advance(milliseconds(500));
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(true));
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(false));
}

TEST_F(DangleTest, The_choice_at_the_end_is_read_at_the_end) {
  Dangle(2);
  Take();
  world.mSchedule.mDangleClose = 0;
  world.mTimers.Advance(milliseconds(999));
  EXPECT_TRUE(pair->IsDanglingCurrentlyOn(true));
  world.mTimers.Advance(milliseconds(1));
  EXPECT_EQ(Take(),
            (QStringList{QStringLiteral("Dangling 0 2 1000 (on 0, start timer 0, stop timer 0)"),
                         QStringLiteral("ServerGone [Connection terminated as per dangling schedule.]")}));
  EXPECT_FALSE(pair->IsDanglingCurrentlyOn(true));
}

TEST_F(DangleTest, Choices_1_and_2_resume_the_directions_that_were_held) {
  for (const int choice : {1, 2}) {
    for (const qint16 direction : {qint16{0}, qint16{1}, qint16{2}}) {
      world.mSchedule.mDangleClose = choice;
      Dangle(direction);
      Take();
      world.mTimers.Advance(milliseconds(1000));
      QStringList expected{
          QStringLiteral("Dangling 0 %1 1000 (on 0, start timer 0, stop timer 0)").arg(direction)};
      if (direction != 1) expected.append(QStringLiteral("ResumeClient %1").arg(choice == 2));
      if (direction != 0) expected.append(QStringLiteral("ResumeServer %1").arg(choice == 2));
      EXPECT_EQ(Take(), expected);
    }
  }
}

TEST_F(DangleTest, With_no_choice_set_nothing_more_happens) {
  Dangle(2);
  Take();
  world.mSchedule.mDangleClose = -1;
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("Dangling 0 2 1000 (on 0, start timer 0, stop timer 0)")});
}

TEST_F(SocketPairTest, A_graceful_termination_looks_like_the_servers_close) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  Connect();
  world.mTimers.Advance(milliseconds(299));
  EXPECT_TRUE(Take().isEmpty());
  world.mTimers.Advance(milliseconds(1));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ServerGone [Connection terminated as per schedule.]")});
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(SocketPairTest, A_forced_termination_is_error_0_of_the_local_client) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  Connect();
  world.mSchedule.mGraceful = 1;
  world.mTimers.Advance(milliseconds(300));
  EXPECT_EQ(Take(),
            QStringList{QStringLiteral("ClientError 0 Socket connection scheduled for termination by VLT.")});
}

TEST_F(SocketPairTest, Terminate_closes_what_is_connected_and_can_run_again) {
  Connect();
  client->mState = SocketState::kPeerClosing;
  pair->Terminate();
  EXPECT_EQ(Take(), QStringList{QStringLiteral("sckServer.Close")});
  EXPECT_TRUE(pair->mblnTerminated);
  pair->Terminate();
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(SocketPairTest, Terminate_leaves_the_timers_running_and_Unload_stops_them) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  Connect();
  pair->Terminate();
  EXPECT_TRUE(world.mTimers.NextDeadline());
  pair->Unload();
  EXPECT_FALSE(world.mTimers.NextDeadline());
  EXPECT_FALSE(pair->mobjProtocolHandler);
  // What comes too late is not heard.
  Take();
  server->Sent();
  client->PeerCloses();
  pair->tmrTerminationTime_Timer();
  EXPECT_TRUE(Take().isEmpty());
}

TEST_F(SocketPairTest, A_throttle_timer_that_outlives_its_pair_fires_once) {
  Connect();
  handler->mResume = true;
  pair->tmrC2SThrottleDataRequest.SetInterval(10);
  world.mTimers.Advance(milliseconds(20));
  EXPECT_EQ(Take().size(), 2);
  pair->Terminate();
  Take();
  world.mTimers.Advance(milliseconds(100));
  EXPECT_EQ(Take(), QStringList{QStringLiteral("ResumeClient 0")});
}

TEST_F(SocketPairTest, A_connection_that_stood_counts_as_such_for_good) {
  Connect();
  pair->ClientDisconnect();
  EXPECT_TRUE(pair->ClientInitialised());
  pair->Terminate();
  EXPECT_TRUE(pair->ClientInitialised());
}

TEST_F(SocketPairTest, A_termination_without_a_chosen_way_does_nothing) {
  world.mSchedule.mTerminate = true;
  world.mSchedule.mTerminatePeriod = 300;
  Connect();
  world.mSchedule.mGraceful = -1;
  world.mTimers.Advance(milliseconds(1000));
  EXPECT_TRUE(Take().isEmpty());
  EXPECT_FALSE(pair->tmrTerminationTime.Enabled());
}

TEST_F(SocketPairTest, A_rejection_that_fails_ends_in_the_handlers_server_error) {
  handler->mFailOnReject = true;
  pair->ConnectionRejected(1, handler);
  EXPECT_EQ(Take(),
            (QStringList{QStringLiteral("Rejected"), QStringLiteral("ServerError 7 reject went wrong")}));
}

TEST_F(SocketPairTest, A_pair_that_is_let_go_of_in_its_own_event_lives_until_that_has_returned) {
  Accept();
  std::weak_ptr<SocketPair> watch = pair;
  bool alive = false;
  handler->OnServerBytes = [&] {
    pair.reset();
    alive = !watch.expired();
  };
  server->Arrive("x");
  EXPECT_TRUE(alive);
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace veltrane
