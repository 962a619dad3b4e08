// Where a request goes, read from its first bytes, and the data addresses of FTP: functions from bytes and
// settings to a result, without a socket. Each looks at the bytes that are there and waits for no line end.
//
// data, host and port are given back in the arguments. A failure leaves them as they stood at that moment,
// and the caller goes on with them.
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

#include "base/Payload.h"

namespace veltrane {

/// Reads one key of the settings that belong to the request; asked only for what the request needs.
using SettingReader = std::function<QString(const QString& key, const QString& defaultValue)>;

/// Takes host and port out of a request line in absolute form (RFC 9112, 3.2.2) or authority form (3.2.3) and
/// puts it into origin form; all behind the URL stays as it is. scheme, in lower case with its "://", is what
/// is cut from the URL. A text without a URL keeps an empty host. The port is that of the URL, else the key
/// SpecificPort. With ConnectToProxy the text stays untouched and host and port are the keys Proxy and Port.
/// Fails with a type mismatch or an overflow when a key, or the URL's port, is no 32-bit number.
void RouteWebRequest(QByteArrayView scheme, const SettingReader& settings, Payload& data, QString& host,
                     qint32& port);

/// Takes the host out of "USER name#host" (the line of RFC 1939, 7) and leaves "USER name". The port is the
/// key Port. False, with an empty host and the text untouched, unless there is exactly one "#". Fails when
/// the key is no 32-bit number.
bool RoutePop3Login(const SettingReader& settings, Payload& data, QString& host, qint32& port);

/// Takes host and port (21 without one) out of "USER name@host:port" (the line of RFC 959, 4.1.1) and leaves
/// "USER name". The last "@" counts. A text without "@" is all host, leaves nothing of data, and fails with a
/// bad argument; a port that is no number fails with a type mismatch and leaves data untouched.
void RouteFtpLogin(Payload& data, QString& host, qint32& port);

/// An address of an FTP data connection: the host as dotted text, unchecked, and the port.
struct DataAddress {
  QString host;
  qint32 port = 0;
};

/// The address in a PORT command or in a 227 reply, which is what stands in its first parentheses (RFC 959,
/// 4.1.2 and 4.2). What follows the first line is lost. Fails with out of range when there are fewer than six
/// numbers, with a type mismatch when the last two are no numbers, with a bad argument when the reply has no
/// parentheses.
DataAddress ReadPortCommand(QByteArrayView command);
DataAddress ReadPasvReply(QByteArrayView reply);

/// The data port for a number drawn from [0, 1): 1024 to 5000, the two at the ends half as often as the
/// others.
qint32 DataPort(float drawn);

/// The whole line, with its end, that names an address.
QByteArray WritePortCommand(const DataAddress& address);
QByteArray WritePasvReply(const DataAddress& address);

}  // namespace veltrane
