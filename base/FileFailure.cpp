#include "base/FileFailure.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <cstring>

namespace veltrane {
namespace {

struct Row {
  int systemError;
  FailureNumber number;
};

constexpr std::array kRows{
    Row{ENOENT, FailureNumber::kPathNotFound},     Row{ENOTDIR, FailureNumber::kPathNotFound},
    Row{EACCES, FailureNumber::kPermissionDenied}, Row{EPERM, FailureNumber::kPermissionDenied},
    Row{EROFS, FailureNumber::kPermissionDenied},  Row{EISDIR, FailureNumber::kPermissionDenied},
    Row{ENOSPC, FailureNumber::kDiskFull},         Row{EDQUOT, FailureNumber::kDiskFull},
};

}  // namespace

QByteArray SystemPath(const QString& path) {
  if (path.contains(QChar::Null)) throw FileFailure(ENOENT);
  return QFile::encodeName(path);
}

Failure FileFailure(int systemError, const QString& path) {
  if (systemError == ENOENT && !path.isEmpty() && QFileInfo(QFileInfo(path).path()).isDir()) {
    return Failure(FailureNumber::kFileNotFound);
  }
  for (const Row& row : kRows) {
    if (row.systemError == systemError) return Failure(row.number);
  }
  return {systemError, QString::fromLocal8Bit(std::strerror(systemError))};
}

}  // namespace veltrane
