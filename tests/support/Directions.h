// Tests that are told once for both directions of a connection between two stub sockets.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/StubSocket.h"

namespace veltrane {

/// Fixture has the pair's stub sockets as server and client. The parameter says: toward the remote server.
template <class Fixture>
struct InBothDirections : Fixture, testing::WithParamInterface<bool> {
  bool ToServer() const { return this->GetParam(); }
  /// The socket that bytes come in on, and the one that they leave by.
  StubSocket& From() const { return ToServer() ? *this->server : *this->client; }
  StubSocket& To() const { return ToServer() ? *this->client : *this->server; }
  /// {in} is the side that bytes come in on, {out} the one that they leave by.
  QStringList Named(std::initializer_list<const char*> lines) const {
    QStringList result;
    for (const char* line : lines) {
      QString text = QLatin1String(line);
      text.replace(QStringLiteral("{in}"), ToServer() ? QStringLiteral("Server") : QStringLiteral("Client"));
      text.replace(QStringLiteral("{out}"), ToServer() ? QStringLiteral("Client") : QStringLiteral("Server"));
      result.append(text);
    }
    return result;
  }
};

inline std::string DirectionName(const testing::TestParamInfo<bool>& which) {
  return which.param ? "ToServer" : "ToClient";
}

}  // namespace veltrane
