#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Clock.h"
#include "engine/SqliteSettingsStore.h"
#include "tests/support/MemoryStore.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

const QString kApp = QStringLiteral("Veltrane");
const QString kSection = QStringLiteral("Options");
const QString kKey = QStringLiteral("NumberToKeep");

/// No file of this process may grow beyond so many bytes: a disk that is full.
struct LimitedFileSize {
  explicit LimitedFileSize(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &mBefore);
    const rlimit limit{bytes, mBefore.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    mHandler = ::signal(SIGXFSZ, SIG_IGN);
  }
  ~LimitedFileSize() {
    ::setrlimit(RLIMIT_FSIZE, &mBefore);
    ::signal(SIGXFSZ, mHandler);
  }
  LimitedFileSize(const LimitedFileSize&) = delete;
  LimitedFileSize& operator=(const LimitedFileSize&) = delete;

 private:
  rlimit mBefore{};
  void (*mHandler)(int) = SIG_DFL;
};

struct SettingsStoreTest : testing::Test {
  std::unique_ptr<SqliteSettingsStore> Open() {
    auto store = std::make_unique<SqliteSettingsStore>(path, clock, errors);
    store->GetAllSettings(kApp, QStringLiteral("any"));  // the first use opens it
    return store;
  }
  /// Runs SQL as another program would; the first column of what it gives.
  QStringList Sql(const char* sql) const {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(path.toUtf8().constData(), &database), SQLITE_OK);
    QStringList column;
    const auto take = [](void* list, int, char** fields, char**) {
      static_cast<QStringList*>(list)->append(QString::fromUtf8(fields[0]));
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(database, sql, take, &column, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
    return column;
  }

  QTemporaryDir folder;
  QString path = folder.filePath(QStringLiteral("conf/settings.db"));
  FakeClock clock;
  ErrorLog errors;
};

TEST_F(SettingsStoreTest, A_missing_key_gives_the_callers_default) {
  const auto store = Open();
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("100")), QStringLiteral("100"));
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("100")), QStringLiteral("7"));
  EXPECT_EQ(store->GetSetting(kApp, QStringLiteral("Other"), kKey, QStringLiteral("d")), QStringLiteral("d"));
  EXPECT_EQ(store->GetSetting(QStringLiteral("Other"), kSection, kKey, QStringLiteral("d")),
            QStringLiteral("d"));
}

TEST_F(SettingsStoreTest, Values_come_back_as_they_went_in) {
  const QStringList values{QString(),
                           QStringLiteral(" leading and trailing \t"),
                           QStringLiteral("line\r\nbreaks\n\r"),
                           QStringLiteral("quotes ' \" `"),
                           QStringLiteral("; DROP TABLE settings; --"),
                           QStringLiteral("Gr\u00fc\u00dfe \u65e5\u672c\u8a9e \U0001F600 \u202e"),
                           QString(QStringLiteral("a") + QChar(0) + QStringLiteral("b")),
                           QString(1000000, u'x')};
  {
    const auto store = Open();
    for (int i = 0; i < values.size(); ++i)
      store->SaveSetting(kApp, kSection, QString::number(i), values[i]);
    for (int i = 0; i < values.size(); ++i) {
      EXPECT_EQ(store->GetSetting(kApp, kSection, QString::number(i), QStringLiteral("none")), values[i]);
    }
  }
  const auto again = Open();
  const QList<SettingRow> rows = again->GetAllSettings(kApp, kSection);
  ASSERT_EQ(rows.size(), values.size());
  for (int i = 0; i < values.size(); ++i)
    EXPECT_EQ(rows[i].second, values[i]);
}

TEST_F(SettingsStoreTest, Rows_come_in_the_order_in_which_they_were_first_written) {
  const auto store = Open();
  for (const int port : {25, 110, 8080, 21})
    store->SaveSetting(kApp, kSection, QString::number(port), QStringLiteral("a"));
  store->SaveSetting(kApp, kSection, QStringLiteral("110"), QStringLiteral("b"));
  const QList<SettingRow> rows = store->GetAllSettings(kApp, kSection);
  ASSERT_EQ(rows.size(), 4);
  EXPECT_EQ(rows[0].first, QStringLiteral("25"));
  EXPECT_EQ(rows[1], SettingRow(QStringLiteral("110"), QStringLiteral("b")));
  EXPECT_EQ(rows[3].first, QStringLiteral("21"));
  store->DeleteSetting(kApp, kSection, QStringLiteral("25"));
  store->SaveSetting(kApp, kSection, QStringLiteral("25"), QStringLiteral("c"));
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).last().first, QStringLiteral("25"));
}

