// The settings store in an SQLite file: one table settings(application, section, key, value), all text, rows
// in the order in which they were first written. Nothing else in the file is needed, so one made by hand
// with the sqlite3 shell serves as well.
//
// A file that cannot be used is reported once, when the store is opened, and is never harmed: a corrupt one
// is set aside under another name. Reads of an unusable store then give the defaults, writes fail. A failure
// later on goes to the caller.
#pragma once

#include <memory>

#include "base/Clock.h"
#include "base/Failure.h"
#include "engine/SettingsStore.h"

struct sqlite3;
struct sqlite3_stmt;

namespace veltrane {

class SqliteSettingsStore : public SettingsStore {
 public:
  /// path is the file; its folder is made when missing. Both are private to the user.
  SqliteSettingsStore(const QString& path, const Clock& clock, ErrorSink& errors);
  ~SqliteSettingsStore() override;

  QString GetSetting(const QString& application, const QString& section, const QString& key,
                     const QString& defaultValue) override;
  void SaveSetting(const QString& application, const QString& section, const QString& key,
                   const QString& value) override;
  QList<SettingRow> GetAllSettings(const QString& application, const QString& section) override;
  void DeleteSetting(const QString& application, const QString& section, const QString& key) override;
  void DeleteSetting(const QString& application, const QString& section) override;

 private:
  class Statement;

  void Open(ErrorSink& errors);
  bool OpenForWriting();
  bool OpenForReading();
  void Prepare();
  void SetAside(ErrorSink& errors);
  void CloseStatements();
  void CloseFile();
  void Execute(const char* sql);
  void RequireUsable() const;
  [[noreturn]] void Fail() const;
  QString Problem() const;

  const QString mPath;
  const Clock& mClock;
  sqlite3* mDatabase = nullptr;
  int mOpenResult = 0;
  QString mWhyUnusable;  // empty while the store serves
  std::unique_ptr<Statement> mGet, mAll, mUpdate, mInsert, mDeleteKey, mDeleteSection;
};

}  // namespace veltrane
