// An ordered list of objects, in the order of adding, by text key and by 1-based position. Look-up by either
// and removal near an end take constant time; PositionOf searches by halves once something was removed
// between the ends. An item stays where it is in memory until it is removed.
#pragma once

#include <QHash>
#include <QString>

#include <algorithm>
#include <deque>
#include <memory>
#include <utility>

#include "base/Failure.h"

namespace veltrane {

template <class T>
class KeyedList {
 public:
  /// Adds at the end. Fails with a duplicate key when the key is in use.
  void Add(T value, const QString& key) {
    if (mByKey.contains(key)) throw Failure(FailureNumber::kDuplicateKey);
    mEntries.push_back(std::make_unique<Entry>(Entry{mNextSerial++, key, std::move(value)}));
    mByKey.insert(key, mEntries.back().get());
  }

  qsizetype Count() const { return static_cast<qsizetype>(mEntries.size()); }
  bool IsEmpty() const { return mEntries.empty(); }
  bool Contains(const QString& key) const { return mByKey.contains(key); }

  /// The item at a 1-based position; fails when there is none.
  T& Item(qsizetype position) { return At(position).value; }
  const T& Item(qsizetype position) const { return At(position).value; }

  /// The item under a key; fails when there is none.
  T& Item(const QString& key) { return Under(key).value; }
  const T& Item(const QString& key) const { return Under(key).value; }

  /// The item under a key, or nullptr.
  T* Find(const QString& key) { return const_cast<T*>(std::as_const(*this).Find(key)); }
  const T* Find(const QString& key) const {
    const Entry* entry = mByKey.value(key, nullptr);
    return entry ? &entry->value : nullptr;
  }

  const QString& KeyAt(qsizetype position) const { return At(position).key; }

  /// The 1-based position of a key; fails when the key is missing.
  qsizetype PositionOf(const QString& key) const {
    const quint64 serial = Under(key).serial;
    // Serials only grow, so the entries are sorted by them; without gaps the offset is the position.
    const auto offset = static_cast<std::size_t>(serial - mEntries.front()->serial);
    if (offset < mEntries.size() && mEntries[offset]->serial == serial) {
      return static_cast<qsizetype>(offset) + 1;
    }
    const auto at = std::lower_bound(
        mEntries.begin(), mEntries.end(), serial,
        [](const std::unique_ptr<Entry>& entry, quint64 wanted) { return entry->serial < wanted; });
    return at - mEntries.begin() + 1;
  }

  /// Removal by position or key; fails when the item is missing. Gives back what was removed.
  T Remove(qsizetype position) {
    Entry& entry = At(position);
    T value = std::move(entry.value);
    mByKey.remove(entry.key);
    mEntries.erase(mEntries.begin() + (position - 1));
    return value;
  }
  T Remove(const QString& key) { return Remove(PositionOf(key)); }

  void Clear() {
    mEntries.clear();
    mByKey.clear();
  }

 private:
  struct Entry {
    quint64 serial = 0;
    QString key;
    T value{};
  };

  Entry& At(qsizetype position) { return const_cast<Entry&>(std::as_const(*this).At(position)); }
  const Entry& At(qsizetype position) const {
    if (position < 1 || position > Count()) throw Failure(FailureNumber::kOutOfRange);
    return *mEntries[static_cast<std::size_t>(position - 1)];
  }
  Entry& Under(const QString& key) const {
    Entry* entry = mByKey.value(key, nullptr);
    if (!entry) throw Failure(FailureNumber::kBadArgument);
    return *entry;
  }

  std::deque<std::unique_ptr<Entry>> mEntries;
  QHash<QString, Entry*> mByKey;
  quint64 mNextSerial = 0;
};

}  // namespace veltrane
