// Whose words a report can show unescaped: each of them that docs/reliability.md lists, and no others.
#include "engine/PortTable.h"
#include "reports/SavingHTML.h"
#include "tests/reports/ReportSupport.h"
#include "tests/support/FakeNet.h"
#include "tests/support/HistoryFakes.h"

namespace veltrane {
namespace {

struct NetHolder {
  FakeNet mNet;
};

struct DescriptionsTest : testing::Test, NetHolder, World {
  static constexpr qint32 kListening = 2000;

  DescriptionsTest() : World(&mNet) {
    mLogging.SetSurroundings(mFakes.Around(mMain));
    mGeneral.gobjLogging = &mLogging;
    mGeneral.gblnRecordEvents = true;
    mMain.tvwSockets.SetSelectedItem(mMain.tvwSockets.Find(QStringLiteral("ROOT")));
    mForm.Load();
  }
  ~DescriptionsTest() override {
    if (mGeneral.gobjListening) mGeneral.gobjListening->DeInitaliseListeningSockets();
  }
  void Listen(const char* protocol) {
    AddPort(kListening, QLatin1String(protocol), QStringLiteral("Test"));
    StartListening();
  }
  const SocketPairHistory& Latest() const {
    const auto& all = mLogging.mobjSocketPairHistory;
    return *all.Item(all.Count());
  }
  /// The description of the latest connection's attempt, as the wire's bytes.
  QByteArray Attempt() const {
    const EventList& events = Latest().mobjSocketPairEvents;
    for (qsizetype i = 1; i <= events.Count(); ++i) {
      const SocketEvent& event = *events.Item(i);
      if (event.mobjEventType == etConnectionAttemptToRemoteServer) return event.mstrDescription.toLatin1();
    }
    return {};
  }
  /// The pages of the latest connection's report, all in one.
  QByteArray Report() {
    const QString path = mFolder.filePath(QStringLiteral("Report.htm"));
    EXPECT_TRUE(SaveHTMLFile(mGeneral, mForm, path, Latest()));
    QByteArray pages = ReadFile(path);
    for (qsizetype i = 1; i <= Latest().mobjSocketPairEvents.Count(); ++i)
      pages += ReadFile(mFolder.filePath(QStringLiteral("Report/Event%1.htm").arg(i)));
    return pages;
  }
  /// An FTP conversation between mClient and mServerEnd.
  void LogIn() {
    Listen("FTP");
    mClient = mNet.ConnectTo(kListening);
    mNet.Settle();
    mClient->Send("USER a@127.0.0.1:" + QByteArray::number(mServer->Port()) + "\r\n");
    ASSERT_TRUE(mNet.Pump([this] {
      if (!mServerEnd) mServerEnd = mServer->Accept();
      return mServerEnd != nullptr;
    }));
  }
  /// A connection to the data port that the address in line names.
  std::unique_ptr<Peer> ConnectToDataPort(const QByteArray& line) {
    const QList<QByteArray> numbers = line.trimmed().chopped(line.trimmed().endsWith(')') ? 1 : 0).split(',');
    auto peer = mNet.ConnectTo(numbers.value(4).toInt() * 256 + numbers.value(5).toInt());
    mNet.Settle();
    return peer;
  }

