// An ordered list of objects with look-up by text key and by 1-based position, in which order is the order
// of adding. Look-up by key or position takes constant time, removal near an end does too.
#pragma once

#include <QHash>
#include <QString>

#include <algorithm>
#include <deque>
#include <utility>

#include "base/Failure.h"

namespace veltrane {

template <class T>
class KeyedList {
 public:
  /// Adds at the end. Fails with a duplicate key when the key is in use.
  void Add(T value, const QString& key) {
    if (mSerials.contains(key)) throw Failure(FailureNumber::kDuplicateKey);
    mSerials.insert(key, mNextSerial);
    mEntries.push_back(Entry{mNextSerial++, key, std::move(value)});
  }

  qsizetype Count() const { return static_cast<qsizetype>(mEntries.size()); }
  bool IsEmpty() const { return mEntries.empty(); }
  bool Contains(const QString& key) const { return mSerials.contains(key); }

  /// The item at a 1-based position; fails when there is none.
  T& Item(qsizetype position) { return At(position).value; }
  const T& Item(qsizetype position) const { return At(position).value; }

  /// The item under a key; fails when there is none.
  T& Item(const QString& key) { return At(PositionOf(key)).value; }
  const T& Item(const QString& key) const { return At(PositionOf(key)).value; }

  /// The item under a key, or nullptr.
  T* Find(const QString& key) { return Contains(key) ? &Item(key) : nullptr; }
  const T* Find(const QString& key) const { return Contains(key) ? &Item(key) : nullptr; }

  const QString& KeyAt(qsizetype position) const { return At(position).key; }

  /// The 1-based position of a key; fails when the key is missing.
  qsizetype PositionOf(const QString& key) const {
    const auto found = mSerials.constFind(key);
    if (found == mSerials.cend()) throw Failure(FailureNumber::kBadArgument);
    // Serials only grow, so the entries are sorted by them; without gaps the offset is the position.
    const auto offset = static_cast<std::size_t>(*found - mEntries.front().serial);
    if (offset < mEntries.size() && mEntries[offset].serial == *found) {
      return static_cast<qsizetype>(offset) + 1;
    }
    const auto at =
        std::lower_bound(mEntries.begin(), mEntries.end(), *found,
                         [](const Entry& entry, quint64 serial) { return entry.serial < serial; });
    return at - mEntries.begin() + 1;
  }

  /// Removal by position or key; fails when the item is missing. Gives back what was removed.
  T Remove(qsizetype position) {
    Entry& entry = At(position);
    T value = std::move(entry.value);
    mSerials.remove(entry.key);
    mEntries.erase(mEntries.begin() + (position - 1));
    return value;
  }
  T Remove(const QString& key) { return Remove(PositionOf(key)); }

  void Clear() {
    mEntries.clear();
    mSerials.clear();
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
    return mEntries[static_cast<std::size_t>(position - 1)];
  }

  std::deque<Entry> mEntries;
  QHash<QString, quint64> mSerials;
  quint64 mNextSerial = 0;
};

}  // namespace veltrane
