// The body of the targets of the two lines that carry a data connection's address.
#pragma once

#include "base/Failure.h"
#include "protocols/Routing.h"
#include "tests/fuzz/Fuzz.h"

namespace veltrane {

inline void FuzzAddress(DataAddress (*read)(QByteArrayView), QByteArray (*write)(const DataAddress&),
                        const std::uint8_t* bytes, std::size_t size) {
  try {
    const DataAddress address = read(Input(bytes, size));
    Require(address.host.count(u'.') >= 3, "a host has four pieces");
    // What the proxy writes in its place can be read back.
    const DataAddress own{QStringLiteral("127.0.0.1"), 1024 + static_cast<qint32>(size % 3977)};
    const DataAddress again = read(write(own));
    Require(again.host == own.host && again.port == own.port, "an address written is read back");
  } catch (const Failure& failure) {
    const qint32 number = failure.Number();
    Require(number == 5 || number == 6 || number == 9 || number == 13, "the failure is one of those told");
  }
}

}  // namespace veltrane
