#include "protocols/RoutedHandler.h"

#include <algorithm>

#include "engine/PortTable.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"

namespace veltrane {

QString RoutedHandler::GetProtocolName() const {
  return QString::fromUtf16(Texts().protocol);
}

void RoutedHandler::BeginConnection() {
  // No connection attempt follows at once, so the next event is of another moment.
  Log().LocalServerAcceptedConnection(Pair(), false, mlngWasListeningOnPort);
  Log().GotProtocol(Pair(), GetProtocolName());
  RecordNameOfRemoteClient();
  Greet();
}

void RoutedHandler::ClientSpokeEarly(const Payload& data) {
  if (mblnRouted) {
    Hold(kToServer, data, false);
    return;
  }
  mblnRouted = true;
  Payload routed = data;
  QString host;
  qint32 port = 0;
  Attempt(&FailureTexts::routeRequest, [&] { RouteRequest(routed, host, port); });
  if (AttemptConnection(host, port) && ForwardsFirstChunk()) mvarClientBuffer.Append(routed);
}

SettingReader RoutedHandler::PortSettings() const {
  return [this, section = PortSection(GetProtocolName(), Pair().LocalServerPort())](
             const QString& key, const QString& defaultValue) {
    return mGeneral.mSettings.Get(section, key, defaultValue);
  };
}

bool RoutedHandler::BeginsWith(const Payload& data, QByteArrayView words) {
  return data.View().first(std::min(data.Size(), words.size())).compare(words, Qt::CaseInsensitive) == 0;
}

void RoutedHandler::SendDataToRemoteClient(const Payload& text) {
  Attempt(&FailureTexts::sendDataToRemoteClient, [&] { SendOwn(kToClient, text); });
}

void RoutedHandler::DanglingStatusChanged(bool blnDanglingOn, qint16 intDataBeingDangled,
                                          qint32 lngTimeDuringDangle) {
  Log().DanglingStatusChanged(Pair(), blnDanglingOn, intDataBeingDangled, lngTimeDuringDangle);
}

void SiteHandler::ClientLeftEarly() {
  // No attempt was made whose outcome could end the pair.
  if (!IsRouted()) Log().Dead(Pair());
}

void SiteHandler::OutgoingSocketFailed(bool blnAttemptFailed) {
  if (blnAttemptFailed) {
    const QString section = kProtocols + u'\\' + GetProtocolName();
    SendDataToRemoteClient(Payload::FromText(mGeneral.mSettings.Get(section, QStringLiteral("NoSiteError"))));
  }
  if (mblnServerSending) mblnRemoteServerGone = true;
}

}  // namespace veltrane
