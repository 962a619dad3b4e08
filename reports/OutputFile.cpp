#include "reports/OutputFile.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/FileFailure.h"

namespace veltrane {
namespace {

// Less what the user's mask takes away.
constexpr mode_t kFileRights = 0666;
constexpr mode_t kFolderRights = 0777;

constexpr std::size_t kPieceBytes = 65536;

/// Whether the path leads to the open file, also by a link.
bool LeadsTo(const QString& path, int descriptor) {
  struct stat open {};
  struct stat there {};
  return ::fstat(descriptor, &open) == 0 && ::stat(QFile::encodeName(path).constData(), &there) == 0 &&
         open.st_dev == there.st_dev && open.st_ino == there.st_ino;
}

}  // namespace

OutputFile::OutputFile(const QString& path, Old old) {
  // Opening a pipe that nobody reads, and writing to one that is full, would stop the whole program.
  const int flags =
      O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (old == Old::kReplaced ? O_TRUNC : 0);
  do {
    mDescriptor = ::open(SystemPath(path).constData(), flags, kFileRights);
  } while (mDescriptor < 0 && errno == EINTR);
  if (mDescriptor < 0) throw FileFailure(errno);
  struct stat info {};
  if (::fstat(mDescriptor, &info) == 0 && (S_ISREG(info.st_mode) || S_ISCHR(info.st_mode))) return;
  ::close(mDescriptor);
  throw FileFailure(EACCES);
}

OutputFile::~OutputFile() {
  if (mDescriptor >= 0) ::close(mDescriptor);
}

void OutputFile::Write(QByteArrayView bytes) {
  const char* at = bytes.begin();
  while (at != bytes.end()) {
    const ssize_t written = ::write(mDescriptor, at, static_cast<std::size_t>(bytes.end() - at));
    if (written < 0 && errno != EINTR) throw FileFailure(errno);
    if (written > 0) at += written;
  }
}

void OutputFile::Close() {
  if (::close(std::exchange(mDescriptor, -1)) != 0 && errno != EINTR) throw FileFailure(errno);
}

void WriteFile(const QString& path, QByteArrayView bytes) {
  OutputFile file(path, OutputFile::Old::kReplaced);
  file.Write(bytes);
  file.Close();
}

void CopyFile(const QString& from, const QString& to) {
  using Stream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
  const Stream source(std::fopen(QFile::encodeName(from).constData(), "rbe"), &std::fclose);
  if (!source) throw FileFailure(errno);
  // To open it as the target would empty it.
  if (LeadsTo(to, ::fileno(source.get()))) return;
  OutputFile target(to, OutputFile::Old::kReplaced);
  std::array<char, kPieceBytes> piece{};
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), source.get()))
    target.Write({piece.data(), static_cast<qsizetype>(count)});
  if (std::ferror(source.get())) throw FileFailure(errno);
  target.Close();
}

void MakeFolder(const QString& path) {
  if (::mkdir(SystemPath(path).constData(), kFolderRights) == 0) return;
  const int error = errno;
  if (error != EEXIST || !QFileInfo(path).isDir()) throw FileFailure(error);
}

}  // namespace veltrane