  Logging mLogging{mGeneral};
  HistoryFakes mFakes{mJournal};
  frmSaveHistory mForm{mGeneral, mLogging, mMain};
  QTemporaryDir mFolder{QDir::tempPath() + QStringLiteral("/words-XXXXXX")};
  std::unique_ptr<PeerListener> mServer = mNet.Listen();
  std::unique_ptr<Peer> mClient;
  std::unique_ptr<Peer> mServerEnd;
};

constexpr char kAttempt[] = "A connection request has been made to ";

struct ClientWords {
  const char* protocol;
  const char* says;
  const char* host;  // and the port
};

struct ClientWordsTest : DescriptionsTest, testing::WithParamInterface<ClientWords> {};

TEST_P(ClientWordsTest, The_client_chooses_the_host_of_the_attempt) {
  const ClientWords& row = GetParam();
  Listen(row.protocol);
  const auto client = mNet.ConnectTo(kListening);
  mNet.Settle();
  client->Send(row.says);
  mNet.Settle();
  EXPECT_EQ(Attempt(), QByteArray(kAttempt) + row.host + '.');
  EXPECT_TRUE(Report().contains(QByteArray("<b>") + kAttempt + "<script>"));
}

INSTANTIATE_TEST_SUITE_P(
    All, ClientWordsTest,
    testing::Values(ClientWords{"HTTP", "GET http://<script>x HTTP/1.0\r\n\r\n", "<script>x:80"},
                    ClientWords{"HTTPS", "CONNECT <script>x:443 HTTP/1.0\r\n\r\n", "<script>x:443"},
                    ClientWords{"POP3", "USER name#<script>x\r\n", "<script>x:110"},
                    ClientWords{"FTP", "USER name@<script>x\r\n", "<script>x:21"}),
    [](const auto& row) { return std::string(row.param.protocol); });

TEST_F(DescriptionsTest, By_PORT_the_client_chooses_the_host_of_a_data_connection) {
  ASSERT_NO_FATAL_FAILURE(LogIn());
  mServerEnd->Send("220 ready\r\n");
  mNet.Settle();
  mClient->Send("PORT <script>x,0,0,1,4,1\r\n");
  ASSERT_TRUE(mNet.Pump([this] { return mServerEnd->Received().contains("PORT "); }));
  const auto data = ConnectToDataPort(mServerEnd->Received().mid(mServerEnd->Received().indexOf("PORT ")));
  EXPECT_EQ(Latest().mstrProtocol, QStringLiteral("Pass Thru"));
  EXPECT_EQ(Attempt(), QByteArray(kAttempt) + "<script>x.0.0.1:1025.");
  EXPECT_TRUE(Report().contains(QByteArray("<b>") + kAttempt + "<script>"));
}

TEST_F(DescriptionsTest, By_227_the_server_chooses_the_host_of_a_data_connection) {
  ASSERT_NO_FATAL_FAILURE(LogIn());
  mServerEnd->Send("220 ready\r\n");
  mNet.Settle();
  mServerEnd->Send("227 Entering Passive Mode (<script>x,0,0,1,4,1)\r\n");
  ASSERT_TRUE(mNet.Pump([this] { return mClient->Received().contains("227 "); }));
  const auto data = ConnectToDataPort(mClient->Received().mid(mClient->Received().indexOf("227 ")));
  EXPECT_EQ(Latest().mstrProtocol, QStringLiteral("Pass Thru"));
  EXPECT_EQ(Attempt(), QByteArray(kAttempt) + "<script>x.0.0.1:1025.");
  EXPECT_TRUE(Report().contains(QByteArray("<b>") + kAttempt + "<script>"));
}

TEST_F(DescriptionsTest, With_Pass_Through_and_with_a_next_proxy_nobody_chooses_the_host) {
  SetDestination(kListening, QStringLiteral("next.test"), 80);
  for (const char* protocol : {"Pass Through", "HTTP", "HTTPS"}) {
    const QString section = PortSection(QLatin1String(protocol), kListening);
    Save(section, QStringLiteral("ConnectToProxy"), QStringLiteral("True"));
    Save(section, QStringLiteral("Proxy"), QStringLiteral("next.test"));
    Save(section, QStringLiteral("Port"), QStringLiteral("80"));
    Listen(protocol);
    const auto client = mNet.ConnectTo(kListening);
    mNet.Settle();
    client->Send("GET http://<script>x HTTP/1.0\r\n\r\n");
    mNet.Settle();
    EXPECT_EQ(Attempt(), QByteArray(kAttempt) + "next.test:80.") << protocol;
    EXPECT_FALSE(Report().contains("<script>")) << protocol;
    mGeneral.gobjListening->DeInitaliseListeningSockets();
  }
}

}  // namespace
}  // namespace veltrane
