// Owns the listening sockets and all socket pairs, from start-up to shut-down. There is one; Main creates
// it, the main window's Terminate releases it.
#pragma once

#include <QHash>

#include <memory>
#include <vector>

#include "base/KeyedList.h"
#include "engine/SocketArray.h"
#include "engine/SocketPair.h"
#include "engine/Strangers.h"

namespace veltrane {

class General;

class Listening : public std::enable_shared_from_this<Listening> {
 public:
  explicit Listening(General& general);
  ~Listening();

  /// Every pair made since start, by its key. An entry stays when its pair has died, until its history is
  /// purged.
  KeyedList<std::shared_ptr<SocketPair>> mobjSocketPairs;
  /// One socket for each port that has a row in the port table, listening or idle, by ListeningSocketKey.
  /// They are elements of the array below.
  KeyedList<Socket*> mcolListeningSocket;

  /// Listens on all ports of the table; a port that cannot be had is reported and the others go on.
  void InitaliseListeningSockets();
  Socket& CreateListeningSocket();
  /// Destroys all sockets of the port, listening or not, and listens on a new one. On failure the result is
  /// false, number and text are given back, nothing is reported, and the new socket stays, idle.
  bool StartListeningOnSocket(Socket*& objListeningSocket, qint32 lngPort, qint32& lngError,
                              QString& strError);
  /// Destroys all sockets of the port, listening or not, with their key.
  void DestroySockets(qint32 lngPort);
  void StopListeningOnSocket(Socket& objListeningSocket);
  /// The one peer that an ephemeral port may serve although its address is public, for as long as the port
  /// keeps its socket.
  void ExpectPeer(qint32 lngPort, const QString& address) { mExpectedPeers.insert(lngPort, address); }
  /// Brings the socket of a port in line with the port table.
  void CheckListeningStatus(qint32 lngPort);
  /// Makes the idle socket and the tree node of a port that was added to the table.
  void CreateNewSocket(qint32 lngPort, const QString& strDescription);
  /// Terminates all pairs and destroys all sockets. Runs past all failures.
  void DeInitaliseListeningSockets();

  /// Unloads the pairs that were terminated: one cannot do so from inside its own events.
  void UnloadTerminatedPairs();
  /// The pairs that are loaded, purged from the list or not.
  const std::vector<std::shared_ptr<SocketPair>>& LoadedPairs() const { return mLoadedPairs; }
  qint16 LastSocketPairNumber() const { return mintLastSocketPairNumber; }

 private:
  class ListenerEvents;

  void ConnectionRequest(int index, qint32 lngRequestId);
  void ListenerFailed(qint32 number, const QString& description);
  ProtocolHandlerRef GetProtocolHandler(qint32 lngPort);
  std::shared_ptr<SocketPair> MakePair();
  bool ShouldRefuse(const std::shared_ptr<SocketPair>& pair);
  bool IsExpected(const Socket& listener) const;
  void EndEphemeralPort(int index);
  void StartListeningAtStart(qint32 lngPort);
  void ReplaceByIdleSocket(qint32 lngPort);
  void ResumeListening(qint32 lngPort);
  void ForgetSocket(const QString& key);
  static void CloseIfListening(Socket& socket);
  void SetNodeText(qint32 lngPort, const QString& text);
  QString Description(qint32 lngPort, const QString& whenMissing) const;

  General& mGeneral;
  Strangers mStrangers;
  QHash<qint32, QString> mExpectedPeers;  // by port
  SocketArray sckServer;
  std::vector<std::shared_ptr<SocketPair>> mLoadedPairs;
  /// Wraps from 32767 to -32768.
  qint16 mintLastSocketPairNumber = 0;
};

}  // namespace veltrane
