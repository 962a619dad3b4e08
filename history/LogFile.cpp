#include "history/LogFile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileFailure.h"

namespace veltrane {

void LogFile::Open(const QString& path, const QByteArray& header) {
  Close();
  const QByteArray name = SystemPath(path);
  // Less what the user's mask takes away.
  constexpr mode_t kRights = 0666;
  // Opening a pipe that nobody reads would stop the whole program.
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK;
  mDescriptor = ::open(name.constData(), kFlags);
  const bool isNew = mDescriptor < 0 && errno == ENOENT;
  if (isNew) mDescriptor = ::open(name.constData(), kFlags | O_CREAT, kRights);
  if (mDescriptor < 0) throw FileFailure(errno);
  mPath = path;
  try {
    RequireFile();
    if (isNew) Append(header);
  } catch (...) {
    // The file itself: a link that led to it is its user's.
    if (isNew) QFile::remove(QFileInfo(path).canonicalFilePath());
    Close();
    throw;
  }
}

void LogFile::RequireFile() const {
  struct stat info {};
  if (::fstat(mDescriptor, &info) != 0) throw FileFailure(errno);
  if (!S_ISREG(info.st_mode) && !S_ISCHR(info.st_mode)) throw FileFailure(EACCES);
}

void LogFile::Close() {
  if (mDescriptor >= 0) ::close(mDescriptor);
  mDescriptor = -1;
}

bool LogFile::IsOpen() const {
  struct stat byName {};
  struct stat byDescriptor {};
  return mDescriptor >= 0 && ::fstat(mDescriptor, &byDescriptor) == 0 &&
         ::stat(QFile::encodeName(mPath).constData(), &byName) == 0 && byName.st_ino == byDescriptor.st_ino &&
         byName.st_dev == byDescriptor.st_dev;
}

void LogFile::Append(const QByteArray& text) {
  struct stat before {};
  if (::fstat(mDescriptor, &before) != 0) throw FileFailure(errno);
  qsizetype done = 0;
  while (done < text.size()) {
    const ssize_t written =
        ::write(mDescriptor, text.constData() + done, static_cast<std::size_t>(text.size() - done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      const int error = errno;
      // What did get in would make the next line unreadable.
      if (done > 0 && ::ftruncate(mDescriptor, before.st_size) != 0) Close();
      throw FileFailure(error);
    }
    done += written;
  }
}

}  // namespace veltrane
