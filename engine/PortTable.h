// The port table's names and texts: which local ports are served, by which protocol.
#pragma once

#include <QString>

namespace veltrane {

inline const QString kApplicationName = QStringLiteral("Veltrane");
inline const QString kProductAddress = QStringLiteral("https://veltrane.example/");

// Two parallel sections, keyed by the decimal port: its description, and its protocol.
inline const QString kPortsInUse = QStringLiteral("PortsInUse");
inline const QString kProtocols = QStringLiteral("Protocols");

/// The protocol of a port that is kept in the table but does not listen.
inline const QString kDontUse = QStringLiteral("<Don't use>");
inline const QString kEphemeralProtocol = QStringLiteral("FTP Data - Dynamically allocated");
/// What the row of a port that the proxy opened by itself contains. The start looks for it in any case, the
/// purge just as it is written.
inline const QString kDynamicallyAllocated = QStringLiteral("Dynamically allocated");
/// The tag of a listening socket that serves one connection.
inline const QString kEphemeralTag = QStringLiteral("Ephemeral");
/// The description of a port that has lost its row.
inline const QString kUnloaded = QStringLiteral("<Unloaded>");

// Host names that can exist on no network (RFC 2606) and say what to enter.
inline const QString kMailServerPlaceholder = QStringLiteral("enter-your-mail-server.invalid");
inline const QString kServerPlaceholder = QStringLiteral("enter-a-server.invalid");
inline const QString kProxyPlaceholder = QStringLiteral("enter-a-proxy-server.invalid");

/// The key of a port's listening socket: "KEY" and the decimal port.
inline QString ListeningSocketKey(qint32 port) {
  return QStringLiteral("KEY") + QString::number(port);
}
/// The key of a port's node in the tree.
inline QString ProtocolNodeKey(qint32 port) {
  return QStringLiteral("PROTO") + QString::number(port);
}
/// The section of a port's own protocol settings.
inline QString PortSection(const QString& protocol, qint32 port) {
  return QStringLiteral("Protocols\\") + protocol + QStringLiteral("\\Port ") + QString::number(port);
}
/// The text of a port's node: "Web (8080)", and " - Not Listening" behind it when the port is idle.
QString PortNodeText(const QString& description, qint32 port, bool listening);
QString PortNodeText(const QString& description, const QString& port, bool listening);

}  // namespace veltrane
