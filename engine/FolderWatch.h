// Tells whether anybody, this program too, has changed a file of a folder (inotify).
#pragma once

#include <QString>

namespace veltrane {

class FolderWatch {
 public:
  FolderWatch() = default;
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  void Watch(const QString& folder);
  /// Since the last call. True also where the system cannot tell. Costs one system call; changes that another
  /// machine makes on a network's file system are not seen.
  bool SawChange();

 private:
  int mDescriptor = -1;
};

}  // namespace veltrane
