// Bytes as rows of numbers for a rich text, made where they are looked at.
#pragma once

#include "forms/TextSource.h"

namespace veltrane {

/// The text is that of FormatText, see there for the format codes. Shares the memory of data. Bytes per row
/// are at least 1.
TextSourceRef FormattedText(const Payload& data, quint8 bytFormat, qint16 intBytesPerRow);

}  // namespace veltrane
