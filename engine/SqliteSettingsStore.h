// The settings store in an SQLite file: one table settings(application, section, key, value), all text, rows
// in the order in which they were first written. Nothing else in the file is needed, so one made by hand
// with the sqlite3 shell serves as well.
//
// The file is opened at the first use of the store. One that cannot be used is reported once, then, and is
// never harmed: a corrupt one is set aside under another name. In place of a file that cannot even be read,
// settings in memory serve until the end of the run. A failure later on goes to the caller.
//
// The rows of a section, which the purge asks for at every turn, are read again only when the file has
// changed.
#pragma once

#include <QHash>

#include <memory>

#include "base/Clock.h"
#include "base/Failure.h"
#include "engine/SettingsStore.h"

struct sqlite3;
struct sqlite3_stmt;

namespace veltrane {

class SqliteSettingsStore : public SettingsStore {
 public:
  /// path is the file; it and its folder are made when missing, private to the user. All is borrowed.
  SqliteSettingsStore(const QString& path, const Clock& clock, ErrorSink& errors);
  ~SqliteSettingsStore() override;

  bool IsTheUsers() override;
  QString GetSetting(const QString& application, const QString& section, const QString& key,
                     const QString& defaultValue) override;
  void SaveSetting(const QString& application, const QString& section, const QString& key,
                   const QString& value) override;
  void SaveSettings(const QString& application, const QString& section,
                    const QList<SettingRow>& rows) override;
  QList<SettingRow> GetAllSettings(const QString& application, const QString& section) override;
  void DeleteSetting(const QString& application, const QString& section, const QString& key) override;
  void DeleteSetting(const QString& application, const QString& section) override;

 private:
  class Statement;

  void OpenAtFirstUse();
  bool OpenForWriting();
  bool OpenForReading();
  bool OpenFile(const QByteArray& name, int flags);
  void OpenInMemory();
  void Prepare();
  void UseWriteAheadLog();
  void MakeKeysText();
  void MakeTable();
  void SetAside();
  QString Unreadable() const;
  void CloseStatements();
  void CloseFile();
  void Execute(const char* sql);
  [[noreturn]] void Fail() const;
  QString Problem() const;
  QString Reason() const;

  /// The rows of a section as of a version of the file.
  struct Section {
    QString version;
    QList<SettingRow> rows;
  };
  QString Version();

  const QString mPath;
  const Clock& mClock;
  ErrorSink& mErrors;
  sqlite3* mDatabase = nullptr;
  QHash<QString, Section> mSections;
  bool mInMemory = false;
  int mOpenResult = 0;
  std::unique_ptr<Statement> mGet, mAll, mVersion, mUpdate, mInsert, mDeleteKey, mDeleteSection;
};

}  // namespace veltrane
