// Who may connect: a proxy that serves whoever finds it is an open relay into its user's network. A peer
// whose address can reach this machine across the Internet is turned away, unless the user lets all in.
#pragma once

#include <QSet>
#include <QString>

namespace veltrane {

class General;

/// Whether dotted IPv4 text is an address that only machines near this one can have: loopback, private,
/// link-local and carrier-shared ones, and what the registry of special addresses (RFC 6890) lists as not
/// globally reachable and a network of one's own may use all the same. Whatever else the text is, it is not
/// near.
bool IsNearbyAddress(const QString& address);

class Strangers {
 public:
  explicit Strangers(General& general) : mGeneral(general) {}

  /// False for a peer who is to be turned away. The error window is told once for each address, and of the
  /// first kMostTold addresses only.
  bool MayConnect(const QString& address, qint32 lngPort);

  static constexpr qsizetype kMostTold = 100;

 private:
  bool AllAreLetIn() const;
  void Tell(const QString& address, qint32 lngPort);

  General& mGeneral;
  QSet<QString> mTold;
};

}  // namespace veltrane
