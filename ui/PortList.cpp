#include "ui/PortList.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include "base/Failure.h"

namespace veltrane {
namespace {

constexpr qint64 kLargestFile = 4 * 1024 * 1024;
constexpr uint kLastPort = 65535;

QString Decode(const QByteArray& bytes) {
  // Takes a byte order mark for what it is.
  QStringDecoder decoder(QStringDecoder::Utf8);
  const QString text = decoder(bytes);
  return decoder.hasError() ? QString::fromLatin1(bytes) : text;
}

/// Takes a field in quotes off the front of line. A quote that is never closed reaches to the line's end.
QString TakeQuoted(QStringView& line) {
  QString field;
  qsizetype at = 1;
  for (; at < line.size(); ++at) {
    if (line[at] != u'"') {
      field += line[at];
    } else if (at + 1 < line.size() && line[at + 1] == u'"') {
      field += line[at++];
    } else {
      break;
    }
  }
  line = line.sliced(qMin(at + 1, line.size()));
  return field.trimmed();
}

/// The first field of line, which then begins behind the comma.
QString TakeField(QStringView& line) {
  line = line.trimmed();
  QString field;
  if (line.startsWith(u'"')) field = TakeQuoted(line);
  const qsizetype comma = line.indexOf(u',');
  const QStringView rest = comma < 0 ? line : line.first(comma);
  if (field.isNull()) field = rest.trimmed().toString();
  line = comma < 0 ? QStringView() : line.sliced(comma + 1);
  return field;
}

QString Description(QStringView line) {
  line = line.trimmed();
  return line.startsWith(u'"') ? TakeQuoted(line) : line.toString();
}

}  // namespace

QList<WellKnownPort> ParsePortList(const QByteArray& bytes) {
  QList<WellKnownPort> ports;
  QString text = Decode(bytes);
  text.replace(u'\r', u'\n');
  for (QStringView line : QStringView(text).split(u'\n')) {
    bool isNumber = false;
    const uint port = TakeField(line).toUInt(&isNumber);
    if (isNumber && port <= kLastPort) ports.append({static_cast<qint32>(port), Description(line)});
  }
  return ports;
}

QList<WellKnownPort> ReadPortList(const QString& path) {
  if (!QFileInfo::exists(path)) throw Failure(FailureNumber::kFileNotFound);
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) throw Failure(FailureNumber::kPermissionDenied);
  const QByteArray bytes = file.read(kLargestFile);
  if (file.error() != QFileDevice::NoError) {
    throw Failure(FailureNumber::kPermissionDenied, file.errorString());
  }
  return ParsePortList(bytes);
}

}  // namespace veltrane
