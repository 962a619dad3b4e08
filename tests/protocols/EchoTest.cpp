#include "tests/protocols/EchoHandler.h"
#include "tests/protocols/HandlerTest.h"
#include "tests/support/FakeNet.h"

namespace veltrane {
namespace {

const QString kEcho = QStringLiteral("Echo");
constexpr qint32 kPort = HandlerTest::kPort;

/// The rows of all protocols and one more: the fourth of the five steps.
ProtocolTable TableWithEcho() {
  ProtocolTable table = AllProtocols();
  table.push_back({kEcho, [](General& general) { return std::make_shared<EchoHandler>(general); }});
  return table;
}

struct EchoTest : HandlerTest {
  EchoTest() : HandlerTest(kEcho, TableWithEcho()) {}
};

TEST_F(EchoTest, A_client_gets_back_what_it_says) {
  pair->ServerConnected(7, handler);
  EXPECT_EQ(Take(),
            Lines({"sckServer.Accept 7", "LocalServerAcceptedConnection(False, 2000)", "GotProtocol(Echo)"}));
  server->Arrive("hello");
  EXPECT_EQ(Take(), Lines({"ServerBytesReceived(hello, True)", "sckServer.SendData hello",
                           "ServerBytesSendStart(hello, False, False)"}));
  server->Sent();
  server->Arrive(" again");
  EXPECT_EQ(server->mSent, "hello again");
}

TEST_F(EchoTest, What_comes_while_an_answer_is_out_waits_its_turn) {
  Accept();
  server->Arrive("one ");
  server->Arrive("two ");
  server->Arrive("three");
  EXPECT_EQ(server->mSent, "one ");
  server->Sent();
  EXPECT_EQ(server->mSent, "one two three");
}

TEST_F(EchoTest, A_throttle_holds_the_answers_to_its_rate) {
  world.mSchedule.mThrottleS2C = true;
  world.mSchedule.mThrottleBytes = 3;
  world.mSchedule.mThrottlePeriod = 100;
  Accept();
  server->Arrive("abcdef");
  server->Sent();
  EXPECT_EQ(server->mSent, "abc");
  Pass(99);
  EXPECT_EQ(server->mSent, "abc");
  Pass(1);
  EXPECT_EQ(server->mSent, "abcdef");
}

TEST_F(EchoTest, The_pair_ends_with_its_client) {
  Accept();
  server->PeerCloses();
  EXPECT_TRUE(pair->Dead());
  EXPECT_EQ(Take().last(), QStringLiteral("Dead()"));
}

TEST_F(EchoTest, A_rejected_connection_is_recorded_by_its_protocol) {
  pair->ConnectionRejected(7, handler);
  EXPECT_EQ(Take(), Lines({"LocalServerRejectedConnection(True, 2000)", "GotProtocol(Echo)", "Dead()"}));
}

TEST_F(EchoTest, Its_page_sets_what_stands_before_each_answer) {
  world.mDesktop.mModalScripts.append([](Form& form) {
    auto& page = dynamic_cast<frmProtocolEchoPP&>(form);
    page.txtPrefix.SetText(QStringLiteral("> "));
    page.cmdOK.Click();
  });
  handler->ShowProperties(kPort, &world.mMain);
  Accept();
  server->Arrive("hello");
  EXPECT_EQ(server->mSent, "> hello");
}

TEST(EchoPortTest, A_port_with_its_name_in_the_table_is_served_by_it) {
  FakeNet net;
  World world(&net, nullptr, TableWithEcho());
  world.AddPort(kPort, kEcho, QStringLiteral("Test"));
  world.AddNode(kPort, QStringLiteral("Test"));
  world.StartListening();
  const auto one = net.ConnectTo(kPort);
  const auto two = net.ConnectTo(kPort);
  net.Settle();
  one->Send("first");
  two->Send("second");
  net.Settle();
  EXPECT_EQ(one->Received(), "first");
  EXPECT_EQ(two->Received(), "second");
  one->Close();
  two->Close();
  net.Settle();
  EXPECT_EQ(net.OpenCount(), world.mGeneral.gobjListening->mcolListeningSocket.Count());
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

}  // namespace
}  // namespace veltrane
