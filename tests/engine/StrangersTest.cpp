#include <gtest/gtest.h>

#include "engine/Strangers.h"

namespace veltrane {
namespace {

struct AddressRow {
  const char* address;
  bool nearby;
};

// The first and the last address of each network, and their neighbours.
const AddressRow kAddresses[] = {
    // Loopback, private, link-local, shared by a carrier's customers.
    {"126.255.255.255", false},
    {"127.0.0.0", true},
    {"127.0.0.1", true},
    {"127.255.255.255", true},
    {"128.0.0.0", false},
    {"9.255.255.255", false},
    {"10.0.0.0", true},
    {"10.255.255.255", true},
    {"11.0.0.0", false},
    {"172.15.255.255", false},
    {"172.16.0.0", true},
    {"172.31.255.255", true},
    {"172.32.0.0", false},
    {"192.167.255.255", false},
    {"192.168.0.0", true},
    {"192.168.255.255", true},
    {"192.169.0.0", false},
    {"169.253.255.255", false},
    {"169.254.0.0", true},
    {"169.254.255.255", true},
    {"169.255.0.0", false},
    {"100.63.255.255", false},
    {"100.64.0.0", true},
    {"100.127.255.255", true},
    {"100.128.0.0", false},
    // Special, not reachable across the Internet, and in use in networks of one's own.
    {"191.255.255.255", false},
    {"192.0.0.0", true},
    {"192.0.0.8", true},
    {"192.0.0.9", false},
    {"192.0.0.10", false},
    {"192.0.0.11", true},
    {"192.0.0.255", true},
    {"192.0.1.0", false},
    {"192.0.1.255", false},
    {"192.0.2.0", true},
    {"192.0.2.255", true},
    {"192.0.3.0", false},
    {"198.17.255.255", false},
    {"198.18.0.0", true},
    {"198.19.255.255", true},
    {"198.20.0.0", false},
    {"198.51.99.255", false},
    {"198.51.100.0", true},
    {"198.51.100.255", true},
    {"198.51.101.0", false},
    {"203.0.112.255", false},
    {"203.0.113.0", true},
    {"203.0.113.255", true},
    {"203.0.114.0", false},
    // Special, and reachable from anywhere.
    {"192.31.196.1", false},
    {"192.52.193.1", false},
    {"192.88.99.1", false},
    {"192.175.48.1", false},
    // No machine's address.
    {"0.0.0.0", false},
    {"0.255.255.255", false},
    {"224.0.0.1", false},
    {"239.255.255.255", false},
    {"240.0.0.0", false},
    {"255.255.255.255", false},
    // Anybody's.
    {"1.0.0.0", false},
    {"8.8.4.4", false},
    {"93.184.216.34", false},
    {"223.255.255.255", false},
    // No address at all.
    {"", false},
    {"localhost", false},
    {"127.1", false},
    {"0127.0.0.1", false},
    {"127.0.0.1 ", false},
    {"127.0.0.1.8", false},
    {"::1", false},
};

TEST(Strangers, Each_address_is_near_or_not) {
  for (const AddressRow& row : kAddresses)
    EXPECT_EQ(IsNearbyAddress(QLatin1String(row.address)), row.nearby) << row.address;
  EXPECT_FALSE(IsNearbyAddress(QString(QStringLiteral("127.0.0.1") + QChar::Null)));
  EXPECT_FALSE(IsNearbyAddress(QStringLiteral("127.0.0.\u0661")));
}

}  // namespace
}  // namespace veltrane
