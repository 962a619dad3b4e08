// The list of well-known ports with any bytes: ports that can be, one line each at most, and a list that is
// written from the result is read back as the same.
#include "tests/fuzz/Fuzz.h"
#include "ui/PortList.h"

namespace {

QByteArray Written(const QList<veltrane::WellKnownPort>& ports) {
  QString text;
  for (const veltrane::WellKnownPort& port : ports) {
    QString description = port.description;
    text += QString::number(port.port) + QStringLiteral(",\"") +
            description.replace(u'"', QStringLiteral("\"\"")) + QStringLiteral("\"\n");
  }
  return text.toUtf8();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltrane;
  const QByteArray input = Input(data, size);
  const QList<WellKnownPort> ports = ParsePortList(input);
  Require(ports.size() <= input.count('\n') + input.count('\r') + 1, "a record has a line of its own");
  for (const WellKnownPort& port : ports) {
    Require(port.port >= 0 && port.port <= 65535, "a port");
    Require(!port.description.contains(u'\n') && !port.description.contains(u'\r'), "no line ends within");
    Require(port.description == port.description.trimmed(), "no blanks around");
  }
  Require(ParsePortList(Written(ports)) == ports, "a list written is read back");
  return 0;
}
