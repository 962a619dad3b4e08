#include "base/Failure.h"

#include <array>

namespace veltrane {
namespace {

struct Row {
  FailureNumber number;
  const char* text;
};

constexpr std::array kTexts{
    Row{FailureNumber::kBadArgument, "Invalid procedure call or argument"},
    Row{FailureNumber::kOverflow, "Overflow"},
    Row{FailureNumber::kOutOfMemory, "Out of memory"},
    Row{FailureNumber::kOutOfRange, "Subscript out of range"},
    Row{FailureNumber::kTypeMismatch, "Type mismatch"},
    Row{FailureNumber::kInternal, "Internal error"},
    Row{FailureNumber::kFileNotFound, "File not found"},
    Row{FailureNumber::kDiskFull, "Disk full"},
    Row{FailureNumber::kPermissionDenied, "Permission denied"},
    Row{FailureNumber::kPathNotFound, "Path not found"},
    Row{FailureNumber::kObjectNotSet, "Object not set"},
    Row{FailureNumber::kDuplicateKey, "This key is already in use in the list"},
    Row{FailureNumber::kStore, "The settings store cannot be used"},
};

}  // namespace

QString FailureText(FailureNumber number) {
  for (const Row& row : kTexts) {
    if (row.number == number) return QString::fromLatin1(row.text);
  }
  return QStringLiteral("Unknown failure");
}

void ReportFailure(ErrorSink& sink, const QString& message, const Failure& failure) {
  sink.LogError(message + QString::number(failure.Number()) + QStringLiteral(", ") + failure.Text());
}

Failure CurrentFailure() {
  try {
    throw;
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::bad_alloc&) {
    return Failure(FailureNumber::kOutOfMemory);
  } catch (const std::exception& other) {
    return Failure(FailureNumber::kInternal, FailureText(FailureNumber::kInternal) + QStringLiteral(": ") +
                                                 QString::fromLocal8Bit(other.what()));
  } catch (...) {
    return Failure(FailureNumber::kInternal);
  }
}

}  // namespace veltrane
