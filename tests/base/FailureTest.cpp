#include <gtest/gtest.h>
#include <stdexcept>

#include "base/Failure.h"
#include "base/FileFailure.h"
#include "tests/support/Journal.h"

namespace veltrane {
namespace {

struct Sink : ErrorSink {
  void LogError(const QString& text) override { texts.append(text); }
  QStringList texts;
};

TEST(Failure, A_report_is_message_number_and_text) {
  Sink sink;
  EXPECT_FALSE(Guarded(sink, u"It failed.  The operating system reports: ",
                       [] { throw Failure(FailureNumber::kTypeMismatch); }));
  EXPECT_EQ(sink.texts,
            QStringList{QStringLiteral("It failed.  The operating system reports: 13, Type mismatch")});
}

TEST(Failure, Nothing_is_reported_when_nothing_fails) {
  Sink sink;
  bool ran = false;
  EXPECT_TRUE(Guarded(sink, u"message", [&] { ran = true; }));
  EXPECT_TRUE(ran);
  EXPECT_TRUE(sink.texts.isEmpty());
}

TEST(Failure, Other_exceptions_become_failures_too) {
  Sink sink;
  Guarded(sink, u"a: ", [] { throw std::runtime_error("odd"); });
  Guarded(sink, u"b: ", [] { throw std::bad_alloc(); });
  Guarded(sink, u"c: ", [] { throw 7; });
  EXPECT_EQ(sink.texts,
            (QStringList{QStringLiteral("a: 51, Internal error: odd"), QStringLiteral("b: 7, Out of memory"),
                         QStringLiteral("c: 51, Internal error")}));
}

TEST(Failure, Every_number_has_a_text_of_its_own) {
  using enum FailureNumber;
  QStringList texts;
  for (const FailureNumber number :
       {kBadArgument, kOverflow, kOutOfMemory, kOutOfRange, kTypeMismatch, kInternal, kFileNotFound,
        kDiskFull, kPermissionDenied, kPathNotFound, kObjectNotSet, kDuplicateKey, kStore}) {
    texts.append(FailureText(number));
  }
  EXPECT_FALSE(texts.contains(QStringLiteral("Unknown failure")));
  EXPECT_EQ(texts.removeDuplicates(), 0);
}

TEST(Failure, Steps_past_failures_say_whether_they_failed) {
  EXPECT_TRUE(PastFailures([] {}));
  EXPECT_FALSE(PastFailures([] { throw Failure(FailureNumber::kOverflow); }));
}

TEST(SystemPath, A_path_with_a_NUL_is_no_other_path) {
  EXPECT_EQ(SystemPath(QStringLiteral("/tmp/b\u00fc")), QByteArray("/tmp/b\xc3\xbc"));
  EXPECT_THROW(SystemPath(QStringLiteral("/tmp/log") + QChar::Null + QStringLiteral(".txt")), Failure);
}

}  // namespace
}  // namespace veltrane
