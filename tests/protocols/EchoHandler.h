// A protocol made by the five steps of docs/architecture.md ("A new protocol") and nothing else: it has no
// server, but gives its client back what it says, behind a text that the port's page sets.
#pragma once

#include "protocols/PropertyPage.h"
#include "protocols/RelayHandler.h"

namespace veltrane {

class EchoHandler : public RelayHandler {
 public:
  using RelayHandler::RelayHandler;

  QString GetProtocolName() const override;
  void ShowProperties(qint32 lngPort, Form* frmParent) override;

 protected:
  const FailureTexts& Texts() const override;
  void BeginConnection() override;
  QString RejectedProtocolName() const override { return GetProtocolName(); }
  void ClientSpokeEarly(const Payload& data) override;
  void ClientLeftEarly() override;
};

/// The page of an Echo port: what stands before each answer.
class frmProtocolEchoPP : public PropertyPage {
 public:
  explicit frmProtocolEchoPP(General& general);

  TextBox txtPrefix{*this, QStringLiteral("txtPrefix")};
};

}  // namespace veltrane
