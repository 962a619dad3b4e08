#include "engine/Strangers.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

#include "engine/General.h"

namespace veltrane {
namespace {

const QString kOptions = QStringLiteral("Options");
const QString kAcceptPublicPeers = QStringLiteral("AcceptPublicPeers");

struct Network {
  const char* address;
  int bits;
  bool nearby;
};

// The first row that holds an address rules, so exceptions stand before what they are taken from.
constexpr std::array kNetworks{
    Network{"127.0.0.0", 8, true},      // loopback
    Network{"10.0.0.0", 8, true},       // private, RFC 1918
    Network{"172.16.0.0", 12, true},    // private, RFC 1918
    Network{"192.168.0.0", 16, true},   // private, RFC 1918
    Network{"169.254.0.0", 16, true},   // link-local, RFC 3927
    Network{"100.64.0.0", 10, true},    // shared by a carrier's customers, RFC 6598
    Network{"192.0.0.9", 32, false},    // port control, reachable from anywhere, RFC 7723
    Network{"192.0.0.10", 32, false},   // relays, reachable from anywhere, RFC 8155
    Network{"192.0.0.0", 24, true},     // between a router and its provider's tunnel, RFC 6890
    Network{"192.0.2.0", 24, true},     // documentation, used in laboratories, RFC 5737
    Network{"198.51.100.0", 24, true},  // the same
    Network{"203.0.113.0", 24, true},   // the same
    Network{"198.18.0.0", 15, true},    // benchmarks, RFC 2544
};

constexpr quint32 Mask(int bits) {
  return ~quint32{0} << (32 - bits);
}

quint32 Number(in_addr address) {
  return ntohl(address.s_addr);
}

bool Holds(const Network& network, quint32 address) {
  in_addr first{};
  inet_pton(AF_INET, network.address, &first);
  return (address & Mask(network.bits)) == Number(first);
}

}  // namespace

bool IsNearbyAddress(const QString& address) {
  in_addr parsed{};
  if (address.contains(QChar::Null)) return false;
  if (inet_pton(AF_INET, address.toLatin1().constData(), &parsed) != 1) return false;
  const quint32 number = Number(parsed);
  const auto* const found = std::find_if(kNetworks.begin(), kNetworks.end(),
                                         [&](const Network& network) { return Holds(network, number); });
  return found != kNetworks.end() && found->nearby;
}

bool Strangers::MayConnect(const QString& address, qint32 lngPort) {
  if (IsNearbyAddress(address) || AllAreLetIn()) return true;
  Tell(address, lngPort);
  return false;
}

// A store that cannot be read lets nobody in. It is no news of this connection's.
bool Strangers::AllAreLetIn() const {
  QString value;
  PastFailures([&] { value = mGeneral.mSettings.Get(kOptions, kAcceptPublicPeers); });
  return value == u'1';
}

void Strangers::Tell(const QString& address, qint32 lngPort) {
  if (mTold.size() >= kMostTold || mTold.contains(address)) return;
  mTold.insert(address);
  QString text =
      QStringLiteral("A connection from the public address ") + address + QStringLiteral(" to port ") +
      QString::number(lngPort) +
      QStringLiteral(
          " was turned away. To let public addresses connect, set the key AcceptPublicPeers of the "
          "section \"Options\" in the settings to 1; whoever finds this computer can then use its "
          "ports.");
  if (mTold.size() == kMostTold) text += QStringLiteral(" Further addresses are turned away without a word.");
  mGeneral.LogError(text);
}

}  // namespace veltrane
