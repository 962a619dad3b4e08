#include "protocols/Routing.h"

#include <QList>

#include "base/Failure.h"
#include "base/Numbers.h"
#include "engine/PortTable.h"

namespace veltrane {
namespace {

constexpr const char* kLineEnd = "\r\n";
constexpr qint32 kFtpPort = 21;
constexpr qsizetype kNumbersOfAddress = 6;
constexpr double kLowestDataPort = 1024;
constexpr double kPortSpan = 3976;

QString Text(QByteArrayView bytes) {
  return QString::fromLatin1(bytes);
}

/// Without the blanks at both ends; other white space stays.
QByteArrayView WithoutBlanks(QByteArrayView text) {
  while (text.startsWith(' '))
    text = text.sliced(1);
  while (text.endsWith(' '))
    text.chop(1);
  return text;
}

/// Cuts text at the first mark: it keeps what stands before, and the result is what stands behind. Without a
/// mark text stays whole and nothing stands behind.
QByteArrayView CutAt(QByteArrayView& text, char mark) {
  const qsizetype at = text.indexOf(mark);
  if (at < 0) return {};
  const QByteArrayView behind = text.sliced(at + 1);
  text = text.first(at);
  return behind;
}

/// The request line's parts: what stands before the URL with its blank, the URL, and all behind it.
struct RequestParts {
  QByteArrayView method;
  QByteArrayView url;
  QByteArrayView rest;
};

/// False when the text has no blank, or no "http/" behind it.
bool SplitRequest(QByteArrayView text, RequestParts& parts) {
  const qsizetype blank = text.indexOf(' ');
  if (blank < 0) return false;
  // The first "http/", though it may stand inside the URL. "http://" is none: it has a colon there.
  const qsizetype end = text.toByteArray().toLower().indexOf("http/", blank);
  if (end < 0) return false;
  parts.method = text.first(blank + 1);
  parts.url = WithoutBlanks(text.sliced(blank, end - blank));
  parts.rest = text.sliced(end);
  return true;
}

/// Splits the URL and gives back the port's text.
QString RouteByUrl(QByteArrayView scheme, Payload& data, QString& host) {
  const QByteArray text = data.Bytes();
  RequestParts parts;
  if (!SplitRequest(text, parts)) return {};
  QByteArrayView url = parts.url;
  // Wherever the scheme stands, it is the first characters that go.
  if (url.toByteArray().toLower().contains(scheme)) url = url.sliced(scheme.size());
  const qsizetype slash = url.indexOf('/');
  const QByteArrayView path = slash < 0 ? QByteArrayView() : url.sliced(slash);
  if (slash >= 0) url = url.first(slash);
  const QByteArrayView portText = CutAt(url, ':');
  host = Text(url);
  data = parts.method.toByteArray().append(path).append(' ').append(parts.rest);
  return Text(portText);
}

QByteArrayView FirstLine(QByteArrayView text) {
  const qsizetype end = text.indexOf(kLineEnd);
  return end < 0 ? text : text.first(end);
}

DataAddress ReadAddress(QByteArrayView text) {
  const QList<QByteArray> pieces = text.toByteArray().split(',');
  if (pieces.size() < kNumbersOfAddress) throw Failure(FailureNumber::kOutOfRange);
  const QByteArray& first = pieces[0];
  const QByteArray host =
      first.mid(first.indexOf(' ') + 1) + '.' + pieces[1] + '.' + pieces[2] + '.' + pieces[3];
  // Further lines of the chunk are no part of the last number.
  return {Text(host), ToInt32(ToDouble(Text(pieces[4])) * 256 + ToDouble(Text(FirstLine(pieces[5]))))};
}

QByteArray WriteAddress(const DataAddress& address) {
  QByteArray host = address.host.toLatin1();
  host.replace('.', ',');
  return host + ',' + QByteArray::number(address.port / 256) + ',' + QByteArray::number(address.port % 256);
}

}  // namespace

void RouteWebRequest(QByteArrayView scheme, const SettingReader& settings, Payload& data, QString& host,
                     qint32& port) {
  if (ToBoolean(settings(QStringLiteral("ConnectToProxy"), BooleanText(false)))) {
    host = settings(QStringLiteral("Proxy"), kProxyPlaceholder);
    port = ToInt32(settings(QStringLiteral("Port"), QStringLiteral("80")));
    return;
  }
  const QString portText = RouteByUrl(scheme, data, host);
  port = ToInt32(IsNumeric(portText) ? portText
                                     : settings(QStringLiteral("SpecificPort"), QStringLiteral("80")));
}

bool RoutePop3Login(const SettingReader& settings, Payload& data, QString& host, qint32& port) {
  port = ToInt32(settings(QStringLiteral("Port"), QStringLiteral("110")));
  const QList<QByteArray> pieces = data.Bytes().split('#');
  if (pieces.size() != 2) return false;
  data = QByteArray(pieces[0] + kLineEnd);
  host = Text(pieces[1]).remove(QStringLiteral("\r\n"));
  return true;
}

void RouteFtpLogin(Payload& data, QString& host, qint32& port) {
  const QByteArray text = data.Bytes();
  const qsizetype at = text.lastIndexOf('@');
  const QList<QByteArray> server = text.mid(at + 1).split(':');
  host = Text(server[0]).remove(QStringLiteral("\r\n"));
  port = server.size() > 1 ? ToInt32(Text(server[1])) : kFtpPort;
  if (at < 0) {
    data = {};
    throw Failure(FailureNumber::kBadArgument);
  }
  data = QByteArray(text.left(at) + kLineEnd);
}

DataAddress ReadPortCommand(QByteArrayView command) {
  return ReadAddress(command);
}

DataAddress ReadPasvReply(QByteArrayView reply) {
  const qsizetype open = reply.indexOf('(');
  const qsizetype close = open < 0 ? -1 : reply.indexOf(')', open);
  if (close < 0) throw Failure(FailureNumber::kBadArgument);
  return ReadAddress(reply.sliced(open + 1, close - open - 1));
}

qint32 DataPort(float drawn) {
  return ToInt32(drawn * kPortSpan + kLowestDataPort);
}

QByteArray WritePortCommand(const DataAddress& address) {
  return "PORT " + WriteAddress(address) + kLineEnd;
}

QByteArray WritePasvReply(const DataAddress& address) {
  return "227 Entering Passive Mode (" + WriteAddress(address) + ')' + kLineEnd;
}

}  // namespace veltrane
