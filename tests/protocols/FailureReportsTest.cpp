// Each operation of each handler reports its failure once, under its own text.
#include "tests/protocols/HandlerTest.h"

namespace veltrane {
namespace {

/// What is made to fail while an operation runs: the recorder's call, told by its name, or the store.
struct Row {
  const char* what;
  const char* recorderCall;
  void (*operation)(HandlerTest& test);
};

struct Reports : HandlerTest {
  explicit Reports(const QString& name) : HandlerTest(name) {}
  void TestBody() override {}

  /// Both directions are in the middle of a run of sends and hold something.
  void Prepare() {
    AcceptAndSay("USER a@b#c HTTP/1.0\r\n");
    Connect();
    server->Arrive("a");
    server->Arrive("held");
    client->Arrive("a");
    client->Arrive("held");
  }
  void Expect(const Row& row, const QString& name) {
    NewConnection();
    Prepare();
    world.mErrors.mTexts.clear();
    world.mRecorder.OnNote = [&](const QString& operation) {
      if (operation == QLatin1String(row.recorderCall)) throw Failure(FailureNumber::kOverflow);
    };
    row.operation(*this);
    world.mRecorder.OnNote = nullptr;
    EXPECT_EQ(world.mErrors.mTexts,
              QStringList{QStringLiteral("An error occurred while attempting to ") + QLatin1String(row.what) +
                          QStringLiteral(" (") + name +
                          QStringLiteral(").  The operating system reports: 6, Overflow")})
        << name.toStdString();
  }
};

void Accepted(HandlerTest& test) {
  test.handler->LocalServerAcceptedConnection();
}
void Rejected(HandlerTest& test) {
  test.handler->LocalServerRejectedConnection();
}
void ConnectedTo(HandlerTest& test) {
  test.handler->ConnectedToRemoteServer({});
}
void ServerGone(HandlerTest& test) {
  test.handler->RemoteServerInitiatedDisconnection({});
}
void ClientReceived(HandlerTest& test) {
  test.handler->ClientBytesReceived(QByteArray("x"));
}
void ClientSent(HandlerTest& test) {
  test.handler->ClientBytesSent();
}
void ClientGone(HandlerTest& test) {
  test.handler->RemoteClientInitiatedDisconnection();
}
void ServerReceived(HandlerTest& test) {
  test.handler->ServerBytesReceived(QByteArray("x"));
}
void ServerFails(HandlerTest& test) {
  test.handler->ServerError(1, {});
}
void ClientFails(HandlerTest& test) {
  test.handler->ClientError(1, {});
}
void ServerSent(HandlerTest& test) {
  test.handler->ServerBytesSent();
}
void NameFails(HandlerTest& test) {
  test.handler->ClientError(11001, {});
}
void Greets(HandlerTest& test) {
  test.NewConnection();
  test.pair->ServerConnected(1, test.handler);
}
void RealServerGreets(HandlerTest& test) {
  test.handler->ClientBytesReceived(QByteArray("220 x"));
}
void ClientResumes(HandlerTest& test) {
  test.client->mState = SocketState::kClosed;
  test.handler->ResumeThrottledOrDangledClientSend(false);
}
void ServerResumes(HandlerTest& test) {
  test.server->mState = SocketState::kClosed;
  test.handler->ResumeThrottledOrDangledServerSend(false);
}

const Row kSiteRows[] = {
    {"process the local server accepting the connection request", "LocalServerAcceptedConnection", Accepted},
    {"process the rejected connection request", "LocalServerRejectedConnection", Rejected},
    {"process the successful connection to the remote server", "ConnectionAttemptSuccessful", ConnectedTo},
    {"process the remote server's disconnection", "RemoteServerDisconnected", ServerGone},
    {"process the data arriving on the local client", "ClientBytesReceived", ClientReceived},
    {"process the data sent by the local client", "ClientBytesSendStop", ClientSent},
    {"process the disconnection by the remote client", "RemoteClientDisconnected", ClientGone},
    {"process the data received by the local server", "ServerBytesReceived", ServerReceived},
    {"process the local server error", "ServerInBadState", ServerFails},
    {"process the local client error", "ClientInBadState", ClientFails},
    {"process the data sent through the local server", "ServerBytesSendStop", ServerSent},
    {"send data to the remote client", "ServerBytesBuffered", NameFails},
};

const Row kFtpRows[] = {
    {"accept the remote client's connection request", "LocalServerAcceptedConnection", Accepted},
    {"process the rejected connection request", "LocalServerRejectedConnection", Rejected},
    {"process the successful connection to the remote server", "ConnectionAttemptSuccessful", ConnectedTo},
    {"process the remote server's disconnection", "RemoteServerDisconnected", ServerGone},
    {"process the data that arrived on the local client", "ClientBytesReceived", ClientReceived},
    {"process the completion of the data being sent through the local client", "ClientBytesSendStop",
     ClientSent},
    {"process the local client's disconnection", "RemoteClientDisconnected", ClientGone},
    {"process data arriving on the local server", "ServerBytesReceived", ServerReceived},
    {"process an error on the local server", "ServerInBadState", ServerFails},
    {"process an error on the local client", "ClientInBadState", ClientFails},
    {"process the completion of the data being sent on the local server", "ServerBytesSendStop", ServerSent},
    {"process the data to be sent to the remote client", "ServerBytesSendStart", Greets},
    {"process the data to be sent to the remote server", "ClientBytesSendStart", RealServerGreets},
};

const Row kResumeRows[] = {
    {"process the data during the throttled send through the local client", "ClientInBadState",
     ClientResumes},
    {"process the data during the throttled send through the local server", "ServerInBadState",
     ServerResumes},
};

TEST(FailureReports, Web_and_mail_handlers_use_the_same_texts_under_their_names) {
  for (const char* name : {"HTTP", "HTTPS", "POP3"}) {
    Reports reports{QLatin1String(name)};
    for (const Row& row : kSiteRows)
      reports.Expect(row, QLatin1String(name));
  }
}

TEST(FailureReports, Ftp_has_texts_of_its_own) {
  Reports reports{QStringLiteral("FTP")};
  for (const Row& row : kFtpRows)
    reports.Expect(row, QStringLiteral("FTP"));
}

TEST(FailureReports, Resumed_sends_name_Pass_Through_but_for_POP3) {
  for (const char* name : {"HTTP", "HTTPS", "FTP", "POP3", "Pass Through"}) {
    Reports reports{QLatin1String(name)};
    for (const Row& row : kResumeRows)
      reports.Expect(row,
                     qstrcmp(name, "POP3") == 0 ? QStringLiteral("POP3") : QStringLiteral("Pass Through"));
  }
}

TEST(FailureReports, Routing_reports_by_protocol) {
  for (const char* name : {"HTTP", "HTTPS", "POP3"}) {
    Reports reports{QLatin1String(name)};
    reports.Accept();
    reports.world.mStore.mFailReads = true;
    reports.server->Arrive("CONNECT host#a HTTP/1.0");
    EXPECT_EQ(
        reports.world.mErrors.mTexts,
        QStringList{QStringLiteral("An error occurred while attempting to route the %1 request (%1).  The "
                                   "operating system reports: 1001, store cannot be read")
                        .arg(QLatin1String(name))});
    // And the attempt goes on.
    EXPECT_EQ(reports.Take().last(), QStringLiteral("sckClient.Connect :0"));
  }
}

}  // namespace
}  // namespace veltrane
