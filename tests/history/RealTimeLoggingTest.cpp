#include <QDir>
#include <QFile>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

#include "history/frmRealTimeLogging.h"
#include "tests/history/HistoryTest.h"

namespace veltrane {
namespace {

const QByteArray kHeader =
    "\"Start Time\",\"Connection Id\",\"Protocol\",\"Listening Port\",\"Remote Client IP\",\"Remote Client "
    "Name\",\"Remote Client Port\",\"Remote Server IP\",\"Remote Server Name\",\"Remote Server "
    "Port\",\"Event "
    "Type\",\"Description\",\"Err No.\",\"Error String\",\"Data\r\n";

struct FakePanes : StatusPanes {
  void SetPaneText(int pane, const QString& text) override { mTexts[pane] = text; }
  QMap<int, QString> mTexts;
};

/// Lets files grow to that many bytes and no further, as a disk does that is full there.
class SizeLimit {
 public:
  explicit SizeLimit(qint64 bytes) : mSignal(std::signal(SIGXFSZ, SIG_IGN)) {
    ::getrlimit(RLIMIT_FSIZE, &mBefore);
    const rlimit limit{static_cast<rlim_t>(bytes), mBefore.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &mBefore);
    std::signal(SIGXFSZ, mSignal);
  }
  SizeLimit(const SizeLimit&) = delete;
  SizeLimit& operator=(const SizeLimit&) = delete;

