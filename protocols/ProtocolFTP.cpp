#include "protocols/ProtocolFTP.h"

#include <QScopedValueRollback>

#include <utility>

#include "engine/Listening.h"
#include "engine/MainWindow.h"
#include "engine/PortTable.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"
#include "forms/TreeView.h"
#include "protocols/frmProtocolFTPPP.h"

namespace veltrane {
namespace {

constexpr FailureTexts kTexts{
    .protocol = u"FTP",
    .resumeProtocol = u"Pass Through",
    .localServerAcceptedConnection = u"accept the remote client's connection request",
    .localServerRejectedConnection = u"process the rejected connection request",
    .connectedToRemoteServer = u"process the successful connection to the remote server",
    .remoteServerInitiatedDisconnection = u"process the remote server's disconnection",
    .clientBytesReceived = u"process the data that arrived on the local client",
    .clientBytesSent = u"process the completion of the data being sent through the local client",
    .remoteClientInitiatedDisconnection = u"process the local client's disconnection",
    .serverBytesReceived = u"process data arriving on the local server",
    .serverError = u"process an error on the local server",
    .clientError = u"process an error on the local client",
    .serverBytesSent = u"process the completion of the data being sent on the local server",
    .routeRequest = u"route the FTP request",
    .sendDataToRemoteClient = u"process the data to be sent to the remote client",
    .sendDataToRemoteServer = u"process the data to be sent to the remote server",
};

constexpr const char* kGreeting = "220 Veltrane FTP Server\r\n";
constexpr QByteArrayView kServerGreeting("220 ");
constexpr QByteArrayView kPortWord("port ");
constexpr QByteArrayView kPasvWords("227 entering passive mode");

constexpr int kAttempts = 10;
constexpr int kDeepestYield = 16;

QString NumberAndText(qint32 number, const QString& text) {
  return QString::number(number) + QStringLiteral(", ") + text;
}

}  // namespace

/// A line of the control connection that carries the address of a data connection.
struct ProtocolFTP::AddressLine {
  DataAddress (*read)(QByteArrayView line);
  QByteArray (*write)(const DataAddress& address);
  const char16_t* attempt;
  /// An active transfer: the site connects to the data port, wherever it is. To that of a passive one comes
  /// the client.
  bool siteConnects;
};

const ProtocolFTP::AddressLine ProtocolFTP::kPortCommand{ReadPortCommand, WritePortCommand,
                                                         u"route the PORT command", true};
const ProtocolFTP::AddressLine ProtocolFTP::kPasvReply{ReadPasvReply, WritePasvReply,
                                                       u"route the PASV command", false};

const FailureTexts& ProtocolFTP::Texts() const {
  return kTexts;
}

void ProtocolFTP::ShowProperties(qint32 lngPort, Form* frmParent) {
  ShowPage<frmProtocolFTPPP>(lngPort, frmParent);
}

void ProtocolFTP::Greet() {
  SendDataToRemoteClient(QByteArray(kGreeting));
}

void ProtocolFTP::RouteRequest(Payload& data, QString& host, qint32& port) {
  RouteFtpLogin(data, host, port);
}

// The login line waits for the server's greeting.
void ProtocolFTP::BeginRelay() {
  if (mblnRemoteClientGone) FinishPair();
}

void ProtocolFTP::ClientSpoke(const Payload& data) {
  Payload line = data;
  if (!Pair().IsDanglingCurrentlyOn(true) && BeginsWith(line, kPortWord) && !RoutePortCommand(line)) {
    SendDataToRemoteClient(line);
    return;
  }
  RoutedHandler::ClientSpoke(line);
}

void ProtocolFTP::ServerSpoke(const Payload& data) {
  // In every chunk of the connection, not only the first.
  if (data.View().startsWith(kServerGreeting)) {
    Log().ClientBytesReceived(Pair(), data, false);
    mLoginHasLeft = true;
    mLoginIsPassed = false;
    SendDataToRemoteServer(mvarClientBuffer.TakeAll());
    return;
  }
  mLoginIsPassed = !mLoginHasLeft;
  Log().ClientBytesReceived(Pair(), data, true);
  Payload line = data;
  if (BeginsWith(line, kPasvWords) && !RoutePasvReply(line)) {
    // To the server, which it does not concern: kept so.
    SendDataToRemoteServer(line);
    return;
  }
  Relay(kToClient, line);
}

void ProtocolFTP::SendBuffer(const Lane& lane) {
  if (lane.clientToServer) {
    mLoginHasLeft = true;
    mLoginIsPassed = false;
  }
  RoutedHandler::SendBuffer(lane);
}

bool ProtocolFTP::RoutePortCommand(Payload& data) {
  return RouteDataAddress(kPortCommand, data);
}

bool ProtocolFTP::RoutePasvReply(Payload& data) {
  return RouteDataAddress(kPasvReply, data);
}

bool ProtocolFTP::RouteDataAddress(const AddressLine& line, Payload& data) {
  bool opened = false;
  mGeneral.Guard(OperationText{line.attempt, Texts().protocol}, [&] {
    const DataAddress remote = line.read(data.View());
    qint32 port = 0;
    qint32 error = 0;
    QString text;
    mSiteConnects = line.siteConnects;
    opened = StartListeningOnRandomPort(port, kEphemeralProtocol, error, text, kEphemeralProtocol,
                                        remote.port, remote.host);
    if (opened) {
      // The end that faces the real server, also in what goes to the client.
      data = line.write({Pair().LocalClientIP(), port});
      return;
    }
    mGeneral.LogError(QStringLiteral("An error occurred while attempting to listen on an Ephemeral port ") +
                      QString::number(port) +
                      QStringLiteral(" (a short-lived random port in the range 1024-5000).  The operating "
                                     "system reports: ") +
                      NumberAndText(error, text));
    data = Payload::FromText(QStringLiteral("451 Veltrane: ") + text + QStringLiteral("\r\n"));
  });
  return opened;
}

bool ProtocolFTP::StartListeningOnRandomPort(qint32& lngPort, const QString& strDescription, qint32& lngError,
                                             QString& strError, const QString& strProtocol,
                                             qint32 lngRemotePort, const QString& strRemoteServer) {
  bool listens = false;
  mGeneral.Guard(
      u"An error occurred while attempting to listen on a random port.  The operating system reports: ", [&] {
        try {
          listens = OpenDataPort(lngPort, strDescription, lngError, strError, strProtocol,
                                 {strRemoteServer, lngRemotePort});
          if (!listens) return;
          // Before the yield, in which the port may be used up and drawn again for another's transfer.
          if (std::exchange(mSiteConnects, false))
            mGeneral.gobjListening->ExpectPeer(lngPort, Pair().RemoteServerIP());
          ShowDataPort(lngPort);
          Yield();
        } catch (...) {
          const Failure failure = CurrentFailure();
          lngError = failure.Number();
          strError = failure.Text();
          throw;
        }
      });
  return listens;
}

// What comes in one yield may yield again, and how often is the peers' choice; the stack has an end.
void ProtocolFTP::Yield() {
  if (mGeneral.mYieldDepth >= kDeepestYield) return;
  const QScopedValueRollback<int> deeper(mGeneral.mYieldDepth, mGeneral.mYieldDepth + 1);
  mGeneral.mPlatform.desktop.DoEvents();
}

bool ProtocolFTP::OpenDataPort(qint32& lngPort, const QString& strDescription, qint32& lngError,
                               QString& strError, const QString& strProtocol, const DataAddress& remote) {
  for (int attempt = 1; attempt <= kAttempts; ++attempt) {
    lngPort = DataPort(mGeneral.mPlatform.random.Rnd());
    if (IsTaken(lngPort)) {
      lngError = kSocketAddressInUse;
      strError = QString::fromLatin1(kSocketAddressInUseText);
      continue;
    }
    SaveDataPort(lngPort, strDescription, strProtocol, remote);
    if (ListenOnce(lngPort, lngError, strError)) return true;
    if (lngError != kSocketAddressInUse) return false;
  }
  mGeneral.LogError(
      QStringLiteral("An error occurred while attempting to listen on an Ephemeral port (a short-lived "
                     "random port in the range 1024-5000).  The operating system reports: ") +
      NumberAndText(lngError, strError));
  return false;
}

/// Whether the port is the user's, or listens already: opening it would cost that port its settings and its
/// socket, so it counts as in use. Its protocol tells a data port, which can be drawn again when it has
/// served its connection; a row with a description only is the user's.
bool ProtocolFTP::IsTaken(qint32 lngPort) const {
  if (Socket** socket = mGeneral.gobjListening->mcolListeningSocket.Find(ListeningSocketKey(lngPort));
      socket && (*socket)->State() == SocketState::kListening)
    return true;
  const QString port = QString::number(lngPort);
  const QString protocol = mGeneral.mSettings.Get(kProtocols, port);
  if (!protocol.isEmpty()) return protocol != kEphemeralProtocol;
  return mGeneral.mSettings.Get(kPortsInUse, port, kEphemeralProtocol) != kEphemeralProtocol;
}

/// Listens for one connection; takes the port's rows and the idle socket away again when that fails.
bool ProtocolFTP::ListenOnce(qint32 lngPort, qint32& lngError, QString& strError) {
  Socket* socket = nullptr;
  if (mGeneral.gobjListening->StartListeningOnSocket(socket, lngPort, lngError, strError)) {
    socket->SetTag(kEphemeralTag);
    return true;
  }
  mGeneral.gobjListening->DestroySockets(lngPort);
  mGeneral.DeleteEphemeralPortReferences(static_cast<qint16>(lngPort));
  return false;
}

// These rows are what makes the port a Pass Through port to the remote address.
void ProtocolFTP::SaveDataPort(qint32 lngPort, const QString& strDescription, const QString& strProtocol,
                               const DataAddress& remote) {
  const ApplicationSettings& settings = mGeneral.mSettings;
  const QString port = QString::number(lngPort);
  const QString section = PortSection(QStringLiteral("Pass Through"), lngPort);
  settings.Together([&] {
    settings.Save(kProtocols, port, strProtocol);
    settings.Save(section, QStringLiteral("Port"), QString::number(remote.port));
    settings.Save(section, QStringLiteral("Server"), remote.host);
    settings.Save(kPortsInUse, port, strDescription);
  });
}

void ProtocolFTP::ShowDataPort(qint32 lngPort) {
  TreeView& tree = mGeneral.frmMain->SocketTree();
  const QString key = ProtocolNodeKey(lngPort);
  if (mGeneral.DoesNodeExist(key)) {
    const QString description = mGeneral.mSettings.Get(kPortsInUse, QString::number(lngPort));
    tree.Node(key).SetText(PortNodeText(description, lngPort, true));
  } else {
    tree.Add(QStringLiteral("ROOT"), key, PortNodeText(kEphemeralProtocol, lngPort, true),
             QStringLiteral("Protocol"))
        .SetTag(QString::number(lngPort));
  }
  tree.Refresh();
}

void ProtocolFTP::SendDataToRemoteServer(const Payload& text) {
  Attempt(&FailureTexts::sendDataToRemoteServer, [&] { SendOwn(kToServer, text); });
}

}  // namespace veltrane
