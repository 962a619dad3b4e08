// Host names to IPv4 addresses. Look-ups run in worker threads, the only thing in the program that leaves the
// one thread; their results come back through a descriptor that the reactor watches. A look-up whose asker
// has gone is forgotten, and the end of the program waits for none.
#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <netinet/in.h>
#include <unordered_map>
#include <vector>

#include "base/Failure.h"

namespace veltrane {

class NameLookup {
 public:
  struct Result {
    std::vector<in_addr> addresses;  // in the resolver's order; empty after a failure
    int lookupError = 0;             // EAI_...
    int systemError = 0;
  };
  using Answer = std::function<void(const Result&)>;
  /// How a name is resolved; tests put their own in. Runs in a worker thread.
  using Resolver = std::function<Result(const std::string& name)>;

  explicit NameLookup(Resolver resolver = SystemResolver);
  ~NameLookup();

  /// Becomes readable when answers wait for DeliverAnswers.
  int Descriptor() const;
  /// Starts a look-up; its answer is given by DeliverAnswers. The number is for Cancel.
  quint64 Start(const QString& name, Answer answer);
  /// The answer will not be given.
  void Cancel(quint64 number);
  void DeliverAnswers();
  /// Names that wait for a worker.
  qsizetype QuestionCount() const;
  /// Threads, idle ones too.
  int WorkerCount() const;

  /// getaddrinfo, IPv4 only.
  static Result SystemResolver(const std::string& name);

 private:
  struct Shared;
  void AddWorkerFor(std::size_t questions);
  void AddWorker();
  static void Work(const std::shared_ptr<Shared>& shared);

  std::shared_ptr<Shared> mShared;  // with the workers, which may outlive this object
  std::unordered_map<quint64, Answer> mWaiting;
  quint64 mLastNumber = 0;
};

}  // namespace veltrane
