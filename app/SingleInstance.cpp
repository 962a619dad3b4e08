#include "app/SingleInstance.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/PrivateFiles.h"

namespace veltrane {

SingleInstance::SingleInstance(const QString& folder) {
  MakePrivateFolder(folder);
  const QByteArray path = QFile::encodeName(folder + QStringLiteral("/instance.lock"));
  mDescriptor = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  // In a folder that cannot be written, the folder itself is locked.
  if (mDescriptor < 0) {
    mDescriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  }
  if (mDescriptor >= 0 && ::flock(mDescriptor, LOCK_EX | LOCK_NB) != 0) mFirst = errno != EWOULDBLOCK;
}

SingleInstance::~SingleInstance() {
  if (mDescriptor >= 0) ::close(mDescriptor);
}

}  // namespace veltrane
