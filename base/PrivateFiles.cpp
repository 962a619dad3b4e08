#include "base/PrivateFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veltrane {
namespace {

/// What the path names in the end, also where a link leads to a file that is not there yet.
QString FollowLinks(QString path) {
  constexpr int kMostLinks = 40;
  for (int link = 0; link < kMostLinks && QFileInfo(path).isSymbolicLink(); ++link)
    path = QFileInfo(path).symLinkTarget();
  return path;
}

}  // namespace

void MakePrivateFolder(const QString& path) {
  if (QFileInfo::exists(path)) return;
  QDir().mkpath(QFileInfo(path).path());
  (void)::mkdir(QFile::encodeName(path).constData(), S_IRWXU);
}

void MakePrivateFile(const QString& path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  const int descriptor = ::open(QFile::encodeName(FollowLinks(path)).constData(), kFlags, S_IRUSR | S_IWUSR);
  if (descriptor >= 0) ::close(descriptor);
}

}  // namespace veltrane
