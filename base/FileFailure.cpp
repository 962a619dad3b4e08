#include "base/FileFailure.h"

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
