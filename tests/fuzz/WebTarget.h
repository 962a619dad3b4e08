// The body of the two targets of RouteWebRequest. The first byte of an input chooses the settings.
#pragma once

#include "base/Failure.h"
#include "protocols/Routing.h"
#include "tests/fuzz/Fuzz.h"

namespace veltrane {

/// Keys as a user may have left them.
inline SettingReader FuzzedSettings(int choice) {
  return [choice](const QString& key, const QString& defaultValue) {
    if ((choice & 1) != 0 && key == QStringLiteral("ConnectToProxy")) return QStringLiteral("True");
    if ((choice & 2) != 0 && key.endsWith(QStringLiteral("Port"))) return QStringLiteral("no number");
    return defaultValue;
  };
}

inline void FuzzWebRequest(QByteArrayView scheme, const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return;
  const int choice = bytes[0];
  const QByteArray text = Input(bytes + 1, size - 1);
  Payload data(text);
  QString host;
  qint32 port = 0;
  bool failed = false;
  try {
    RouteWebRequest(scheme, FuzzedSettings(choice), data, host, port);
  } catch (const Failure& failure) {
    failed = true;
    Require(failure.Number() == 13 || failure.Number() == 6, "only a number can be wrong");
    Require(port == 0, "a number that failed is not given back");
  }
  if ((choice & 1) != 0) {
    Require(data == Payload(text), "another proxy sees the text as it came");
    return;
  }
  Require(!host.contains(u'/') && !host.contains(u':'), "a host ends at its path and port");
  if (host.isEmpty() && data == Payload(text)) return;
  // Rewritten: the method stays in front and all from the protocol field on stays behind.
  const qsizetype blank = text.indexOf(' ');
  const qsizetype end = text.toLower().indexOf("http/", blank);
  Require(blank >= 0 && end >= 0, "only a request line is rewritten");
  const QByteArray sent = data.Bytes();
  Require(sent.startsWith(text.left(blank + 1)), "the method stays");
  Require(sent.endsWith(' ' + text.mid(end)), "what follows the URL stays");
  if (!failed && !text.contains(':')) Require(port == 80, "a URL without a port has that of the key");
}

}  // namespace veltrane