 private:
  void (*mSignal)(int);
  rlimit mBefore{};
};

/// How often this process has the file open.
int OpenCount(const QString& path) {
  int count = 0;
  const QDir descriptors(QStringLiteral("/proc/self/fd"));
  for (const QFileInfo& entry :
       descriptors.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
    count += entry.symLinkTarget() == path ? 1 : 0;
  return count;
}

struct RealTimeLoggingTest : LoggingTest {
  RealTimeLoggingTest() {
    logging.SetSurroundings({&world.mMain, &fakes.mRealTimeData, &fakes.mPurge, &fakes.mTray, &form});
    pair = &Connected();
    handler = std::make_shared<ProtocolPassThru>(world.mGeneral);
    handler->mlngWasListeningOnPort = 1000;
    pair->mobjProtocolHandler = handler;
  }
  QString Default() const { return world.mWriteFolder.path() + QStringLiteral("/Log/Log.txt"); }
  static QByteArray Read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
  }
  void SwitchOn() {
    form.Load();
    form.chkLoggingEnabled.SetValue(1);
  }
  QString Option(const char* key) { return world.Get(QStringLiteral("RealTimeLogging"), QLatin1String(key)); }
  static QByteArray Reported(const char* what) {
    return QByteArray(
               "An error occurred while attempting to write the log file.  The operating system reports: ") +
           what;
  }

  FakePanes panes;
  frmRealTimeLogging form{world.mGeneral, panes};
  SocketPair* pair = nullptr;
  ProtocolHandlerRef handler;
};

TEST_F(RealTimeLoggingTest, Fresh_settings_leave_logging_off_and_name_the_file) {
  form.Load();
  EXPECT_EQ(form.chkLoggingEnabled.Value(), 0);
  EXPECT_EQ(form.txtLogFile.Text(), Default());
  EXPECT_EQ(panes.mTexts.value(8), QStringLiteral("Logging: Off "));
  EXPECT_EQ(form.lblLogSize.Caption(), QStringLiteral("0 bytes"));
  EXPECT_TRUE(QDir(world.mWriteFolder.path() + QStringLiteral("/Log")).exists());
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_FALSE(QFile::exists(Default()));
}

TEST_F(RealTimeLoggingTest, Texts_read_as_they_should) {
  EXPECT_EQ(form.chkLoggingEnabled.Caption(),
            QStringLiteral("Enable real time logging of all data and events"));
  EXPECT_EQ(form.cmdView.Caption(), QStringLiteral("View..."));
  EXPECT_EQ(form.cmdDelete.Caption(), QStringLiteral("Delete"));
  EXPECT_EQ(form.cmdClose.Caption(), QStringLiteral("Close"));
}

TEST_F(RealTimeLoggingTest, Each_event_is_a_record_of_15_fields) {
  SwitchOn();
  EXPECT_EQ(panes.mTexts.value(8), QStringLiteral("Logging: ON "));
  server->mRemoteHost = QStringLiteral("client.example");
  logging.ClientBytesReceived(*pair, QByteArray("a\r\n\"b\"\r\n\r\x01\xff,", 12), false);
  const QByteArray record =
      "\"07:05:03.042\",\"KEY1\",\"Pass "
      "Through\",\"1000\",\"10.0.0.1\",\"client.example\",\"4000\",\"10.0.0.9\","
      "\"10.0.0.9\",\"80\",\"9\",\"12 bytes of data has been received from the remote server.\",\"0\",\"\","
      "\"a<13><10><34>b<34><13><10><13>\x01\xff,\"\r\n";
  EXPECT_EQ(Read(Default()), kHeader + record);
  logging.ConnectionAttemptFailed(*pair, false, QStringLiteral("a \"quoted\" word"), 11001);
  EXPECT_TRUE(Read(Default()).endsWith(
      "\"3\",\"The connection request failed - a \"quoted\" word\",\"11001\",\"a \"quoted\" word\",\"\"\r\n"))
      << "only the data is escaped";
}

TEST_F(RealTimeLoggingTest, Escapes) {
  EXPECT_EQ(EscapeForLog("\"\""), "<34><34>");
  EXPECT_EQ(EscapeForLog("\r\n\r"), "<13><10><13>");
  EXPECT_EQ(EscapeForLog("\n\r"), "<10><13>");
  EXPECT_EQ(EscapeForLog(QByteArray("\0<13>\t", 6)), QByteArray("\0<13>\t", 6));
  EXPECT_EQ(EscapeForLog({}), "");
}

TEST_F(RealTimeLoggingTest, Switched_off_and_on_it_appends_without_a_second_header) {
  SwitchOn();
  logging.LocalServerDisconnected(*pair, false);
  form.chkLoggingEnabled.SetValue(0);
  logging.LocalServerDisconnected(*pair, false);
  form.chkLoggingEnabled.SetValue(1);
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_EQ(Read(Default()).count("Start Time"), 1);
  EXPECT_EQ(Read(Default()).count("\r\n"), 3);
}

TEST_F(RealTimeLoggingTest, Another_file_takes_effect_with_the_next_event) {
  SwitchOn();
  logging.LocalServerDisconnected(*pair, false);
  const QString other = world.mWriteFolder.path() + QStringLiteral("/other.txt");
  form.txtLogFile.SetText(other);
  EXPECT_FALSE(QFile::exists(other));
  logging.LocalClientDisconnected(*pair, false);
  EXPECT_TRUE(Read(other).startsWith(kHeader));
  EXPECT_EQ(Read(other).count("\r\n"), 2);
  EXPECT_EQ(Read(Default()).count("\r\n"), 2);
}

TEST_F(RealTimeLoggingTest, A_deleted_file_begins_anew_and_its_size_reads_0) {
  SwitchOn();
  logging.LocalServerDisconnected(*pair, false);
  world.mTimers.Advance(std::chrono::milliseconds(1000));
  EXPECT_EQ(form.lblLogSize.Caption(), QString::number(Read(Default()).size()) + QStringLiteral(" bytes"));
  world.mDesktop.mBoxAnswers = {BoxAnswer::kNo, BoxAnswer::kYes};
  form.cmdDelete.Click();
  EXPECT_TRUE(QFile::exists(Default()));
  form.cmdDelete.Click();
  EXPECT_FALSE(QFile::exists(Default()));
  EXPECT_EQ(world.mDesktop.mBoxes[0].text, QStringLiteral("Are you sure you want to delete this log file?"));
  EXPECT_EQ(world.mDesktop.mBoxes[0].title, QStringLiteral("Veltrane"));
  EXPECT_EQ(world.mDesktop.mBoxes[0].icon, BoxIcon::kQuestion);
  EXPECT_EQ(world.mDesktop.mBoxes[0].buttons, BoxButtons::kYesNo);
  world.mTimers.Advance(std::chrono::milliseconds(1000));
  EXPECT_EQ(form.lblLogSize.Caption(), QStringLiteral("0 bytes"));
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_TRUE(Read(Default()).startsWith(kHeader));
}

TEST_F(RealTimeLoggingTest, A_file_that_somebody_else_deleted_begins_anew) {
  SwitchOn();
  logging.LocalServerDisconnected(*pair, false);
  QFile::remove(Default());
  logging.LocalClientDisconnected(*pair, false);
  EXPECT_TRUE(Read(Default()).startsWith(kHeader));
  EXPECT_EQ(Read(Default()).count("\r\n"), 2);
}

TEST_F(RealTimeLoggingTest, Deleting_what_is_not_there_is_reported) {
  form.Load();
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDelete.Click();
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to delete the log file.  The operating "
                                 "system reports: 53, File not found")});
}

