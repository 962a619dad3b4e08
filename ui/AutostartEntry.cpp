#include "ui/AutostartEntry.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <unistd.h>

#include "base/FileFailure.h"

namespace veltrane {
namespace {

QString EntryPath(const QString& folder) {
  return folder + QStringLiteral("/Veltrane.desktop");
}

/// An argument of the Exec key: in double quotes, with the characters escaped that keep a meaning there; all
/// of that once more escaped as any text of such a file, and "%" doubled, because it begins a field code.
QString ExecArgument(const QString& path) {
  QString quoted;
  for (const QChar c : path) {
    if (QStringView(u"\"`$\\").contains(c)) quoted += u'\\';
    quoted += c;
    if (c == u'%') quoted += c;
  }
  return u'"' + quoted.replace(u'\\', QStringLiteral("\\\\")) + u'"';
}

}  // namespace

QByteArray AutostartEntryText(const QString& path) {
  return "[Desktop Entry]\n"
         "Type=Application\n"
         "Name=Veltrane\n"
         "Comment=Interactive TCP debugging proxy\n"
         "Exec=" +
         ExecArgument(path).toUtf8() +
         "\n"
         "Terminal=false\n";
}

void WriteAutostartEntry(const QString& folder, const QString& path) {
  QDir().mkpath(folder);
  QSaveFile file(EntryPath(folder));
  if (!file.open(QIODevice::WriteOnly)) {
    throw Failure(FailureNumber::kPermissionDenied, file.errorString());
  }
  file.write(AutostartEntryText(path));
  if (!file.commit()) throw Failure(FailureNumber::kDiskFull, file.errorString());
}

void RemoveAutostartEntry(const QString& folder) {
  if (::unlink(QFile::encodeName(EntryPath(folder)).constData()) != 0) throw FileFailure(errno);
}

}  // namespace veltrane
