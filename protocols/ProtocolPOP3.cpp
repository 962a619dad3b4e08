#include "protocols/ProtocolPOP3.h"

#include "engine/Recorder.h"
#include "engine/SocketPair.h"
#include "protocols/frmProtocolPOP3PP.h"

namespace veltrane {
namespace {

constexpr FailureTexts kTexts = SiteFailureTexts(u"POP3", u"POP3", u"route the POP3 request");

constexpr const char* kGreeting = "+OK\r\n";
constexpr QByteArrayView kServerGreeting("+ok");

}  // namespace

const FailureTexts& ProtocolPOP3::Texts() const {
  return kTexts;
}

void ProtocolPOP3::ShowProperties(qint32 lngPort, Form* frmParent) {
  ShowPage<frmProtocolPOP3PP>(lngPort, frmParent);
}

void ProtocolPOP3::Greet() {
  SendDataToRemoteClient(QByteArray(kGreeting));
  mblnAwaitingGreeting = true;
}

// A login without a server goes on to an attempt without a host, which fails.
void ProtocolPOP3::RouteRequest(Payload& data, QString& host, qint32& port) {
  RoutePop3Login(PortSettings(), data, host, port);
}

// The login line waits for the server's greeting.
void ProtocolPOP3::BeginRelay() {
  if (mblnRemoteClientGone) FinishPair();
}

void ProtocolPOP3::ServerSpoke(const Payload& data) {
  if (mblnAwaitingGreeting && BeginsWith(data, kServerGreeting)) {
    Log().ClientBytesReceived(Pair(), data, false);
    if (!mvarClientBuffer.IsEmpty() && Pair().ClientState() == SocketState::kConnected) {
      // Only the pending flag: what the client says before this is sent goes out on its own.
      SendBuffer(kToServer);
      return;
    }
    // Nothing waits: the greeting is recorded once more, and relayed.
  }
  mLoginIsPassed = mblnAwaitingGreeting;
  SiteHandler::ServerSpoke(data);
}

void ProtocolPOP3::SendBuffer(const Lane& lane) {
  if (lane.clientToServer) {
    mblnAwaitingGreeting = false;
    mLoginIsPassed = false;
  }
  SiteHandler::SendBuffer(lane);
}

}  // namespace veltrane