TEST_F(SettingsStoreTest, Rows_are_saved_together_or_not_at_all) {
  const auto store = Open();
  const QList<SettingRow> rows{{QStringLiteral("a"), QStringLiteral("1")},
                               {QStringLiteral("b"), QStringLiteral("2")},
                               {QStringLiteral("c"), QStringLiteral("3")}};
  Sql("CREATE TRIGGER full BEFORE INSERT ON settings WHEN NEW.key = 'b' BEGIN SELECT RAISE(ABORT, 'full'); "
      "END");
  const auto saveAll = [&] {
    store->Together([&] {
      for (const auto& [key, value] : rows)
        store->SaveSetting(kApp, kSection, key, value);
    });
  };
  EXPECT_THROW(saveAll(), Failure);
  EXPECT_TRUE(store->GetAllSettings(kApp, kSection).isEmpty());
  // The file is free again, for others and for this store.
  Sql("DROP TRIGGER full");
  saveAll();
  EXPECT_EQ(store->GetAllSettings(kApp, kSection), rows);
}

TEST_F(SettingsStoreTest, What_is_changed_together_reaches_the_file_at_once_over_several_sections) {
  const auto store = Open();
  const QString elsewhere = QStringLiteral("Elsewhere");
  store->SaveSetting(kApp, elsewhere, kKey, QStringLiteral("old"));
  store->Together([&] {
    store->SaveSetting(kApp, kSection, kKey, QStringLiteral("new"));
    store->DeleteSetting(kApp, elsewhere);
    EXPECT_EQ(Sql("SELECT value FROM settings"), QStringList{QStringLiteral("old")})
        << "not seen by others yet";
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("new"));
  });
  EXPECT_EQ(Sql("SELECT value FROM settings"), QStringList{QStringLiteral("new")});
}

TEST_F(SettingsStoreTest, What_fails_together_leaves_all_as_it_was_also_for_this_store) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  const auto changes = [&] {
    store->SaveSetting(kApp, kSection, kKey, QStringLiteral("2"));
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("2"));
    store->DeleteSetting(kApp, QStringLiteral("Elsewhere"));
  };
  EXPECT_THROW(store->Together(changes), Failure);
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("1"));
}

TEST_F(SettingsStoreTest, An_empty_section_has_no_rows) {
  EXPECT_TRUE(Open()->GetAllSettings(kApp, kSection).isEmpty());
}

TEST_F(SettingsStoreTest, Names_are_compared_without_case) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  store->SaveSetting(QStringLiteral("VELTRANE"), QStringLiteral("options"), QStringLiteral("numbertokeep"),
                     QStringLiteral("2"));
  EXPECT_EQ(store->GetAllSettings(kApp, kSection), (QList<SettingRow>{{kKey, QStringLiteral("2")}}));
  store->DeleteSetting(kApp, kSection, QStringLiteral("NUMBERTOKEEP"));
  EXPECT_TRUE(store->GetAllSettings(kApp, kSection).isEmpty());
}

TEST_F(SettingsStoreTest, A_section_with_a_backslash_is_a_section_of_its_own) {
  const auto store = Open();
  store->SaveSetting(kApp, QStringLiteral("Protocols"), QStringLiteral("25"), QStringLiteral("x"));
  store->SaveSetting(kApp, QStringLiteral("Protocols\\HTTP"), QStringLiteral("25"), QStringLiteral("y"));
  EXPECT_EQ(store->GetAllSettings(kApp, QStringLiteral("Protocols")).size(), 1);
  store->DeleteSetting(kApp, QStringLiteral("Protocols\\HTTP"));
  EXPECT_EQ(store->GetSetting(kApp, QStringLiteral("Protocols"), QStringLiteral("25"), {}),
            QStringLiteral("x"));
}

