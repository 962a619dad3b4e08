// The handlers that find their server by what the client says, under throttles and dangles.
#include "tests/protocols/HandlerTest.h"

namespace veltrane {
namespace {

struct RoutedProtocol {
  const char* name;
  const char* first;     // routes
  const char* reply;     // of the proxy, before anything else; or empty
  bool repliesAtAccept;  // otherwise once the connection stands
};

void PrintTo(const RoutedProtocol& protocol, std::ostream* out) {
  *out << protocol.name;
}

const RoutedProtocol kHttp{"HTTP", "GET http://host/ HTTP/1.0\r\n\r\n", "", false};
const RoutedProtocol kHttps{
    "HTTPS", "CONNECT host:443 HTTP/1.1\r\n\r\n",
    "HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n", false};
const RoutedProtocol kPop3{"POP3", "USER Fred#host\r\n", "+OK\r\n", true};
const RoutedProtocol kFtp{"FTP", "USER Fred@host\r\n", "220 Veltrane FTP Server\r\n", true};

struct RoutedTest : HandlerTest, testing::WithParamInterface<RoutedProtocol> {
  RoutedTest() : HandlerTest(QLatin1String(GetParam().name)) {}

  /// Up to a relay in which nothing waits and nothing is on its way.
  void Establish() {
    AcceptAndSay(GetParam().first);
    Connect();
    if (GetParam().repliesAtAccept)
      client->Arrive(protocol == QLatin1String("FTP") ? "220 real\r\n" : "+OK\r\n");
    if (!client->mSent.isEmpty()) client->Sent();
    if (!server->mSent.isEmpty()) server->Sent();
    client->mSent.clear();
    server->mSent.clear();
    Take();
  }

  void Throttle(qint64 bytes) {
    world.mSchedule.mThrottleBytes = bytes;
    world.mSchedule.mThrottleC2S = world.mSchedule.mThrottleS2C = true;
  }

  /// Lets everything go that is held back for a throttle's timer.
  void RunDry(StubSocket* socket) {
    for (int period = 0; period < 100; ++period) {
      socket->Sent();
      Pass(100);
    }
  }
};

struct RepliesTest : RoutedTest {};

INSTANTIATE_TEST_SUITE_P(All, RoutedTest, testing::Values(kHttp, kHttps, kPop3, kFtp),
                         [](const auto& which) { return std::string(which.param.name); });
INSTANTIATE_TEST_SUITE_P(All, RepliesTest, testing::Values(kHttps, kPop3, kFtp),
                         [](const auto& which) { return std::string(which.param.name); });

TEST_P(RoutedTest, A_throttle_cuts_both_directions_and_loses_nothing) {
  Establish();
  Throttle(3);
  client->Arrive("0123456789");
  EXPECT_EQ(server->mSent, "012");
  client->Arrive("abcd");
  RunDry(server);
  EXPECT_EQ(server->mSent, "0123456789abcd");
  server->Arrive("9876543210");
  EXPECT_EQ(client->mSent, "987");
  RunDry(client);
  EXPECT_EQ(client->mSent, "9876543210");
}

TEST_P(RoutedTest, A_dangle_holds_both_directions_and_gives_each_in_one_piece) {
  Dangle(2, 1);
  Establish();
  Pass(500);
  for (const char* chunk : {"one ", "two ", "three"}) {
    server->Arrive(chunk);
    client->Arrive(chunk);
  }
  Take();
  Pass(1000);
  EXPECT_EQ(Take(),
            Lines({"DanglingStatusChanged(False, 2, 1000)", "sckClient.SendData one two three",
                   "ClientBytesSendStart(one two three, False, False)", "sckServer.SendData one two three",
                   "ServerBytesSendStart(one two three, False, False)"}));
}

TEST_P(RoutedTest, More_than_a_piece_that_waited_goes_to_the_client_at_once) {
  Establish();
  client->Arrive("first");
  client->Arrive(QByteArray(20000, 'a'));
  client->Arrive(QByteArray(20000, 'b'));
  Take();
  server->Sent();
  EXPECT_EQ(Take(), Lines({"ServerBytesSendStop()", "sckServer.SendData 40000 bytes",
                           "ServerBytesSendStart(40000 bytes, False, False)"}));
}

TEST_P(RoutedTest, A_client_that_leaves_in_a_dangle_is_ended_when_what_it_said_has_left) {
  Dangle(0, 1);
  Establish();
  Pass(500);
  server->Arrive("held");
  server->PeerCloses();
  Take();
  Pass(1000);
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 0, 1000)", "sckClient.SendData held",
                           "ClientBytesSendStart(held, False, False)"}));
  client->Sent();
  EXPECT_EQ(Take(),
            Lines({"ClientBytesSendStop()", "sckClient.Close", "LocalClientDisconnected(False)", "Dead()"}));
}

