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
#include "engine/FolderWatch.h"
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
  void Together(const std::function<void()>& changes) override;
  QList<SettingRow> GetAllSettings(const QString& application, const QString& section) override;
  void DeleteSetting(const QString& application, const QString& section, const QString& key) override;
  void DeleteSetting(const QString& application, const QString& section) override;

 private:
  class Statement;

  void OpenAtFirstUse();
  void NoteOpenFiles();
  void TellWhenMoved();
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
  /// Makes a call of SQLite, which waits for another program unless the last of its kind has done so in vain.
  template <class Call>
  int Patiently(bool writes, Call&& call);
  void Execute(const char* sql);
  [[noreturn]] void Fail() const;
  QString Problem() const;
  QString Reason() const;

  /// Tells files apart, whatever their names; device and number.
  using FileNumber = std::pair<quint64, quint64>;
  static FileNumber NumberOf(const QString& path);

  struct Section {
    QList<SettingRow> rows;
    /// By their names without case.
    QHash<QString, QString> values;
  };
  const Section& Read(const QString& application, const QString& section);
  void ForgetWhatChanged();

  const QString mPath;
  const Clock& mClock;
  ErrorSink& mErrors;
  sqlite3* mDatabase = nullptr;
  /// What has been read since the file changed.
  QHash<QString, Section> mSections;
  QString mOthersChanges;
  qint64 mOwnChanges = -1;
  FolderWatch mFolder;
  Clock::Instant mTrustedUntil{};
  Clock::Instant mDoubtedUntil{};
  /// The open file and those beside it, by their endings.
  QHash<QString, FileNumber> mOpenFiles;
  bool mMoved = false;
  bool mInMemory = false;
  bool mFoundLockedForReading = false;
  bool mFoundLockedForWriting = false;
  int mOpenResult = 0;
  std::unique_ptr<Statement> mAll, mVersion, mUpdate, mInsert, mDeleteKey, mDeleteSection;
};

}  // namespace veltrane