TEST_F(RealTimeLoggingTest, Each_event_that_cannot_be_written_is_reported_and_it_recovers) {
  SwitchOn();
  const QString folder = world.mWriteFolder.path();
  struct Case {
    QString path;
    const char* failure;
  };
  for (const Case& test :
       {Case{folder, "70, Permission denied"},
        Case{folder + QStringLiteral("/gone/Log.txt"), "76, Path not found"},
        Case{QStringLiteral("/dev/full"), "61, Disk full"}, Case{QString(), "76, Path not found"}}) {
    form.txtLogFile.SetText(test.path);
    world.mErrors.mTexts.clear();
    logging.LocalServerDisconnected(*pair, false);
    logging.LocalServerDisconnected(*pair, false);
    const QString report = QString::fromLatin1(Reported(test.failure));
    EXPECT_EQ(world.mErrors.mTexts, (QStringList{report, report})) << test.path.toStdString();
  }
  world.mErrors.mTexts.clear();
  QDir(folder).mkpath(QStringLiteral("gone"));
  form.txtLogFile.SetText(folder + QStringLiteral("/gone/Log.txt"));
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_TRUE(Read(folder + QStringLiteral("/gone/Log.txt")).startsWith(kHeader));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_EQ(History().mobjSocketPairEvents.Count(), 11) << "the history has them all";
}

TEST_F(RealTimeLoggingTest, Settings_are_kept_when_it_unloads) {
  SwitchOn();
  form.txtLogFile.SetText(QStringLiteral("/tmp/x.txt"));
  form.Show();
  // Its frame only hides it.
  EXPECT_FALSE(form.Unload());
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.LoggingEnabled());
  world.mGeneral.gobjListening.reset();
  EXPECT_TRUE(form.Unload());
  EXPECT_EQ(Option("LoggingOn"), QStringLiteral("1"));
  EXPECT_EQ(Option("LogFile"), QStringLiteral("/tmp/x.txt"));
  world.Save(QStringLiteral("RealTimeLogging"), QStringLiteral("LogFile"), Default());
  frmRealTimeLogging next(world.mGeneral, panes);
  panes.mTexts.clear();
  next.Load();
  EXPECT_TRUE(next.LoggingEnabled());
  EXPECT_EQ(panes.mTexts.value(8), QStringLiteral("Logging: ON "));
}

TEST_F(RealTimeLoggingTest, A_setting_of_no_use_is_reported_and_logging_stays_off) {
  for (const char* value : {"maybe", "2"}) {
    world.mErrors.mTexts.clear();
    world.Save(QStringLiteral("RealTimeLogging"), QStringLiteral("LoggingOn"), QLatin1String(value));
    frmRealTimeLogging odd(world.mGeneral, panes);
    odd.Load();
    EXPECT_FALSE(odd.LoggingEnabled());
    EXPECT_EQ(world.mErrors.mTexts.size(), 1);
  }
}

TEST_F(RealTimeLoggingTest, Settings_that_could_not_be_read_are_not_written_over) {
  world.Save(QStringLiteral("RealTimeLogging"), QStringLiteral("LogFile"), QStringLiteral("/tmp/mine.txt"));
  world.mStore.mFailReads = true;
  form.Load();
  EXPECT_EQ(form.txtLogFile.Text(), Default());
  world.mStore.mFailReads = false;
  form.Unload();
  EXPECT_EQ(Option("LogFile"), QStringLiteral("/tmp/mine.txt"));
}

TEST_F(RealTimeLoggingTest, After_the_main_window_went_to_the_tray_its_frame_still_only_hides_it) {
  form.Show();
  world.mGeneral.gblnClosing = true;
  EXPECT_FALSE(form.Unload());
  EXPECT_TRUE(form.IsLoaded());
  form.chkLoggingEnabled.SetValue(1);
  form.Show();
  EXPECT_TRUE(form.LoggingEnabled()) << "not read from the store again";
}

TEST_F(RealTimeLoggingTest, An_event_of_a_pair_that_was_unloaded_is_written_too) {
  SwitchOn();
  pair->mobjProtocolHandler.reset();
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_TRUE(Read(Default()).contains("\"KEY1\",\"\",\"0\",\"10.0.0.1\""));
}

TEST_F(RealTimeLoggingTest, A_link_to_a_file_that_is_not_there_yet_makes_it) {
  SwitchOn();
  const QString target = world.mWriteFolder.path() + QStringLiteral("/target.txt");
  const QString link = world.mWriteFolder.path() + QStringLiteral("/link.txt");
  ASSERT_TRUE(QFile::link(target, link));
  form.txtLogFile.SetText(link);
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_TRUE(Read(target).startsWith(kHeader));
}

