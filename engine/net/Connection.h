// The channel of a connection, from the first SYN to the last byte. While its socket holds it, it tells the
// socket's events; let go of, it only gets rid of what is queued.
#pragma once

#include <QList>

#include <netinet/in.h>
#include <vector>

#include "base/Payload.h"
#include "engine/net/Channel.h"

namespace veltrane {

class TcpSocket;

class Connection : public Channel {
 public:
  /// Of an accepted descriptor.
  Connection(Reactor& reactor, int descriptor, TcpSocket& owner);
  /// Of an outgoing one: tries the addresses in turn, port in network order. The result comes as an event.
  static std::shared_ptr<Connection> ToAddresses(Reactor& reactor, TcpSocket& owner,
                                                 const std::vector<in_addr>& addresses, in_port_t port);

  /// Registers with the reactor.
  void Start();
  void Send(const Payload& data);
  Payload TakeArrived();
  /// The socket lets go.
  void Disown() { mOwner = nullptr; }

  void Readable() override;
  void Writable() override;
  void ServePosted() override;
  bool MustLinger() override;
  qint64 BytesHeld() const override { return mQueueCost; }
  qint64 BytesUntaken() const override;
  bool IsDrained() override;

 private:
  void ConnectTo(in_addr address, in_port_t port);
  void FinishConnect();
  void ConnectFailed(int systemError);
  /// Gives the kernel what it takes; the count of bytes, negative when it failed.
  void TellCompletion();
  ssize_t SendPieces();
  void Flush();
  void SendFailed(int systemError);
  /// One read; the number of bytes, 0 at the end of the stream, -1 with errno.
  ssize_t Receive();
  void DiscardInput();
  void EndOfStream();
  void Fail(int systemError);
  void UpdateWatch();
  void PostEvent();

  TcpSocket* mOwner;
  std::vector<in_addr> mOtherAddresses;  // still to be tried
  QList<Payload> mQueue;
  qint64 mQueueCost = 0;
  Payload mArrived;
  qsizetype mLastRead = 0;
  int mConnectError = 0;  // to be told
  int mSendError = 0;     // told once the bytes that came before it have been read
  bool mConnecting = false;
  bool mCompletionDue = false;
  bool mMoreMayFollow = false;
  bool mKeptBack = false;  // by the kernel, for what may follow
  bool mStreamEnded = false;
  bool mPeerGone = false;
};

}  // namespace veltrane
