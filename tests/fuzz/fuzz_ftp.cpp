#include "base/Failure.h"
#include "protocols/Routing.h"
#include "tests/fuzz/Fuzz.h"

using namespace veltrane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const QByteArray text = Input(bytes, size);
  Payload data(text);
  QString host;
  qint32 port = 0;
  try {
    RouteFtpLogin(data, host, port);
    Require(data.Bytes() == text.left(text.lastIndexOf('@')) + "\r\n",
            "the login is what stands before the sign");
  } catch (const Failure& failure) {
    const bool badPort = failure.Number() == 13 || failure.Number() == 6;
    Require(badPort || failure.Number() == 5, "a number or the sign is wrong");
    if (badPort) Require(port == 0 && data == Payload(text), "a wrong port leaves the line");
    if (!badPort) Require(!text.contains('@') && data.IsEmpty(), "a line without the sign leaves nothing");
  }
  Require(!host.contains(u':') && !host.contains(u'@'), "a host ends at its port");
  return 0;
}
