#include "protocols/Routing.h"
#include "tests/fuzz/Fuzz.h"

using namespace veltrane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QByteArray text = Input(bytes, size);
  Payload data(text);
  QString host;
  qint32 port = 0;
  const auto settings = [](const QString&, const QString& defaultValue) { return defaultValue; };
  const bool found = RoutePop3Login(settings, data, host, port);
  Require(port == 110, "the port is the key");
  Require(found == (text.count('#') == 1), "one sign names a server");
  if (!found) {
    Require(host.isEmpty() && data == Payload(text), "without a server nothing changes");
    return 0;
  }
  Require(data.Bytes() == text.left(text.indexOf('#')) + "\r\n", "the login is what stands before the sign");
  return 0;
}
