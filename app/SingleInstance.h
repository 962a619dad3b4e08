// One running instance for each settings store: a locked file beside it. The system lets go of the lock when
// the process ends, however it ends.
#pragma once

#include <QString>

namespace veltrane {

class SingleInstance {
 public:
  explicit SingleInstance(const QString& folder);
  ~SingleInstance();
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  /// False when another process holds the lock. Where there can be no lock file, this one counts as first.
  bool IsFirst() const { return mFirst; }

 private:
  int mDescriptor = -1;
  bool mFirst = true;
};

}  // namespace veltrane
