// A failure: the number and the text that a report shows to the user. Procedures throw it to their caller;
// the procedure that has a failure text of its own catches it and reports once (see Guarded).
#pragma once

#include <QString>

#include <exception>
#include <new>
#include <utility>

namespace veltrane {

/// The numbers of failures that do not come from the operating system. They are shown to users and
/// compared by tests, so they are fixed.
enum class FailureNumber : qint32 {
  kBadArgument = 5,
  kOverflow = 6,
  kOutOfMemory = 7,
  kOutOfRange = 9,
  kTypeMismatch = 13,
  kInternal = 51,
  kFileNotFound = 53,
  kDiskFull = 61,
  kPermissionDenied = 70,
  kPathNotFound = 76,
  kObjectNotSet = 91,
  kDuplicateKey = 457,
  kStore = 1001,
};

/// The fixed text of a failure number, without a full stop.
QString FailureText(FailureNumber number);

class Failure : public std::exception {
 public:
  explicit Failure(FailureNumber number) : Failure(static_cast<qint32>(number), FailureText(number)) {}
  Failure(FailureNumber number, QString text) : Failure(static_cast<qint32>(number), std::move(text)) {}
  /// A failure of the operating system, with its own number (see the socket error table).
  Failure(qint32 number, QString text)
      : mNumber(number), mText(std::move(text)), mWhat(mText.toLocal8Bit()) {}

  qint32 Number() const { return mNumber; }
  const QString& Text() const { return mText; }
  const char* what() const noexcept override { return mWhat.constData(); }

 private:
  qint32 mNumber;
  QString mText;
  QByteArray mWhat;
};

/// The one sink of failures: the error window. Reporting never fails.
class ErrorSink {
 public:
  virtual ~ErrorSink() = default;
  virtual void LogError(const QString& text) = 0;
};

/// Reports message, directly followed by the failure's number, ", " and its text.
void ReportFailure(ErrorSink& sink, const QString& message, const Failure& failure);

/// The exception that is being handled, as a Failure. Only to be called inside a catch block.
Failure CurrentFailure();

inline QString MessageText(const char16_t* message) {
  return QString::fromUtf16(message);
}
inline const QString& MessageText(const QString& message) {
  return message;
}

/// Runs body; a failure in it is reported to sink under message (a text or a literal), and the system goes
/// on with the state as it stands. Returns false after a failure. Costs nothing as long as nothing fails.
template <class Message, class Body>
bool Guarded(ErrorSink& sink, const Message& message, Body&& body) {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (...) {
    ReportFailure(sink, MessageText(message), CurrentFailure());
    return false;
  }
}

/// Runs body past its failures: for steps whose failure means nothing to the user.
template <class Body>
bool PastFailures(Body&& body) noexcept {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace veltrane
