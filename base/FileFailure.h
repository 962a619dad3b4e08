// Failures of files: the system's error number as the number and the text that users are shown.
#pragma once

#include <QByteArray>

#include "base/Failure.h"

namespace veltrane {

/// A path as the system takes it. Fails on one that the system would take for another: a NUL ends a path.
QByteArray SystemPath(const QString& path);

/// systemError is an errno value. A missing file is told from a missing folder by whether path's folder is
/// there.
Failure FileFailure(int systemError, const QString& path = {});

}  // namespace veltrane
