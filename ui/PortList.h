// The list of well-known ports that is delivered beside the program. Plain text: a record is a port number
// and a description with a comma between them, each in double quotes or not, and ends with its line.
#pragma once

#include <QList>
#include <QString>

namespace veltrane {

struct WellKnownPort {
  qint32 port = 0;
  QString description;
  friend bool operator==(const WellKnownPort&, const WellKnownPort&) = default;
};

/// The records of a list, in its order. Bytes are UTF-8, or where they cannot be that, Latin-1; lines end
/// with CR, LF or both. A doubled quote inside quotes is a quote. A line that does not begin with a whole
/// number from 0 to 65535 is skipped; one without a description gets an empty one; what stands behind an
/// unquoted description, commas and all, belongs to it.
QList<WellKnownPort> ParsePortList(const QByteArray& bytes);

/// Reads a list from a file. Fails when it cannot be read.
QList<WellKnownPort> ReadPortList(const QString& path);

}  // namespace veltrane
