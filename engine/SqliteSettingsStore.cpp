#include "engine/SqliteSettingsStore.h"

#include <QFile>
#include <QFileInfo>

#include <array>
#include <initializer_list>
#include <sqlite3.h>
#include <sys/stat.h>

#include "base/PrivateFiles.h"

namespace veltrane {
namespace {

// How long an operation waits for another program that holds the file. The thread waits with it, and so do
// all connections: one that has waited in vain spares those behind it the wait.
constexpr int kBusyTimeoutMs = 500;

/// What was read is asked for again after this time even when the folder has told of no change.
constexpr std::chrono::milliseconds kTrust{100};
/// A change of a file is told before what it means can be read: so long the file is asked at each read.
constexpr std::chrono::milliseconds kDoubt{1000};

constexpr std::array kFilesBesideTheStore{"", "-wal", "-shm", "-journal"};

/// Letters without their case, as the store compares names: of ASCII only.
QString Folded(QString name) {
  for (QChar& letter : name)
    if (letter >= u'A' && letter <= u'Z') letter = QChar(letter.unicode() | 0x20);
  return name;
}

bool IsCorrupt(int result) {
  const int primary = result & 0xff;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

bool IsLocked(int result) {
  const int primary = result & 0xff;
  return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

QString TimeForFileName(const LocalTime& time) {
  return QString::asprintf("%04d%02d%02d-%02d%02d%02d", time.year, time.month, time.day, time.hour,
                           time.minute, time.second);
}

}  // namespace

/// A prepared statement. One run at a time: Start, then Step until false, which frees it for the next.
class SqliteSettingsStore::Statement {
 public:
  Statement(SqliteSettingsStore& store, const char* sql) : mStore(store) {
    if (sqlite3_prepare_v3(store.mDatabase, sql, -1, SQLITE_PREPARE_PERSISTENT, &mStatement, nullptr) !=
        SQLITE_OK) {
      store.Fail();
    }
    mWrites = sqlite3_stmt_readonly(mStatement) == 0;
  }
  ~Statement() { sqlite3_finalize(mStatement); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void Start(std::initializer_list<QString> arguments) {
    sqlite3_reset(mStatement);
    int index = 0;
    for (const QString& argument : arguments) {
      const QByteArray text = argument.toUtf8();
      sqlite3_bind_text64(mStatement, ++index, text.constData(), static_cast<sqlite3_uint64>(text.size()),
                          SQLITE_TRANSIENT, SQLITE_UTF8);
    }
  }

  /// True when there is a row. After the last row, or a failure, the file is free again.
  bool Step() {
    const int result = mStore.Patiently(mWrites, [this] { return sqlite3_step(mStatement); });
    if (result == SQLITE_ROW) return true;
    if (result != SQLITE_DONE) {
      const QString problem = mStore.Problem();
      sqlite3_reset(mStatement);
      throw Failure(FailureNumber::kStore, problem);
    }
    sqlite3_reset(mStatement);
    return false;
  }

  QString Text(int column) const {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(mStatement, column));
    return QString::fromUtf8(text, sqlite3_column_bytes(mStatement, column));
  }

  void Stop() { sqlite3_reset(mStatement); }

  /// Runs to the end; the number of rows that changed.
  int Run(std::initializer_list<QString> arguments) {
    Start(arguments);
    while (Step()) {
    }
    return sqlite3_changes(mStore.mDatabase);
  }

 private:
  SqliteSettingsStore& mStore;
  sqlite3_stmt* mStatement = nullptr;
  bool mWrites = false;
};

SqliteSettingsStore::SqliteSettingsStore(const QString& path, const Clock& clock, ErrorSink& errors)
    : mPath(path), mClock(clock), mErrors(errors) {}

SqliteSettingsStore::~SqliteSettingsStore() {
  // At rest the store is one plain file, which can be read from a folder that cannot be written.
  if (mDatabase && !mMoved) {
    CloseStatements();
    sqlite3_exec(mDatabase, "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
  }
  CloseFile();
}

void SqliteSettingsStore::OpenAtFirstUse() {
  if (mDatabase) {
    TellWhenMoved();
    return;
  }
  const QString folder = QFileInfo(mPath).path();
  MakePrivateFolder(folder);
  mFolder.Watch(folder);
  if (OpenForWriting()) return;
  if (IsCorrupt(mOpenResult)) {
    SetAside();
    return;
  }
  const bool locked = IsLocked(mOpenResult);
  if (OpenForReading()) {
    mErrors.LogError(
        QStringLiteral("The settings file ") + mPath +
        (locked ? QStringLiteral(" is in use by another program. Veltrane runs with the settings that it "
                                 "holds, and may be unable to keep changes. End the other program, then "
                                 "start Veltrane again.")
                : QStringLiteral(" cannot be written. Veltrane runs with the settings that it holds; changes "
                                 "will not be kept. Give yourself the right to write the file and its "
                                 "folder, then start Veltrane again.")));
    return;
  }
  const QString problem = Unreadable();
  OpenInMemory();
  mErrors.LogError(problem);
}

SqliteSettingsStore::FileNumber SqliteSettingsStore::NumberOf(const QString& path) {
  struct stat info {};
  if (::stat(QFile::encodeName(path).constData(), &info) != 0) return {};
  return {info.st_dev, info.st_ino};
}

void SqliteSettingsStore::NoteOpenFiles() {
  for (const char* const ending : kFilesBesideTheStore)
    mOpenFiles.insert(QLatin1String(ending), NumberOf(mPath + QLatin1String(ending)));
}

// The file that is open still serves this run, but nobody will find it again. Its log must not stay behind:
// it would be taken for that of the file which comes in its place.
void SqliteSettingsStore::TellWhenMoved() {
  if (mMoved || mInMemory || mOpenFiles.isEmpty() || NumberOf(mPath) == mOpenFiles.value(QString())) return;
  mMoved = true;
  for (auto file = mOpenFiles.cbegin(); file != mOpenFiles.cend(); ++file) {
    const QString path = mPath + file.key();
    if (file.value() != FileNumber() && NumberOf(path) == file.value()) QFile::remove(path);
  }
  mErrors.LogError(
      QStringLiteral("The settings file ") + mPath +
      QStringLiteral(" was removed or replaced. Veltrane runs on with the settings that it held; "
                     "changes will not be kept. End Veltrane and start it again."));
}

QString SqliteSettingsStore::Unreadable() const {
  if (IsLocked(mOpenResult)) {
    return QStringLiteral("The settings file ") + mPath +
           QStringLiteral(
               " is locked by another program. Veltrane runs with its default settings and without ports, "
               "and changes will not "
               "be kept. End the other program, then start Veltrane again.");
  }
  return QStringLiteral("The settings file ") + mPath + QStringLiteral(" cannot be opened (") + Reason() +
         QStringLiteral(
             "). Veltrane runs with its default settings and without ports, and changes will not be kept. "
             "Make the file and "
             "its folder accessible, then start Veltrane again.");
}

bool SqliteSettingsStore::OpenFile(const QByteArray& name, int flags) {
  CloseFile();
  mOpenResult = sqlite3_open_v2(name.constData(), &mDatabase, flags, nullptr);
  if (mOpenResult != SQLITE_OK) return false;
  sqlite3_busy_timeout(mDatabase, kBusyTimeoutMs);
  return true;
}

bool SqliteSettingsStore::OpenForWriting() {
  // A file that is there keeps the rights that its user gave it. Those beside it get the same.
  MakePrivateFile(mPath);
  if (!OpenFile(mPath.toUtf8(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) return false;
  try {
    if (sqlite3_db_readonly(mDatabase, "main") != 0) {
      mOpenResult = SQLITE_READONLY;
      return false;
    }
    // The write-ahead log makes each write whole without waiting for the disk at every one of them: a
    // handler writes rows while traffic runs.
    UseWriteAheadLog();
    Execute("PRAGMA synchronous = NORMAL");
    MakeTable();
    MakeKeysText();
    Prepare();
    NoteOpenFiles();
    return true;
  } catch (const Failure&) {
    mOpenResult = sqlite3_errcode(mDatabase);
    return false;
  }
}

// While another program reads the file, it stays as it is: a write then waits for the reader.
void SqliteSettingsStore::UseWriteAheadLog() {
  if (sqlite3_exec(mDatabase, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr) == SQLITE_OK) return;
  if (!IsLocked(sqlite3_errcode(mDatabase))) Fail();
}

// A table made by hand may have columns without a type, and numbers in them: a number is found under no text.
void SqliteSettingsStore::MakeKeysText() {
  constexpr char kOdd[] = "typeof(section) <> 'text' OR typeof(key) <> 'text'";
  const QByteArray count = QByteArray("SELECT 1 FROM settings WHERE ") + kOdd;
  bool any = false;
  {
    Statement statement(*this, count.constData());
    statement.Start({});
    any = statement.Step();
  }
  if (!any) return;
  const QByteArray update =
      QByteArray("UPDATE settings SET section = CAST(section AS TEXT), key = CAST(key AS TEXT) WHERE ") +
      kOdd;
  Execute(update.constData());
}

bool SqliteSettingsStore::OpenForReading() {
  if (!OpenFile(mPath.toUtf8(), SQLITE_OPEN_READONLY)) return false;
  try {
    Prepare();
    return true;
  } catch (const Failure&) {
    mOpenResult = sqlite3_errcode(mDatabase);
    return false;
  }
}

void SqliteSettingsStore::OpenInMemory() {
  if (!OpenFile(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) Fail();
  MakeTable();
  Prepare();
  mInMemory = true;
}

void SqliteSettingsStore::MakeTable() {
  Execute("CREATE TABLE IF NOT EXISTS settings (application TEXT, section TEXT, key TEXT, value TEXT)");
  Execute(
      "CREATE INDEX IF NOT EXISTS settings_by_name ON settings (application COLLATE NOCASE, section COLLATE "
      "NOCASE, key COLLATE NOCASE)");
}

void SqliteSettingsStore::Prepare() {
  const auto prepare = [this](const char* sql) { return std::make_unique<Statement>(*this, sql); };
  mAll = prepare(
      "SELECT key, value FROM settings WHERE application = ? COLLATE NOCASE AND section = ? COLLATE NOCASE "
      "ORDER "
      "BY rowid");
  mVersion = prepare("PRAGMA data_version");
  mUpdate = prepare(
      "UPDATE settings SET value = ?4 WHERE application = ?1 COLLATE NOCASE AND section = ?2 COLLATE NOCASE "
      "AND "
      "key = ?3 COLLATE NOCASE");
  mInsert = prepare("INSERT INTO settings (application, section, key, value) VALUES (?, ?, ?, ?)");
  mDeleteKey = prepare(
      "DELETE FROM settings WHERE application = ? COLLATE NOCASE AND section = ? COLLATE NOCASE AND key = ? "
      "COLLATE NOCASE");
  mDeleteSection =
      prepare("DELETE FROM settings WHERE application = ? COLLATE NOCASE AND section = ? COLLATE NOCASE");
}

// The damaged file is kept for the user, and a fresh one takes its place.
void SqliteSettingsStore::SetAside() {
  CloseFile();
  const QString kept = mPath + QStringLiteral(".damaged-") + TimeForFileName(mClock.Now());
  bool moved = true;
  for (const char* const ending : kFilesBesideTheStore) {
    const QLatin1String suffix(ending);
    if (QFile::exists(mPath + suffix)) moved = QFile::rename(mPath + suffix, kept + suffix) && moved;
  }
  QString report = QStringLiteral("The settings file ") + mPath + QStringLiteral(" is damaged");
  if (!moved) {
    report += QStringLiteral(" and cannot be set aside as ") + kept +
              QStringLiteral(
                  ". Veltrane runs with its default settings and without ports, and changes will not be "
                  "kept. Move the file "
                  "away, then start Veltrane again.");
  } else if (OpenForWriting()) {
    report += QStringLiteral(". It was set aside as ") + kept +
              QStringLiteral(", and Veltrane starts with its default settings.");
  } else {
    report += QStringLiteral(". It was set aside as ") + kept +
              QStringLiteral(", but a new one cannot be made (") + Reason() +
              QStringLiteral(
                  "). Veltrane runs with its default settings and without ports, and changes will not be "
                  "kept. Give yourself "
                  "the right to write the folder, then start Veltrane again.");
    CloseFile();
  }
  if (!mDatabase) OpenInMemory();
  mErrors.LogError(report);
}

void SqliteSettingsStore::CloseStatements() {
  for (auto* statement : {&mAll, &mVersion, &mUpdate, &mInsert, &mDeleteKey, &mDeleteSection})
    statement->reset();
  mSections.clear();
  mTrustedUntil = {};
}

void SqliteSettingsStore::CloseFile() {
  CloseStatements();
  sqlite3_close(mDatabase);
  mDatabase = nullptr;
}

template <class Call>
int SqliteSettingsStore::Patiently(bool writes, Call&& call) {
  bool& foundLocked = writes ? mFoundLockedForWriting : mFoundLockedForReading;
  sqlite3_busy_timeout(mDatabase, foundLocked ? 0 : kBusyTimeoutMs);
  const int result = call();
  foundLocked = IsLocked(result);
  return result;
}

void SqliteSettingsStore::Execute(const char* sql) {
  const auto execute = [&] { return sqlite3_exec(mDatabase, sql, nullptr, nullptr, nullptr); };
  if (Patiently(true, execute) != SQLITE_OK) Fail();
}

void SqliteSettingsStore::Fail() const {
  throw Failure(FailureNumber::kStore, Problem());
}

QString SqliteSettingsStore::Problem() const {
  return FailureText(FailureNumber::kStore) + QStringLiteral(" (") + mPath + QStringLiteral("): ") + Reason();
}

QString SqliteSettingsStore::Reason() const {
  return QString::fromUtf8(mDatabase ? sqlite3_errmsg(mDatabase) : sqlite3_errstr(mOpenResult));
}

bool SqliteSettingsStore::IsTheUsers() {
  OpenAtFirstUse();
  return !mInMemory;
}

QString SqliteSettingsStore::GetSetting(const QString& application, const QString& section,
                                        const QString& key, const QString& defaultValue) {
  return Read(application, section).values.value(Folded(key), defaultValue);
}

QList<SettingRow> SqliteSettingsStore::GetAllSettings(const QString& application, const QString& section) {
  return Read(application, section).rows;
}

const SqliteSettingsStore::Section& SqliteSettingsStore::Read(const QString& application,
                                                              const QString& section) {
  ForgetWhatChanged();
  const QString name = application + u'\n' + section;
  const auto known = mSections.constFind(name);
  if (known != mSections.cend()) return *known;
  Section read;
  mAll->Start({application, section});
  while (mAll->Step()) {
    const SettingRow row{mAll->Text(0), mAll->Text(1)};
    read.rows.append(row);
    // Of rows with the same name the oldest counts.
    const QString key = Folded(row.first);
    if (!read.values.contains(key)) read.values.insert(key, row.second);
  }
  return *mSections.insert(name, read);
}

// Handlers read rows at every connection, thousands of times a second: the file is not asked each time.
void SqliteSettingsStore::ForgetWhatChanged() {
  const Clock::Instant now = mClock.Steady();
  if (mFolder.SawChange()) mDoubtedUntil = now + kDoubt;
  const bool trusted = now >= mDoubtedUntil && now < mTrustedUntil;
  if (mDatabase && trusted && sqlite3_total_changes64(mDatabase) == mOwnChanges) return;
  OpenAtFirstUse();
  // The file counts the commits of other programs, and its connection the rows that this one changed.
  mVersion->Start({});
  const QString others = mVersion->Step() ? mVersion->Text(0) : QString();
  mVersion->Stop();
  const qint64 own = sqlite3_total_changes64(mDatabase);
  if (others != mOthersChanges || own != mOwnChanges) mSections.clear();
  mOthersChanges = others;
  mOwnChanges = own;
  mTrustedUntil = now + kTrust;
}

void SqliteSettingsStore::SaveSetting(const QString& application, const QString& section, const QString& key,
                                      const QString& value) {
  OpenAtFirstUse();
  // No transaction around the two: the second statement runs only where the first found nothing to change.
  if (mUpdate->Run({application, section, key, value}) == 0) mInsert->Run({application, section, key, value});
}

void SqliteSettingsStore::Together(const std::function<void()>& changes) {
  OpenAtFirstUse();
  const bool foundLocked = mFoundLockedForWriting;
  Execute("BEGIN IMMEDIATE");
  try {
    changes();
    // Beside a reader of a store without a log only this step waits: that the others succeeded says nothing.
    mFoundLockedForWriting = foundLocked;
    Execute("COMMIT");
  } catch (...) {
    sqlite3_exec(mDatabase, "ROLLBACK", nullptr, nullptr, nullptr);
    // What was read behind the changes is not in the file.
    mSections.clear();
    throw;
  }
}

void SqliteSettingsStore::DeleteSetting(const QString& application, const QString& section,
                                        const QString& key) {
  OpenAtFirstUse();
  if (mDeleteKey->Run({application, section, key}) == 0) throw Failure(FailureNumber::kBadArgument);
}

void SqliteSettingsStore::DeleteSetting(const QString& application, const QString& section) {
  OpenAtFirstUse();
  if (mDeleteSection->Run({application, section}) == 0) throw Failure(FailureNumber::kBadArgument);
}

}  // namespace veltrane