TEST_F(SettingsStoreTest, Deleting_what_is_not_there_fails) {
  const auto store = Open();
  const auto numberOf = [](const auto& call) {
    try {
      call();
    } catch (const Failure& failure) {
      return failure.Number();
    }
    return 0;
  };
  EXPECT_EQ(numberOf([&] { store->DeleteSetting(kApp, kSection, kKey); }), 5);
  EXPECT_EQ(numberOf([&] { store->DeleteSetting(kApp, kSection); }), 5);
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  store->DeleteSetting(kApp, kSection);
  EXPECT_THROW(store->DeleteSetting(kApp, kSection), Failure);
}

TEST_F(SettingsStoreTest, A_change_by_another_program_is_seen_at_the_next_read) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("1"));
  Sql("UPDATE settings SET value = '2' WHERE key = 'NumberToKeep'");
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("2"));
  Sql("DELETE FROM settings");
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("d")), QStringLiteral("d"));
}

TEST_F(SettingsStoreTest, A_section_is_read_again_only_when_the_file_has_changed) {
  const auto store = Open();
  for (int i = 0; i < 3; ++i)
    store->SaveSetting(kApp, kSection, QString::number(i), QStringLiteral("old"));
  const QList<SettingRow> rows = store->GetAllSettings(kApp, kSection);
  ASSERT_EQ(rows.size(), 3);
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).constData(), rows.constData()) << "the very same rows";
  EXPECT_EQ(store->GetAllSettings(kApp, QStringLiteral("Other")).size(), 0);
  store->SaveSetting(kApp, kSection, QStringLiteral("1"), QStringLiteral("own"));
  EXPECT_EQ(store->GetAllSettings(kApp, kSection)[1].second, QStringLiteral("own"));
  Sql("UPDATE settings SET value = 'foreign' WHERE key = '2'");
  EXPECT_EQ(store->GetAllSettings(kApp, kSection)[2].second, QStringLiteral("foreign"));
  store->DeleteSetting(kApp, kSection, QStringLiteral("0"));
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).size(), 2);
  store->DeleteSetting(kApp, kSection);
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).size(), 0);
}

TEST_F(SettingsStoreTest, A_file_made_by_hand_serves_as_well) {
  QDir().mkpath(QFileInfo(path).path());
  Sql("CREATE TABLE settings (application, section, key, value);"
      "INSERT INTO settings VALUES ('Veltrane', 'Options', 'NumberToKeep', 55)");
  const auto store = Open();
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("55"));
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("56"));
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).size(), 1);
  EXPECT_TRUE(errors.mTexts.isEmpty());
}

TEST_F(SettingsStoreTest, Store_and_folder_are_private_to_the_user) {
  const auto store = Open();
  struct stat info {};
  ASSERT_EQ(stat(path.toUtf8().constData(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777U, 0600U);
  ASSERT_EQ(stat(QFileInfo(path).path().toUtf8().constData(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777U, 0700U);
}

TEST_F(SettingsStoreTest, Behind_links_to_a_file_that_is_not_there_the_store_is_private_too) {
  ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
  const QString target = folder.filePath(QStringLiteral("elsewhere.db"));
  ASSERT_EQ(symlink("second", path.toUtf8().constData()), 0);
  ASSERT_EQ(symlink("../elsewhere.db", folder.filePath(QStringLiteral("conf/second")).toUtf8().constData()),
            0);
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  for (const char* const ending : {"", "-wal"}) {
    struct stat info {};
    ASSERT_EQ(stat((target.toUtf8() + ending).constData(), &info), 0) << ending;
    EXPECT_EQ(info.st_mode & 0777U, 0600U) << ending;
  }
  EXPECT_TRUE(errors.mTexts.isEmpty());
}

TEST_F(SettingsStoreTest, At_rest_the_store_is_one_plain_file) {
  Open()->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  EXPECT_EQ(QDir(QFileInfo(path).path()).entryList(QDir::Files), QStringList{QStringLiteral("settings.db")});
}

TEST_F(SettingsStoreTest, A_store_that_another_program_locks_is_reported_and_left_alone) {
  Open()->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  {
    const auto store = Open();
    ASSERT_EQ(errors.mTexts.size(), 1);
    EXPECT_TRUE(errors.mTexts[0].contains(QStringLiteral("locked by another program")));
    EXPECT_TRUE(errors.mTexts[0].contains(path));
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("100")), QStringLiteral("100"));
    EXPECT_TRUE(store->GetAllSettings(kApp, kSection).isEmpty());
    // Even when the other program lets go: what follows from defaults must not be written over the file.
    sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
    store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("1"));
    EXPECT_EQ(errors.mTexts.size(), 1);
  }
  sqlite3_close(other);
  EXPECT_EQ(Open()->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("7"));
}

TEST_F(SettingsStoreTest, A_lock_that_comes_later_is_a_failure_of_the_one_operation) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_THROW(store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8")), Failure);
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("7"));
  sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("8"));
  sqlite3_close(other);
}

