#include "protocols/ProtocolPassThru.h"

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/PortTable.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"

namespace veltrane {
namespace {

// What the history shows; not the name under which the store knows the protocol.
const QString kShownName = QStringLiteral("Pass Thru");

constexpr FailureTexts kTexts{
    .localServerAcceptedConnection =
        u"An error occurred while attempting to process the connection request from the remote client (Pass "
        u"Through).  The operating system reports: ",
    .localServerRejectedConnection =
        u"An error occurred while attempting to process the rejected connection request (Pass Through).  The "
        u"operating system reports: ",
    .connectedToRemoteServer =
        u"An error occurred while attempting to process the successful connection to the remote server (Pass "
        u"Through).  The operating system reports: ",
    .remoteServerInitiatedDisconnection =
        u"An error occurred while attempting to process the remote server's disconnection (Pass Through).  "
        u"The "
        u"operating system reports: ",
    .clientBytesReceived =
        u"An error occurred while attempting to process the data arriving on the local client (Pass "
        u"Through).  "
        u"The operating system reports: ",
    .clientBytesSent =
        u"An error occurred while attempting to process the data sent through the local client (Pass "
        u"Through).  "
        u"The operating system reports: ",
    .remoteClientInitiatedDisconnection =
        u"An error occurred while attempting to process the remote client's disconnection (Pass Through).  "
        u"The "
        u"operating system reports: ",
    .serverBytesReceived =
        u"An error occurred while attempting to process the data arriving on the local server (Pass "
        u"Through).  "
        u"The operating system reports: ",
    .serverError =
        u"An error occurred while attempting to process the local server's error (Pass Through).  The "
        u"operating "
        u"system reports: ",
    .clientError =
        u"An error occurred while attempting to process the local client's error (Pass Through).  The "
        u"operating "
        u"system reports: ",
    .serverBytesSent =
        u"An error occurred while attempting to process the data sent through the local server (Pass "
        u"Through).  "
        u"The operating system reports: ",
    .resumeClientSend =
        u"An error occurred while attempting to process the data during the throttled send through the local "
        u"client (Pass Through).  The operating system reports: ",
    .resumeServerSend =
        u"An error occurred while attempting to process the data during the throttled send through the local "
        u"server (Pass Through).  The operating system reports: ",
};

}  // namespace

QString ProtocolPassThru::GetProtocolName() const {
  return QStringLiteral("Pass Through");
}

QString ProtocolPassThru::RejectedProtocolName() const {
  return kShownName;
}

const FailureTexts& ProtocolPassThru::Texts() const {
  return kTexts;
}

void ProtocolPassThru::ShowProperties(qint32, Form*) {}

void ProtocolPassThru::BeginConnection() {
  Log().LocalServerAcceptedConnection(Pair(), true, mlngWasListeningOnPort);
  Log().GotProtocol(Pair(), kShownName);
  RecordNameOfRemoteClient();
  QString server;
  qint32 port = 0;
  GetDestinationServer(Pair().LocalServerPort(), server, port);
  AttemptConnection(server, port);
}

bool ProtocolPassThru::GetDestinationServer(qint32 lngListeningPort, QString& strServer, qint32& lngPort) {
  return mGeneral.Guard(
      u"An error occurred while attempting to get the destination server and port (Pass Through).  The "
      u"operating "
      u"system reports: ",
      [&] {
        const QString section = PortSection(GetProtocolName(), lngListeningPort);
        lngPort = ToInt32(mGeneral.mSettings.Get(section, QStringLiteral("Port"), QStringLiteral("80")));
        strServer = mGeneral.mSettings.Get(section, QStringLiteral("Server"), kServerPlaceholder);
      });
}

}  // namespace veltrane