TEST_P(RoutedTest, A_server_that_leaves_in_a_dangle_is_ended_when_what_it_said_has_left) {
  Dangle(1, 1);
  Establish();
  Pass(500);
  client->Arrive("held");
  client->PeerCloses();
  Take();
  Pass(1000);
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 1, 1000)", "sckServer.SendData held",
                           "ServerBytesSendStart(held, False, False)"}));
  server->Sent();
  EXPECT_EQ(Take(),
            Lines({"ServerBytesSendStop()", "sckServer.Close", "LocalServerDisconnected(False)", "Dead()"}));
}

// A close that waits for a completion which cannot come any more.
TEST_P(RoutedTest, Both_sides_that_close_while_both_directions_send_end_the_pair) {
  Establish();
  server->Arrive("upload");
  client->Arrive("reply");
  client->PeerCloses();
  EXPECT_FALSE(pair->Dead());
  Take();
  server->PeerCloses();
  EXPECT_EQ(Take(), Lines({"sckServer.Close", "RemoteClientDisconnected(False)", "Dead()"}));
  EXPECT_TRUE(pair->Dead());
}

TEST_P(RoutedTest, Both_sides_that_leave_in_a_dangle_that_holds_nothing_are_ended_with_it) {
  Dangle(2, 1);
  Establish();
  Pass(500);
  server->PeerCloses();
  client->PeerCloses();
  EXPECT_FALSE(pair->Dead());
  Take();
  Pass(1000);
  EXPECT_EQ(Take(), Lines({"DanglingStatusChanged(False, 2, 1000)", "Dead()"}));
}

struct LoginTest : RoutedTest {
  const char* Greeting() const { return protocol == QLatin1String("FTP") ? "220 real\r\n" : "+OK real\r\n"; }
  /// What the server gets of the login.
  static constexpr char kLogin[] = "USER Fred\r\n";
};

INSTANTIATE_TEST_SUITE_P(All, LoginTest, testing::Values(kPop3, kFtp),
                         [](const auto& which) { return std::string(which.param.name); });

TEST_P(LoginTest, A_login_that_a_throttle_cuts_goes_before_what_the_client_says_next) {
  AcceptAndSay(GetParam().first);
  Connect();
  Throttle(3);
  client->Arrive(Greeting());
  EXPECT_EQ(client->mSent, "USE");
  client->Sent();
  server->Arrive("PASS x\r\n");
  EXPECT_EQ(client->mSent, "USE") << "the period is not over";
  RunDry(client);
  EXPECT_EQ(client->mSent, QByteArray(kLogin) + "PASS x\r\n");
}

TEST_P(LoginTest, After_a_late_greeting_a_login_that_a_throttle_cuts_still_goes_first) {
  AcceptAndSay(GetParam().first);
  Connect();
  client->Arrive("- not yet\r\n");
  server->Sent();
  Throttle(3);
  client->Arrive(Greeting());
  server->Arrive("PASS x\r\n");
  RunDry(client);
  EXPECT_EQ(client->mSent, QByteArray(kLogin) + "PASS x\r\n");
}

TEST_P(LoginTest, What_is_left_of_a_dangle_without_an_end_goes_first_once_the_login_has_left) {
  Dangle(0, -1);
  AcceptAndSay(GetParam().first);
  Connect();
  client->Arrive("- not yet\r\n");
  server->Arrive("passes ");
  client->Sent();
  client->Sent();
  EXPECT_EQ(client->mSent, QByteArray("passes ") + kLogin);
  client->mSent.clear();
  client->Arrive("- nor now\r\n");
  Pass(500);
  server->Arrive("held ");
  Pass(1000);
  server->Arrive("next");
  EXPECT_EQ(client->mSent, "held next");
}

// The proxy's own text is a send like any other: the timer waits until its first piece has left.
TEST_P(RepliesTest, The_proxys_own_reply_under_a_throttle_waits_for_each_piece) {
  Throttle(3);
  const QByteArray reply = GetParam().reply;
  pair->ServerConnected(1, handler);
  if (!GetParam().repliesAtAccept) {
    server->Arrive(GetParam().first);
    client->Connected();
  }
  EXPECT_EQ(server->mSent, reply.left(3));
  Pass(1000);
  EXPECT_EQ(server->mSent, reply.left(3)) << "its completion has not come";
  RunDry(server);
  EXPECT_EQ(server->mSent, reply);
}

}  // namespace
}  // namespace veltrane
