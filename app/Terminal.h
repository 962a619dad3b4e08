// The terminal that the program was started from, or the journal of the user's session.
#pragma once

#include <QString>

namespace veltrane {

/// Writes the line to standard error, in the encoding of the user's locale. Never waits and never fails: what
/// a reader does not take at once, or nobody reads, is dropped.
void TellTerminal(const QString& line);

}  // namespace veltrane
