// The channel of a listening socket.
#pragma once

#include "engine/net/Channel.h"

struct sockaddr_in;

namespace veltrane {

class TcpSocket;

class Listener : public Channel {
 public:
  Listener(Reactor& reactor, int descriptor, TcpSocket& owner)
      : Channel(reactor, descriptor), mOwner(&owner) {}

  void Start();
  void Disown() { mOwner = nullptr; }
  /// Takes all waiting requests, as far as the turn's time goes.
  void Readable() override;

 private:
  void AcceptFailed(int systemError);
  void Announce(int descriptor, const sockaddr_in& peer);

  TcpSocket* mOwner;
};

}  // namespace veltrane
