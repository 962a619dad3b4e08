#include "engine/FolderWatch.h"

#include <QFile>

#include <array>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace veltrane {

FolderWatch::~FolderWatch() {
  if (mDescriptor >= 0) ::close(mDescriptor);
}

void FolderWatch::Watch(const QString& folder) {
  if (mDescriptor >= 0) ::close(std::exchange(mDescriptor, -1));
  constexpr quint32 kChanges =
      IN_MODIFY | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVE | IN_DELETE_SELF | IN_MOVE_SELF;
  const int descriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor < 0) return;
  if (inotify_add_watch(descriptor, QFile::encodeName(folder).constData(), kChanges) < 0) {
    ::close(descriptor);
    return;
  }
  mDescriptor = descriptor;
}

bool FolderWatch::SawChange() {
  if (mDescriptor < 0) return true;
  bool any = false;
  alignas(inotify_event) std::array<char, 4096> events{};
  while (::read(mDescriptor, events.data(), events.size()) > 0)
    any = true;
  return any;
}

}  // namespace veltrane
