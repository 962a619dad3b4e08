// The texts and keys under which a connection stands in tree and grid.
#pragma once

#include <QString>

#include "history/SocketPairHistory.h"

namespace veltrane {

inline const QString kSocketImage = QStringLiteral("Socket");
inline const QString kDisconnectedImage = QStringLiteral("SocketDisconnected");
inline const QString kAliveText = QStringLiteral("Alive");
inline const QString kNotAvailable = QStringLiteral("<NA>");

/// With a node of this image selected, the grid lists connections.
bool ListsConnections(const QString& image);

/// The node of the connections from a client whose server is not known yet.
QString AwaitingNodeKey(const SocketPairHistory& history);
/// The node of the connections between a client and a server.
QString ConnectionNodeKey(const SocketPairHistory& history);
QString ConnectionNodeKey(qint32 port, const QString& client, const QString& server);

/// A host's name as it may be shown and written to a line of the log: a client can ask for a host by any
/// bytes, and what cannot be printed, line ends above all, stands as a dot. No name is longer than 253
/// characters; what is ends in "..." behind so many.
QString ShownName(const QString& name);

/// "address:port".
QString Address(const QString& address, qint32 port);
/// " (name)", also around an empty name.
QString Bracketed(const QString& name);
/// " (name)", or nothing for no name.
QString InBrackets(const QString& name);
/// The server as the grid shows it; "<NA>" before anything is known of it.
QString ServerText(const SocketPairHistory& history);
/// "Alive", "Dead (time)" or "Dead With Error (time)".
QString SocketNodeText(const SocketPairHistory& history);

}  // namespace veltrane
