// A recorder that writes each call as a line, such as "ServerBytesReceived(3 bytes, True)", and ends a pair's
// life as the real one does.
#pragma once

#include "base/Numbers.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"
#include "tests/support/Journal.h"

namespace veltrane {

class JournalRecorder : public Recorder {
 public:
  explicit JournalRecorder(Journal& journal) : mJournal(journal) {}

  void LocalServerAcceptedConnection(SocketPair&, bool followOn, qint32 port) override {
    Note("LocalServerAcceptedConnection", {BooleanText(followOn), QString::number(port)});
  }
  void LocalServerRejectedConnection(SocketPair&, bool followOn, qint32 port) override {
    Note("LocalServerRejectedConnection", {BooleanText(followOn), QString::number(port)});
  }
  void ConnectionAttemptToRemoteServer(SocketPair&, const QString& server, qint32 port,
                                       bool followOn) override {
    Note("ConnectionAttemptToRemoteServer", {server, QString::number(port), BooleanText(followOn)});
  }
  void ConnectionAttemptFailed(SocketPair&, bool followOn, const QString& error, qint32 number) override {
    Note("ConnectionAttemptFailed", {BooleanText(followOn), error, QString::number(number)});
  }
  void ConnectionAttemptSuccessful(SocketPair&, bool followOn, const QString& comment) override {
    Note("ConnectionAttemptSuccessful", {BooleanText(followOn), u'[' + comment + u']'});
  }
  void RemoteServerDisconnected(SocketPair&, bool followOn, const QString& comment) override {
    Note("RemoteServerDisconnected", {BooleanText(followOn), u'[' + comment + u']'});
  }
  void LocalServerDisconnected(SocketPair&, bool followOn) override {
    Note("LocalServerDisconnected", {BooleanText(followOn)});
  }
  void RemoteClientDisconnected(SocketPair&, bool followOn) override {
    Note("RemoteClientDisconnected", {BooleanText(followOn)});
  }
  void LocalClientDisconnected(SocketPair&, bool followOn) override {
    Note("LocalClientDisconnected", {BooleanText(followOn)});
  }
  void ClientBytesReceived(SocketPair&, const Payload& data, bool followOn) override {
    Note("ClientBytesReceived", {Bytes(data), BooleanText(followOn)});
  }
  void ClientBytesBuffered(SocketPair&, const Payload& data, bool followOn, bool dangling) override {
    Note("ClientBytesBuffered", {Bytes(data), BooleanText(followOn), BooleanText(dangling)});
  }
  void ServerBytesBuffered(SocketPair&, const Payload& data, bool followOn, bool dangling) override {
    Note("ServerBytesBuffered", {Bytes(data), BooleanText(followOn), BooleanText(dangling)});
  }
  void ServerBytesSendStart(SocketPair&, const Payload& data, bool followOn, bool throttled) override {
    Note("ServerBytesSendStart", {Bytes(data), BooleanText(followOn), BooleanText(throttled)});
  }
  void ServerBytesSendStop(SocketPair&) override { Note("ServerBytesSendStop", {}); }
  void ServerBytesReceived(SocketPair&, const Payload& data, bool followOn) override {
    if (OnServerBytesReceived) OnServerBytesReceived();
    Note("ServerBytesReceived", {Bytes(data), BooleanText(followOn)});
  }
  void ClientBytesSendStart(SocketPair&, const Payload& data, bool followOn, bool throttled) override {
    Note("ClientBytesSendStart", {Bytes(data), BooleanText(followOn), BooleanText(throttled)});
  }
  void ClientBytesSendStop(SocketPair&) override { Note("ClientBytesSendStop", {}); }
  void ServerInBadState(SocketPair&, qint32 number, const QString& error, bool followOn) override {
    Note("ServerInBadState", {QString::number(number), error, BooleanText(followOn)});
  }
  void ClientInBadState(SocketPair&, qint32 number, const QString& error, bool followOn) override {
    Note("ClientInBadState", {QString::number(number), error, BooleanText(followOn)});
  }
  void GotNameOfRemoteServer(SocketPair&, const QString& name) override {
    Note("GotNameOfRemoteServer", {name});
  }
  void GotNameOfRemoteClient(SocketPair&, const QString& name) override {
    Note("GotNameOfRemoteClient", {name});
  }
  void GotProtocol(SocketPair&, const QString& name) override { Note("GotProtocol", {name}); }
  void Dead(SocketPair& pair) override {
    Note("Dead", {});
    if (OnDead) OnDead(pair);
    pair.Terminate();
  }
  void DanglingStatusChanged(SocketPair&, bool on, qint16 direction, qint32 time) override {
    Note("DanglingStatusChanged", {BooleanText(on), QString::number(direction), QString::number(time)});
  }

  std::function<void()> OnServerBytesReceived;
  std::function<void(SocketPair&)> OnDead;
  /// Told of every call before it is written down.
  std::function<void(const QString& operation)> OnNote;

 private:
  static QString Bytes(const Payload& data) {
    return data.Size() > 40 ? QString::number(data.Size()) + QStringLiteral(" bytes")
                            : QString::fromLatin1(data.Bytes());
  }
  void Note(const char* what, const QStringList& arguments) {
    if (OnNote) OnNote(QLatin1String(what));
    mJournal.Note(QLatin1String(what) + u'(' + arguments.join(QStringLiteral(", ")) + u')');
  }

  Journal& mJournal;
};

}  // namespace veltrane