TEST_F(SettingsStoreTest, A_lock_is_waited_for_once_and_the_next_one_again) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &other), SQLITE_OK);
  const SystemClock watch;
  const auto timeOf = [&](int operations) {
    const Clock::Instant begin = watch.Steady();
    for (int i = 0; i < operations; ++i) {
      EXPECT_THROW(store->DeleteSetting(kApp, kSection, kKey), Failure);
      EXPECT_THROW(store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8")), Failure);
      EXPECT_THROW(store->Together([] { ADD_FAILURE() << "nothing is changed without the lock"; }), Failure);
      // That a read succeeds says nothing of writing.
      EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("7"));
    }
    return watch.Steady() - begin;
  };
  for (int lock = 1; lock <= 2; ++lock) {
    ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_GT(timeOf(1), std::chrono::milliseconds(400)) << "another program's write may be over soon";
    EXPECT_LT(timeOf(20), std::chrono::seconds(5)) << "each waiting for itself would take 30 s";
    ASSERT_EQ(sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr), SQLITE_OK);
    store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  }
  sqlite3_close(other);
}

TEST_F(SettingsStoreTest, Without_a_log_a_long_reader_is_waited_for_once_too) {
  Open()->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN; SELECT * FROM settings", nullptr, nullptr, nullptr), SQLITE_OK);
  // The reader keeps the store from getting its log.
  const auto store = Open();
  const SystemClock watch;
  const Clock::Instant begin = watch.Steady();
  for (int i = 0; i < 40; ++i) {
    EXPECT_THROW(store->Together([&] { store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8")); }),
                 Failure);
  }
  EXPECT_LT(watch.Steady() - begin, std::chrono::seconds(5)) << "each waiting for itself would take 20 s";
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("7"));
  sqlite3_close(other);
}

TEST_F(SettingsStoreTest, A_store_that_vanishes_is_told_once_and_serves_to_the_end_of_the_run) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  ASSERT_TRUE(QFile::remove(path));
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("8"));
  ASSERT_EQ(errors.mTexts.size(), 1);
  EXPECT_TRUE(errors.mTexts[0].contains(QStringLiteral(" was removed or replaced. ")));
  EXPECT_EQ(QDir(QFileInfo(path).path()).entryList(QDir::Files), QStringList());
}

TEST_F(SettingsStoreTest, A_store_that_is_replaced_is_told_once_and_the_new_one_is_left_alone) {
  Open()->SaveSetting(kApp, kSection, kKey, QStringLiteral("kept"));
  const QString backup = path + QStringLiteral(".backup");
  ASSERT_TRUE(QFile::copy(path, backup));
  auto store = Open();
  for (int i = 0; i < 100; ++i)
    store->SaveSetting(kApp, kSection, QStringLiteral("Key%1").arg(i), QString(1000, u'x'));
  ASSERT_EQ(::rename(backup.toUtf8().constData(), path.toUtf8().constData()), 0);
  EXPECT_EQ(store->GetSetting(kApp, kSection, QStringLiteral("Key0"), {}).size(), 1000);
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("lost"));
  EXPECT_EQ(errors.mTexts.size(), 1);
  store.reset();
  store = Open();
  EXPECT_EQ(errors.mTexts.size(), 1) << errors.mTexts.last().toStdString();
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("kept"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, QStringLiteral("Key0"), {}), QString());
}