TEST_F(RealTimeLoggingTest, A_link_stays_when_its_new_file_could_not_take_the_header) {
  SwitchOn();
  const QString target = world.mWriteFolder.path() + QStringLiteral("/target.txt");
  const QString link = world.mWriteFolder.path() + QStringLiteral("/link.txt");
  ASSERT_TRUE(QFile::link(target, link));
  form.txtLogFile.SetText(link);
  {
    const SizeLimit limit(10);
    logging.LocalServerDisconnected(*pair, false);
  }
  EXPECT_FALSE(QFile::exists(target));
  EXPECT_TRUE(QFileInfo(link).isSymLink());
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_TRUE(Read(target).startsWith(kHeader));
}

TEST_F(RealTimeLoggingTest, The_file_has_the_rights_that_its_users_mask_leaves) {
  SwitchOn();
  for (const mode_t mask : {0U, 002U, 022U, 077U}) {
    QFile::remove(Default());
    const mode_t usual = ::umask(mask);
    logging.LocalServerDisconnected(*pair, false);
    ::umask(usual);
    struct stat info {};
    ASSERT_EQ(::stat(QFile::encodeName(Default()).constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0666U & ~mask);
  }
}

TEST_F(RealTimeLoggingTest, A_line_that_the_disk_takes_only_in_part_is_taken_back) {
  SwitchOn();
  logging.LocalServerDisconnected(*pair, false);
  const QByteArray before = Read(Default());
  {
    const SizeLimit limit(before.size() + 20);
    logging.LocalServerDisconnected(*pair, false);
  }
  EXPECT_EQ(Read(Default()), before);
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QString::fromLatin1(Reported("27, File too large"))});
  logging.LocalClientDisconnected(*pair, false);
  EXPECT_EQ(Read(Default()).count("\r\n"), 3) << "the next event is a line of its own";
}

TEST_F(RealTimeLoggingTest, A_new_file_that_could_not_take_its_header_is_not_left_behind) {
  SwitchOn();
  {
    const SizeLimit limit(10);
    logging.LocalServerDisconnected(*pair, false);
  }
  EXPECT_FALSE(QFile::exists(Default()));
  EXPECT_EQ(world.mErrors.mTexts, QStringList{QString::fromLatin1(Reported("27, File too large"))});
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_TRUE(Read(Default()).startsWith(kHeader));
}

TEST_F(RealTimeLoggingTest, An_empty_file_that_is_there_gets_no_header) {
  SwitchOn();
  QFile file(Default());
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_EQ(Read(Default()).count("\r\n"), 1);
  EXPECT_EQ(Read(Default()).count("Start Time"), 0);
}

TEST_F(RealTimeLoggingTest, The_file_is_open_from_the_first_write_until_logging_ends) {
  SwitchOn();
  EXPECT_EQ(OpenCount(Default()), 0);
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_EQ(OpenCount(Default()), 1);
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_EQ(OpenCount(Default()), 1);
  form.chkLoggingEnabled.SetValue(0);
  EXPECT_EQ(OpenCount(Default()), 0);
  form.chkLoggingEnabled.SetValue(1);
  logging.LocalServerDisconnected(*pair, false);
  EXPECT_EQ(OpenCount(Default()), 1);
  form.Unload();
  EXPECT_EQ(OpenCount(Default()), 0);
}

TEST_F(RealTimeLoggingTest, The_file_is_chosen_in_a_file_box) {
  form.Load();
  world.mDesktop.mFileAnswers = {std::nullopt, QStringLiteral("/tmp/chosen.txt")};
  form.cmdOpen.Click();
  EXPECT_EQ(form.txtLogFile.Text(), Default()) << "cancelled";
  form.cmdOpen.Click();
  EXPECT_EQ(form.txtLogFile.Text(), QStringLiteral("/tmp/chosen.txt"));
  EXPECT_EQ(world.mDesktop.mFileBoxes[0].title, QStringLiteral("Log File"));
  EXPECT_EQ(world.mDesktop.mFileBoxes[0].filter, QStringLiteral("*.*"));
  EXPECT_EQ(world.mDesktop.mFileBoxes[0].path, Default());
  EXPECT_TRUE(world.mDesktop.mFileBoxes[0].folderMustExist);
}

TEST_F(RealTimeLoggingTest, Viewing_opens_the_file_and_closing_hides_the_dialog) {
  form.Show();
  Take();
  form.cmdView.Click();
  EXPECT_EQ(Take(), QStringList{QStringLiteral("open ") + Default()});
  world.mDesktop.mFailOpen = true;
  form.cmdView.Click();
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral("An error occurred while attempting to view the log file.  The operating "
                                 "system reports: 53, File not found")});
  form.cmdClose.Click();
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
}

}  // namespace
}  // namespace veltrane
