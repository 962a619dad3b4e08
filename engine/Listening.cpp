#include "engine/Listening.h"

#include <algorithm>

#include "base/Numbers.h"
#include "engine/FailureSchedule.h"
#include "engine/General.h"
#include "engine/MainWindow.h"
#include "engine/PortTable.h"
#include "forms/TreeView.h"

namespace veltrane {

class Listening::ListenerEvents : public SocketEvents {
 public:
  ListenerEvents(Listening& listening, int index) : mListening(listening), mIndex(index) {}
  // What happens inside an event may end the program, and let go of the listening object.
  void ConnectionRequest(qint32 requestId) override {
    const std::shared_ptr<Listening> keep = mListening.shared_from_this();
    keep->ConnectionRequest(mIndex, requestId);
  }
  void Error(qint32 number, const QString& description) override {
    const std::shared_ptr<Listening> keep = mListening.shared_from_this();
    keep->ListenerFailed(number, description);
  }

 private:
  Listening& mListening;
  int mIndex;
};

Listening::Listening(General& general)
    : mGeneral(general), mStrangers(general), sckServer(general.mPlatform.sockets, [this](int index) {
        return std::make_unique<ListenerEvents>(*this, index);
      }) {}

Listening::~Listening() = default;

void Listening::InitaliseListeningSockets() {
  for (const SettingRow& row : mGeneral.mSettings.All(kProtocols)) {
    // A row that is no port must not keep the others from being served.
    mGeneral.Guard(QStringLiteral("An error occurred while attempting to listen on port \"") + row.first +
                       QStringLiteral("\" of the port table.  The operating system reports: "),
                   [&] {
                     const qint32 port = ToInt32(row.first);
                     if (row.second != kDontUse) {
                       StartListeningAtStart(port);
                     } else {
                       mcolListeningSocket.Add(&CreateListeningSocket(), ListeningSocketKey(port));
                     }
                   });
  }
}

void Listening::StartListeningAtStart(qint32 lngPort) {
  Socket* socket = nullptr;
  qint32 number = 0;
  QString text;
  if (StartListeningOnSocket(socket, lngPort, number, text)) return;
  mGeneral.LogError(
      QStringLiteral("A problem occurred while attempting to listen on port ") + QString::number(lngPort) +
      QStringLiteral(". This generally indicates that another application is already listening on this port. "
                     "Terminate this other application and then attempt to resume listening on this port. "
                     "The operating system reports: 0x") +
      QString::number(number, 16).toUpper() + QStringLiteral(" (") + QString::number(number) +
      QStringLiteral("), ") + text);
}

Socket& Listening::CreateListeningSocket() {
  Socket* socket = nullptr;
  mGeneral.Guard(
      u"An error occurred while attempting to create a listening socket.  The operating system reports: ",
      [&] { socket = &sckServer.Load(); });
  if (!socket) throw Failure(FailureNumber::kObjectNotSet);
  return *socket;
}

bool Listening::StartListeningOnSocket(Socket*& objListeningSocket, qint32 lngPort, qint32& lngError,
                                       QString& strError) {
  try {
    DestroySockets(lngPort);
    objListeningSocket = &CreateListeningSocket();
    mcolListeningSocket.Add(objListeningSocket, ListeningSocketKey(lngPort));
    objListeningSocket->SetLocalPort(lngPort);
    objListeningSocket->Listen();
    while (objListeningSocket->State() != SocketState::kListening)
      mGeneral.frmMain->RepaintWindow();
    return true;
  } catch (...) {
    const Failure failure = CurrentFailure();
    lngError = failure.Number();
    strError = failure.Text();
    return false;
  }
}

void Listening::DestroySockets(qint32 lngPort) {
  mExpectedPeers.remove(lngPort);
  const QString key = ListeningSocketKey(lngPort);
  // An idle socket has no port, so to speak port 0, which a row may name.
  const auto isAnothers = [&](const Socket& socket) {
    for (qsizetype at = 1; at <= mcolListeningSocket.Count(); ++at)
      if (mcolListeningSocket.Item(at) == &socket) return mcolListeningSocket.KeyAt(at) != key;
    return false;
  };
  for (int i = sckServer.UpperBound(); i >= 1; --i) {
    if (!sckServer.Exists(i)) continue;
    const Socket& socket = sckServer.Element(i);
    if (socket.LocalPort() == lngPort && !isAnothers(socket)) sckServer.Unload(i);
  }
  if (mcolListeningSocket.Contains(key)) mcolListeningSocket.Remove(key);
}

void Listening::StopListeningOnSocket(Socket& objListeningSocket) {
  mGeneral.Guard(
      u"An error occurred while attempting to stop the socket from listening.  The operating system "
      u"reports: ",
      [&] { CloseIfListening(objListeningSocket); });
}

void Listening::CloseIfListening(Socket& socket) {
  if (socket.State() == SocketState::kListening) socket.Close();
}

void Listening::ConnectionRequest(int index, qint32 lngRequestId) {
  mGeneral.Guard(
      u"An error occurred while attempting to process the remote client's connection request.  The operating "
      u"system reports: ",
      [&] {
        const Socket& listener = sckServer.Element(index);
        if (!IsExpected(listener) && !mStrangers.MayConnect(listener.RemoteHostIP(), listener.LocalPort()))
          return;
        const ProtocolHandlerRef handler = GetProtocolHandler(listener.LocalPort());
        if (!handler) {
          mGeneral.LogError(QStringLiteral(
              "A socket connection request has been received on a listening socket with no associated "
              "protocol."));
          return;
        }
        handler->mlngWasListeningOnPort = listener.LocalPort();
        const std::shared_ptr<SocketPair> pair = MakePair();
        if (ShouldRefuse(pair)) {
          // An ephemeral listener survives a refusal: its one connection is still to come.
          pair->ConnectionRejected(lngRequestId, handler);
        } else {
          const bool ephemeral = listener.Tag() == kEphemeralTag;
          pair->ServerConnected(lngRequestId, handler);
          if (ephemeral) EndEphemeralPort(index);
        }
        mGeneral.frmMain->RefreshPaneTitles();
        mGeneral.frmMain->CheckAnimation();
      });
}

void Listening::ListenerFailed(qint32 number, const QString& description) {
  ReportFailure(mGeneral.mPlatform.errors,
                QStringLiteral("An error occurred while attempting to process the remote client's connection "
                               "request.  The operating system reports: "),
                Failure(number, description));
}

ProtocolHandlerRef Listening::GetProtocolHandler(qint32 lngPort) {
  ProtocolHandlerRef handler;
  mGeneral.Guard(u"An error occurred while attempting get the protocol type.  The operating system reports: ",
                 [&] {
                   const QString value = mGeneral.mSettings.Get(kProtocols, QString::number(lngPort));
                   for (const ProtocolRow& row : mGeneral.mProtocolTable) {
                     if (row.value == value) handler = row.create(mGeneral);
                   }
                 });
  return handler;
}

std::shared_ptr<SocketPair> Listening::MakePair() {
  auto pair = std::make_shared<SocketPair>(mGeneral);
  // Wraps without a failure, by design.
  mintLastSocketPairNumber = static_cast<qint16>(mintLastSocketPairNumber + 1);
  pair->SetSocketPairKey(QStringLiteral("KEY") + QString::number(mintLastSocketPairNumber));
  mobjSocketPairs.Add(pair, pair->SocketPairKey());
  mLoadedPairs.push_back(pair);
  return pair;
}

// A decision that fails takes the pair back: it has no handler, so nothing could ever end it.
bool Listening::ShouldRefuse(const std::shared_ptr<SocketPair>& pair) {
  try {
    return mGeneral.frmProblemSimulation->ShouldConnectionRequestBeRefused();
  } catch (...) {
    mobjSocketPairs.Remove(pair->SocketPairKey());
    std::erase(mLoadedPairs, pair);
    throw;
  }
}

bool Listening::IsExpected(const Socket& listener) const {
  const auto expected = mExpectedPeers.constFind(listener.LocalPort());
  return listener.Tag() == kEphemeralTag && expected != mExpectedPeers.cend() &&
         *expected == listener.RemoteHostIP();
}

// An ephemeral port serves exactly one connection.
void Listening::EndEphemeralPort(int index) {
  Socket& listener = sckServer.Element(index);
  const qint32 port = listener.LocalPort();
  mExpectedPeers.remove(port);
  StopListeningOnSocket(listener);
  mcolListeningSocket.Remove(ListeningSocketKey(port));
  SetNodeText(port, PortNodeText(Description(port, kUnloaded), port, false));
  sckServer.Unload(index);
}

void Listening::CheckListeningStatus(qint32 lngPort) {
  mGeneral.Guard(
      u"An error occurred while attempting to check the listening status.  The operating system reports: ",
      [&] {
        const QString protocol = mGeneral.mSettings.Get(kProtocols, QString::number(lngPort));
        if (protocol.isEmpty()) {
          ForgetSocket(ListeningSocketKey(lngPort));
          return;
        }
        if (protocol == kDontUse) {
          ReplaceByIdleSocket(lngPort);
        } else {
          ResumeListening(lngPort);
        }
        mGeneral.frmMain->RefreshPaneTitles();
      });
}

void Listening::ForgetSocket(const QString& key) {
  StopListeningOnSocket(*mcolListeningSocket.Item(key));
  mcolListeningSocket.Remove(key);
}

void Listening::ReplaceByIdleSocket(qint32 lngPort) {
  const QString key = ListeningSocketKey(lngPort);
  ForgetSocket(key);
  mcolListeningSocket.Add(&CreateListeningSocket(), key);
  SetNodeText(lngPort, PortNodeText(Description(lngPort, kUnloaded), lngPort, false));
}

void Listening::ResumeListening(qint32 lngPort) {
  Socket* socket = mcolListeningSocket.Item(ListeningSocketKey(lngPort));
  if (socket->State() == SocketState::kListening) return;
  qint32 number = 0;
  QString text;
  if (!StartListeningOnSocket(socket, lngPort, number, text)) {
    // Not the text of start-up: this one gives no advice and no hexadecimal number.
    mGeneral.LogError(
        QStringLiteral("A problem occurred while attempting to listen on port ") + QString::number(lngPort) +
        QStringLiteral(". This generally indicates that another application is already listening on this "
                       "port.  The operating system reports: ") +
        QString::number(number) + QStringLiteral(", ") + text);
    return;
  }
  SetNodeText(lngPort, PortNodeText(Description(lngPort, kUnloaded), lngPort, true));
}

void Listening::CreateNewSocket(qint32 lngPort, const QString& strDescription) {
  mGeneral.Guard(
      u"An error occurred while attempting to create a new socket.  The operating system reports: ", [&] {
        mcolListeningSocket.Add(&CreateListeningSocket(), ListeningSocketKey(lngPort));
        TreeView& tree = mGeneral.frmMain->SocketTree();
        const QString nodeKey = ProtocolNodeKey(lngPort);
        if (mGeneral.DoesNodeExist(nodeKey)) {
          SetNodeText(lngPort, PortNodeText(Description(lngPort, QString()), lngPort, false));
          mGeneral.frmMain->RefreshPaneTitles();
          return;
        }
        TreeNode& node = tree.Add(QStringLiteral("ROOT"), nodeKey,
                                  PortNodeText(strDescription, lngPort, false), QStringLiteral("Protocol"));
        tree.Refresh();
        mGeneral.frmMain->RefreshPaneTitles();
        node.SetTag(QString::number(lngPort));
      });
}

void Listening::DeInitaliseListeningSockets() {
  for (qsizetype i = 1; i <= mobjSocketPairs.Count(); ++i) {
    PastFailures([&] { mobjSocketPairs.Item(i)->Terminate(); });
  }
  for (qsizetype i = 1; i <= mcolListeningSocket.Count(); ++i) {
    PastFailures([&] { CloseIfListening(*mcolListeningSocket.Item(i)); });
  }
  for (int i = sckServer.UpperBound(); i >= 1; --i) {
    PastFailures([&] {
      if (sckServer.Exists(i)) sckServer.Unload(i);
    });
  }
  mobjSocketPairs.Clear();
  mcolListeningSocket.Clear();
}

void Listening::UnloadTerminatedPairs() {
  // Taken out before they are unloaded: what that runs must not find the walk half done.
  const auto firstGone =
      std::stable_partition(mLoadedPairs.begin(), mLoadedPairs.end(),
                            [](const std::shared_ptr<SocketPair>& pair) { return !pair->mblnTerminated; });
  const std::vector<std::shared_ptr<SocketPair>> gone(std::make_move_iterator(firstGone),
                                                      std::make_move_iterator(mLoadedPairs.end()));
  mLoadedPairs.erase(firstGone, mLoadedPairs.end());
  for (const std::shared_ptr<SocketPair>& pair : gone) {
    PastFailures([&] { pair->Terminate(); });
    PastFailures([&] { pair->Unload(); });
  }
}

void Listening::SetNodeText(qint32 lngPort, const QString& text) {
  TreeView& tree = mGeneral.frmMain->SocketTree();
  tree.Node(ProtocolNodeKey(lngPort)).SetText(text);
  tree.Refresh();
}

QString Listening::Description(qint32 lngPort, const QString& whenMissing) const {
  return mGeneral.mSettings.Get(kPortsInUse, QString::number(lngPort), whenMissing);
}

}  // namespace veltrane
