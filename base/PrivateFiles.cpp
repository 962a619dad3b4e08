#include "base/PrivateFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veltrane {

void MakePrivateFolder(const QString& path) {
  if (QFileInfo::exists(path)) return;
  QDir().mkpath(QFileInfo(path).path());
  (void)::mkdir(QFile::encodeName(path).constData(), S_IRWXU);
}

void MakePrivateFile(const QString& path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  const int descriptor = ::open(QFile::encodeName(path).constData(), kFlags, S_IRUSR | S_IWUSR);
  if (descriptor >= 0) ::close(descriptor);
}

}  // namespace veltrane
