// Pass Through: relays to one fixed server for each listening port. SMTP is served this way.
#pragma once

#include "protocols/RelayHandler.h"

namespace veltrane {

/// What the history shows; not the name under which the store knows the protocol.
inline const QString kPassThruShownName = QStringLiteral("Pass Thru");

class ProtocolPassThru : public RelayHandler {
 public:
  using RelayHandler::RelayHandler;

  QString GetProtocolName() const override;
  void ShowProperties(qint32 lngPort, Form* frmParent) override;

 protected:
  const FailureTexts& Texts() const override;
  void BeginConnection() override;
  QString RejectedProtocolName() const override;

 private:
  /// The destination that the store has for a listening port. False only after a failure.
  bool GetDestinationServer(qint32 lngListeningPort, QString& strServer, qint32& lngPort);
};

}  // namespace veltrane
