// A settings store in memory, which can be told to fail.
#pragma once

#include <QList>

#include "base/Failure.h"
#include "engine/SettingsStore.h"

namespace veltrane {

class MemoryStore : public SettingsStore {
 public:
  struct Row {
    QString application, section, key, value;
  };

  bool IsTheUsers() override { return mIsTheUsers; }
  QString GetSetting(const QString& application, const QString& section, const QString& key,
                     const QString& defaultValue) override {
    ++mReads;
    MaybeFail(mFailReads);
    const int at = Find(application, section, key);
    return at < 0 ? defaultValue : mRows[at].value;
  }
  void SaveSetting(const QString& application, const QString& section, const QString& key,
                   const QString& value) override {
    if (mWritesBeforeFailure == 0) throw Failure(FailureNumber::kStore, QStringLiteral("store is full"));
    if (mWritesBeforeFailure > 0) --mWritesBeforeFailure;
    const int at = Find(application, section, key);
    if (at < 0) {
      mRows.append({application, section, key, value});
    } else {
      mRows[at].value = value;
    }
  }
  void Together(const std::function<void()>& changes) override {
    const QList<Row> before = mRows;
    try {
      changes();
    } catch (...) {
      mRows = before;
      throw;
    }
  }
  QList<SettingRow> GetAllSettings(const QString& application, const QString& section) override {
    MaybeFail(mFailReads);
    QList<SettingRow> rows;
    for (const Row& row : mRows) {
      if (Same(row.application, application) && Same(row.section, section)) rows.append({row.key, row.value});
    }
    return rows;
  }
  void DeleteSetting(const QString& application, const QString& section, const QString& key) override {
    MaybeFailDelete();
    const int at = Find(application, section, key);
    if (at < 0) throw Failure(FailureNumber::kBadArgument);
    mRows.removeAt(at);
  }
  void DeleteSetting(const QString& application, const QString& section) override {
    MaybeFailDelete();
    const auto gone = mRows.removeIf(
        [&](const Row& row) { return Same(row.application, application) && Same(row.section, section); });
    if (gone == 0) throw Failure(FailureNumber::kBadArgument);
  }

  QList<Row> mRows;
  int mReads = 0;
  bool mFailReads = false;
  bool mIsTheUsers = true;
  // -1: never fails
  int mWritesBeforeFailure = -1;
  int mDeletesBeforeFailure = -1;

 private:
  static bool Same(const QString& left, const QString& right) {
    return left.compare(right, Qt::CaseInsensitive) == 0;
  }
  void MaybeFailDelete() {
    MaybeFail(mDeletesBeforeFailure == 0);
    if (mDeletesBeforeFailure > 0) --mDeletesBeforeFailure;
  }
  static void MaybeFail(bool fail) {
    if (fail) throw Failure(FailureNumber::kStore, QStringLiteral("store cannot be read"));
  }
  int Find(const QString& application, const QString& section, const QString& key) const {
    for (int i = 0; i < mRows.size(); ++i) {
      if (Same(mRows[i].application, application) && Same(mRows[i].section, section) &&
          Same(mRows[i].key, key)) {
        return i;
      }
    }
    return -1;
  }
};

}  // namespace veltrane
