#include "tests/protocols/EchoHandler.h"

#include "engine/General.h"
#include "engine/PortTable.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"

namespace veltrane {
namespace {

const QString kPrefix = QStringLiteral("Prefix");

constexpr FailureTexts kTexts{
    .protocol = u"Echo",
    .resumeProtocol = u"Echo",
    .localServerAcceptedConnection = u"process the connection request from the remote client",
    .localServerRejectedConnection = u"process the rejected connection request",
    .connectedToRemoteServer = u"process the successful connection to the remote server",
    .remoteServerInitiatedDisconnection = u"process the remote server's disconnection",
    .clientBytesReceived = u"process the data arriving on the local client",
    .clientBytesSent = u"process the data sent through the local client",
    .remoteClientInitiatedDisconnection = u"process the remote client's disconnection",
    .serverBytesReceived = u"process the data arriving on the local server",
    .serverError = u"process the local server's error",
    .clientError = u"process the local client's error",
    .serverBytesSent = u"process the data sent through the local server",
};

}  // namespace

QString EchoHandler::GetProtocolName() const {
  return QStringLiteral("Echo");
}

const FailureTexts& EchoHandler::Texts() const {
  return kTexts;
}

void EchoHandler::ShowProperties(qint32 lngPort, Form* frmParent) {
  ShowPage<frmProtocolEchoPP>(lngPort, frmParent);
}

void EchoHandler::BeginConnection() {
  Log().LocalServerAcceptedConnection(Pair(), false, mlngWasListeningOnPort);
  Log().GotProtocol(Pair(), GetProtocolName());
  RecordNameOfRemoteClient();
}

// There is no outgoing connection, so whatever the client says comes early.
void EchoHandler::ClientSpokeEarly(const Payload& data) {
  const QString section = PortSection(GetProtocolName(), Pair().LocalServerPort());
  const QByteArray prefix = mGeneral.mSettings.Get(section, kPrefix).toLatin1();
  SendOwn(kToClient, Payload(prefix + data.Bytes()));
}

// Nor an outcome of an attempt that would end the pair.
void EchoHandler::ClientLeftEarly() {
  Pair().SetDead(true);
  Log().Dead(Pair());
}

frmProtocolEchoPP::frmProtocolEchoPP(General& general)
    : PropertyPage(general, QStringLiteral("frmProtocolEchoPP"), QStringLiteral("Echo Properties"),
                   {{txtPrefix, kPrefix, QString()}}) {}

}  // namespace veltrane
