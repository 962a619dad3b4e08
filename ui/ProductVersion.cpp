#include "ui/ProductVersion.h"

namespace veltrane {

ProductVersion BuiltVersion() {
  return {VELTRANE_VERSION_MAJOR, VELTRANE_VERSION_MINOR, VELTRANE_VERSION_REVISION};
}

}  // namespace veltrane
