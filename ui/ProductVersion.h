// Which build this is, as the picture of the start and the about box tell it.
#pragma once

#include <QString>

namespace veltrane {

struct ProductVersion {
  int major = 0;
  int minor = 0;
  /// Of the source; it is shown as the build's number.
  int revision = 0;

  QString Text() const {
    return QStringLiteral("Version: %1.%2 Build: %3").arg(major).arg(minor).arg(revision);
  }
};

/// That of this build.
ProductVersion BuiltVersion();

}  // namespace veltrane
