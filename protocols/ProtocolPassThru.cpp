#include "protocols/ProtocolPassThru.h"

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/PortTable.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"
#include "protocols/frmProtocolPassThruPP.h"

namespace veltrane {
namespace {

constexpr FailureTexts kTexts{
    .protocol = u"Pass Through",
    .resumeProtocol = u"Pass Through",
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
    .routeRequest = u"get the destination server and port",
};

}  // namespace

QString ProtocolPassThru::GetProtocolName() const {
  return QStringLiteral("Pass Through");
}

QString ProtocolPassThru::RejectedProtocolName() const {
  return kPassThruShownName;
}

const FailureTexts& ProtocolPassThru::Texts() const {
  return kTexts;
}

void ProtocolPassThru::ShowProperties(qint32 lngPort, Form* frmParent) {
  ShowPage<frmProtocolPassThruPP>(lngPort, frmParent);
}

void ProtocolPassThru::BeginConnection() {
  Log().LocalServerAcceptedConnection(Pair(), true, mlngWasListeningOnPort);
  Log().GotProtocol(Pair(), kPassThruShownName);
  RecordNameOfRemoteClient();
  QString server;
  qint32 port = 0;
  GetDestinationServer(Pair().LocalServerPort(), server, port);
  AttemptConnection(server, port);
}

bool ProtocolPassThru::GetDestinationServer(qint32 lngListeningPort, QString& strServer, qint32& lngPort) {
  return Attempt(&FailureTexts::routeRequest, [&] {
    const QString section = PortSection(GetProtocolName(), lngListeningPort);
    lngPort = ToInt32(mGeneral.mSettings.Get(section, QStringLiteral("Port"), QStringLiteral("80")));
    strServer = mGeneral.mSettings.Get(section, QStringLiteral("Server"), kServerPlaceholder);
  });
}

}  // namespace veltrane
