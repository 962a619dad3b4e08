#include "engine/net/NameLookup.h"

#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <netdb.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_set>
#include <utility>

#include "engine/net/SocketErrors.h"

namespace veltrane {
namespace {

// A name server that does not answer holds a worker for half a minute; so many names may hang before others
// have to wait. Names whose askers have left hold the others back only when all of them fill the second
// number.
constexpr int kMostWorkers = 32;
constexpr int kMostThreads = 256;

}  // namespace

struct NameLookup::Shared {
  explicit Shared(Resolver resolve)
      : resolver(std::move(resolve)), descriptor(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (descriptor < 0) throw SocketFailure(errno);
  }
  ~Shared() { ::close(descriptor); }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  const Resolver resolver;
  const int descriptor;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::pair<quint64, std::string>> questions;
  std::vector<std::pair<quint64, Result>> answers;
  std::unordered_set<quint64> underWay;  // at a worker, with an asker
  int workers = 0;
  int idle = 0;
  int abandoned = 0;  // workers whose askers have left
  bool ended = false;
};

NameLookup::NameLookup(Resolver resolver) : mShared(std::make_shared<Shared>(std::move(resolver))) {}

NameLookup::~NameLookup() {
  const std::lock_guard lock(mShared->mutex);
  mShared->ended = true;
  mShared->questions.clear();
  mShared->wake.notify_all();
}

int NameLookup::Descriptor() const {
  return mShared->descriptor;
}

quint64 NameLookup::Start(const QString& name, Answer answer) {
  const std::lock_guard lock(mShared->mutex);
  AddWorkerFor(mShared->questions.size() + 1);
  const quint64 number = ++mLastNumber;
  mWaiting.emplace(number, std::move(answer));
  mShared->questions.emplace_back(number, name.toStdString());
  mShared->wake.notify_one();
  return number;
}

void NameLookup::AddWorkerFor(std::size_t questions) {
  const bool allBusy = mShared->idle < static_cast<int>(questions);
  const bool mayAdd = mShared->workers - mShared->abandoned < kMostWorkers && mShared->workers < kMostThreads;
  if (allBusy && mayAdd) AddWorker();
}

// Without room for one more thread the others take the question, if there are any.
void NameLookup::AddWorker() {
  try {
    std::thread(Work, mShared).detach();
    ++mShared->workers;
  } catch (const std::system_error& failure) {
    if (mShared->workers == 0) throw SocketFailure(failure.code().value());
  }
}

void NameLookup::Cancel(quint64 number) {
  mWaiting.erase(number);
  // A name that waits behind others which get no answer would wait there long after everybody has lost
  // interest.
  const std::lock_guard lock(mShared->mutex);
  std::erase_if(mShared->questions, [&](const auto& question) { return question.first == number; });
  if (mShared->underWay.erase(number) == 0) return;
  ++mShared->abandoned;
  AddWorkerFor(mShared->questions.size());
}

qsizetype NameLookup::QuestionCount() const {
  const std::lock_guard lock(mShared->mutex);
  return static_cast<qsizetype>(mShared->questions.size());
}

int NameLookup::WorkerCount() const {
  const std::lock_guard lock(mShared->mutex);
  return mShared->workers;
}

void NameLookup::Work(const std::shared_ptr<Shared>& shared) {
  std::unique_lock lock(shared->mutex);
  while (true) {
    ++shared->idle;
    shared->wake.wait(lock, [&] { return shared->ended || !shared->questions.empty(); });
    --shared->idle;
    if (shared->ended) return;
    const auto [number, name] = std::move(shared->questions.front());
    shared->questions.pop_front();
    shared->underWay.insert(number);
    lock.unlock();
    Result result = shared->resolver(name);
    lock.lock();
    if (shared->ended) return;
    if (shared->underWay.erase(number) == 0) --shared->abandoned;
    shared->answers.emplace_back(number, std::move(result));
    eventfd_write(shared->descriptor, 1);
    if (shared->questions.empty() && shared->workers - shared->abandoned > kMostWorkers) break;
  }
  --shared->workers;
}

void NameLookup::DeliverAnswers() {
  std::vector<std::pair<quint64, Result>> answers;
  {
    const std::lock_guard lock(mShared->mutex);
    eventfd_t ignored = 0;
    eventfd_read(mShared->descriptor, &ignored);
    answers.swap(mShared->answers);
  }
  for (const auto& [number, result] : answers) {
    const auto found = mWaiting.find(number);
    if (found == mWaiting.end()) continue;
    const Answer answer = std::move(found->second);
    mWaiting.erase(found);
    answer(result);
  }
}

NameLookup::Result NameLookup::SystemResolver(const std::string& name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  Result result;
  // The system would look up what stands before it, another name than the one that is shown. And no name is
  // as long as what a client may ask for (RFC 1035).
  constexpr std::size_t kLongestName = 253 + 1;  // with a dot at its end
  if (name.find('\0') != std::string::npos || name.size() > kLongestName) {
    result.lookupError = EAI_NONAME;
    return result;
  }
  result.lookupError = getaddrinfo(name.c_str(), nullptr, &hints, &found);
  result.systemError = errno;
  if (result.lookupError != 0) return result;
  for (const addrinfo* entry = found; entry; entry = entry->ai_next) {
    result.addresses.push_back(reinterpret_cast<const sockaddr_in*>(entry->ai_addr)->sin_addr);
  }
  freeaddrinfo(found);
  if (result.addresses.empty()) result.lookupError = EAI_NONAME;
  return result;
}

}  // namespace veltrane