TEST_F(SettingsStoreTest,
       A_store_that_is_overwritten_while_it_is_open_fails_and_is_set_aside_at_the_next_start) {
  auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  store.reset();
  store = Open();
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::ReadWrite));
  file.write(QByteArray(static_cast<qsizetype>(file.size()), 'g'));
  file.close();
  // What it still knows, or a failure; never another value.
  try {
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("7"));
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Number(), 1001);
  }
  store.reset();
  EXPECT_EQ(Open()->GetSetting(kApp, kSection, kKey, QStringLiteral("default")), QStringLiteral("default"));
  ASSERT_FALSE(errors.mTexts.isEmpty());
  EXPECT_TRUE(errors.mTexts.last().contains(QStringLiteral("is damaged")))
      << errors.mTexts.last().toStdString();
}

TEST_F(SettingsStoreTest, A_disk_that_is_full_is_a_failure_of_the_write_and_harms_nothing) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  const LimitedFileSize limit(64 * 1024);
  EXPECT_THROW(store->SaveSetting(kApp, kSection, kKey, QString(1'000'000, u'x')), Failure);
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("7"));
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("8"));
}

TEST_F(SettingsStoreTest, The_files_beside_an_open_store_are_private_too) {
  const mode_t usual = ::umask(0);
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  ::umask(usual);
  int files = 0;
  for (const QFileInfo& file : QDir(QFileInfo(path).path()).entryInfoList(QDir::Files)) {
    struct stat info {};
    ASSERT_EQ(::stat(file.filePath().toUtf8().constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U) << file.fileName().toStdString();
    ++files;
  }
  EXPECT_EQ(files, 3) << "the store, its log and the index of that";
  struct stat info {};
  ASSERT_EQ(::stat(QFileInfo(path).path().toUtf8().constData(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777U, 0700U);
}

TEST_F(SettingsStoreTest, A_corrupt_store_is_set_aside_and_a_fresh_one_serves) {
  QDir().mkpath(QFileInfo(path).path());
  const QByteArray garbage(5000, 'g');
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(garbage);
  file.close();
  const auto store = Open();
  ASSERT_EQ(errors.mTexts.size(), 1);
  const QString kept = path + QStringLiteral(".damaged-20260309-070503");
  EXPECT_TRUE(errors.mTexts[0].contains(kept));
  QFile keptFile(kept);
  ASSERT_TRUE(keptFile.open(QIODevice::ReadOnly));
  EXPECT_EQ(keptFile.readAll(), garbage);
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("1"));
}

TEST_F(SettingsStoreTest, A_store_that_cannot_be_written_is_read_and_reported) {
  Open()->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  const QByteArray file = path.toUtf8();
  const QByteArray parent = QFileInfo(path).path().toUtf8();
  chmod(file.constData(), 0444);
  chmod(parent.constData(), 0555);
  chmod(folder.path().toUtf8().constData(), 0755);
  const bool root = geteuid() == 0;
  ASSERT_EQ(root ? seteuid(65534) : 0, 0);
  {
    const auto store = Open();
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("100")), QStringLiteral("7"));
    EXPECT_THROW(store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8")), Failure);
  }
  ASSERT_EQ(root ? seteuid(0) : 0, 0);
  struct stat info {};
  ASSERT_EQ(stat(file.constData(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777U, 0444U) << "the user's protection stays";
  chmod(parent.constData(), 0755);
  ASSERT_EQ(errors.mTexts.size(), 1);
  EXPECT_TRUE(errors.mTexts[0].contains(QStringLiteral("cannot be written")));
}

TEST_F(SettingsStoreTest, A_store_that_cannot_be_opened_gives_defaults_and_is_reported_once) {
  // A folder stands where the file should be.
  QDir().mkpath(path);
  const auto store = Open();
  ASSERT_EQ(errors.mTexts.size(), 1);
  EXPECT_TRUE(errors.mTexts[0].contains(QStringLiteral("cannot be opened")));
  EXPECT_EQ(errors.mTexts[0].count(path), 1);
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("100")), QStringLiteral("100"));
  // The run goes on with settings of its own.
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("8"));
  EXPECT_TRUE(QFileInfo(path).isDir());
  EXPECT_FALSE(store->IsTheUsers());
}

TEST_F(SettingsStoreTest, A_file_with_another_table_under_that_name_is_left_alone) {
  QDir().mkpath(QFileInfo(path).path());
  Sql("CREATE TABLE settings (name, number)");
  const auto store = Open();
  ASSERT_EQ(errors.mTexts.size(), 1);
  EXPECT_TRUE(QFile::exists(path));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("d")), QStringLiteral("d"));
}

TEST_F(SettingsStoreTest, Nothing_is_made_before_the_first_use) {
  const SqliteSettingsStore store(path, clock, errors);
  EXPECT_FALSE(QFileInfo::exists(QFileInfo(path).path()));
  EXPECT_TRUE(errors.mTexts.isEmpty());
}

TEST_F(SettingsStoreTest, A_store_that_another_program_only_reads_serves) {
  Open()->SaveSetting(kApp, kSection, kKey, QStringLiteral("7"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN; SELECT count(*) FROM settings", nullptr, nullptr, nullptr),
            SQLITE_OK);
  const auto store = Open();
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, QStringLiteral("100")), QStringLiteral("7"));
  EXPECT_TRUE(store->IsTheUsers());
  sqlite3_close(other);
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("8"));
  EXPECT_EQ(Open()->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("8"));
  EXPECT_TRUE(errors.mTexts.isEmpty());
}

TEST_F(SettingsStoreTest, A_number_as_key_of_an_untyped_table_is_found) {
  QDir().mkpath(QFileInfo(path).path());
  Sql("CREATE TABLE settings (application, section, key, value);"
      "INSERT INTO settings VALUES ('Veltrane', 'Options', 1000, 'Pass Through')");
  const auto store = Open();
  EXPECT_EQ(store->GetSetting(kApp, kSection, QStringLiteral("1000"), {}), QStringLiteral("Pass Through"));
  store->SaveSetting(kApp, kSection, QStringLiteral("1000"), QStringLiteral("FTP"));
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).size(), 1);
}

TEST_F(SettingsStoreTest, Names_are_found_in_any_case_and_of_equal_ones_the_oldest_counts) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, QStringLiteral("Server"), QStringLiteral("first"));
  Sql("INSERT INTO settings VALUES ('Veltrane', 'Options', 'SERVER', 'second')");
  EXPECT_EQ(store->GetSetting(kApp, kSection, QStringLiteral("sErVeR"), {}), QStringLiteral("first"));
  // As the file itself compares names: only letters of ASCII have a case.
  store->SaveSetting(kApp, kSection, QStringLiteral("\u00e4"), QStringLiteral("small"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, QStringLiteral("\u00c4"), QStringLiteral("none")),
            QStringLiteral("none"));
}

TEST_F(SettingsStoreTest, What_another_program_changes_is_seen_at_the_next_read) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  for (int change = 2; change < 6; ++change) {
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QString::number(change - 1));
    // Both soon behind the former change and long behind it.
    clock.mSteady += std::chrono::seconds(change % 2 * 2);
    EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QString::number(change - 1));
    Sql(QStringLiteral("UPDATE settings SET value = '%1'").arg(change).toUtf8().constData());
  }
  EXPECT_EQ(store->GetAllSettings(kApp, kSection).first().second, QStringLiteral("5"));
}

TEST_F(SettingsStoreTest, An_own_change_is_seen_at_once) {
  const auto store = Open();
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("1"));
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("2"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("2"));
  store->DeleteSetting(kApp, kSection, kKey);
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QString());
}

TEST_F(SettingsStoreTest, A_damaged_store_that_cannot_be_moved_stays_and_the_run_has_settings_of_its_own) {
  QDir().mkpath(QFileInfo(path).path());
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(QByteArray(5000, 'g'));
  file.close();
  // A folder stands where it would go.
  QDir().mkpath(path + QStringLiteral(".damaged-20260309-070503/x"));
  const auto store = Open();
  ASSERT_EQ(errors.mTexts.size(), 1);
  EXPECT_TRUE(errors.mTexts[0].contains(QStringLiteral("cannot be set aside")));
  store->SaveSetting(kApp, kSection, kKey, QStringLiteral("1"));
  EXPECT_EQ(store->GetSetting(kApp, kSection, kKey, {}), QStringLiteral("1"));
  EXPECT_EQ(QFileInfo(path).size(), 5000);
}

}  // namespace
}  // namespace veltrane
