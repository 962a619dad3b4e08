// Files at the limits of the process: what the system takes in part, and what it does not give.
#include <csignal>
#include <sys/resource.h>
#include <unistd.h>

#include "reports/OutputFile.h"
#include "reports/SavingData.h"
#include "reports/SavingHTML.h"
#include "tests/reports/ReportSupport.h"

namespace veltrane {
namespace {

/// A limit of the process while it lives.
struct Limit {
  using Resource = __rlimit_resource;
  Limit(Resource resource, rlim_t value) : mResource(resource) {
    getrlimit(resource, &mBefore);
    rlimit now = mBefore;
    now.rlim_cur = value;
    setrlimit(resource, &now);
  }
  ~Limit() { setrlimit(mResource, &mBefore); }
  Resource mResource;
  rlimit mBefore{};
};

/// No file grows beyond so many bytes: a write across takes part of the bytes, and the next one none.
struct FileSizeLimit {
  static constexpr qint64 kBytes = 100 * 1024;
  void (*mBefore)(int) = std::signal(SIGXFSZ, SIG_IGN);
  Limit mLimit{RLIMIT_FSIZE, kBytes};
  ~FileSizeLimit() { std::signal(SIGXFSZ, mBefore); }
};

struct OutputFileTest : ReportTest {
  OutputFileTest() {
    form.Load();
    form.optFormat.Select(1);
    form.cboDirection.SetListIndex(2);
    Add(9, QByteArray(1'000'000, 'x'));
  }
  /// Saves 1 MB with too little room for it, and gives what was reported.
  template <class Save>
  QStringList SaveTooMuch(Save&& save) {
    const FileSizeLimit limit;
    EXPECT_FALSE(save());
    return Errors();
  }
  qint64 SizeOf(const char* name) { return QFileInfo(Path(QLatin1String(name))).size(); }
};

const QString kDataFailure =
    QStringLiteral("An error occurred attempting to create the data file. The operating system reports: ");
const QString kPageFailure =
    QStringLiteral("An error occurred attempting to create the HTML file. The operating system reports: ");
const QString kTooLarge = QStringLiteral("27, File too large");

/// What the failure of a copy tells; empty when it succeeds.
QString CopyFailure(const QString& from, const QString& to) {
  try {
    CopyFile(from, to);
  } catch (const Failure& failure) {
    return QString::number(failure.Number()) + QStringLiteral(", ") + failure.Text();
  }
  return {};
}

TEST_F(OutputFileTest, A_copy_replaces_the_file_byte_by_byte) {
  for (const int size : {0, 1, 65536, 65537, 300'000}) {
    const QByteArray bytes = EveryByte().repeated(size / 256 + 1).left(size);
    PutFile(Path(QStringLiteral("from")), bytes);
    EXPECT_EQ(CopyFailure(Path(QStringLiteral("from")), Path(QStringLiteral("to"))), QString());
    EXPECT_TRUE(ReadFile(Path(QStringLiteral("to"))) == bytes) << size;
  }
}

TEST_F(OutputFileTest, A_copy_tells_why_its_source_cannot_be_opened_and_leaves_the_target) {
  PutFile(Path(QStringLiteral("from")), "new");
  PutFile(Path(QStringLiteral("to")), "old");
  const int free = ::dup(0);
  ::close(free);
  QString failure;
  {
    // All descriptors below the limit are in use.
    const Limit limit(RLIMIT_NOFILE, static_cast<rlim_t>(free));
    failure = CopyFailure(Path(QStringLiteral("from")), Path(QStringLiteral("to")));
  }
  EXPECT_EQ(failure, QStringLiteral("24, Too many open files"));
  EXPECT_EQ(ReadFile(Path(QStringLiteral("to"))), "old");
  EXPECT_EQ(CopyFailure(Path(QStringLiteral("none")), Path(QStringLiteral("to"))),
            QStringLiteral("76, Path not found"));
}

TEST_F(OutputFileTest, A_copy_of_a_file_to_itself_through_a_link_leaves_it) {
  const QString from = Path(QStringLiteral("from"));
  PutFile(from, "picture");
  const QByteArray source = QFile::encodeName(from);
  ASSERT_EQ(::symlink(source.constData(), QFile::encodeName(Path(QStringLiteral("soft"))).constData()), 0);
  ASSERT_EQ(::link(source.constData(), QFile::encodeName(Path(QStringLiteral("hard"))).constData()), 0);
  for (const char* name : {"soft", "hard", "from"}) {
    EXPECT_EQ(CopyFailure(from, Path(QLatin1String(name))), QString()) << name;
    EXPECT_EQ(ReadFile(from), "picture") << name;
  }
  // A link to another file is replaced as a file is: what it leads to gets the bytes.
  PutFile(Path(QStringLiteral("other")), "old");
  ASSERT_EQ(::symlink("other", QFile::encodeName(Path(QStringLiteral("link"))).constData()), 0);
  EXPECT_EQ(CopyFailure(from, Path(QStringLiteral("link"))), QString());
  EXPECT_EQ(ReadFile(Path(QStringLiteral("other"))), "picture");
}

TEST_F(OutputFileTest, A_report_beside_a_linked_folder_of_pictures_leaves_the_pictures) {
  QDir(world.mProgramFolder.path()).mkdir(QStringLiteral("Images"));
  const QString images = world.mProgramFolder.filePath(QStringLiteral("Images"));
  PutFile(images + QStringLiteral("/One.gif"), "picture");
  ASSERT_EQ(::symlink(QFile::encodeName(images).constData(),
                      QFile::encodeName(Path(QStringLiteral("Images"))).constData()),
            0);
  EXPECT_TRUE(SaveHTMLFile(world.mOwn, form, Path(QStringLiteral("Report.htm")), *history));
  EXPECT_EQ(Errors(), QStringList());
  EXPECT_EQ(ReadFile(images + QStringLiteral("/One.gif")), "picture");
}

// The first page of a process's memory opens like a file and cannot be read.
TEST_F(OutputFileTest, A_picture_that_cannot_be_read_is_reported) {
  QDir(world.mProgramFolder.path()).mkdir(QStringLiteral("Images"));
  const QString picture = world.mProgramFolder.filePath(QStringLiteral("Images/One.gif"));
  ASSERT_EQ(::symlink("/proc/self/mem", QFile::encodeName(picture).constData()), 0);
  EXPECT_FALSE(SaveHTMLFile(world.mOwn, form, Path(QStringLiteral("Report.htm")), *history));
  EXPECT_EQ(
      Errors(),
      QStringList{QStringLiteral("An error occurred while attempting to copy the Images subdirectory to '") +
                  folder.path() + QStringLiteral("'.  The operating system reports: 5, Input/output error")});
  EXPECT_TRUE(ReadFile(Path(QStringLiteral("Report.htm"))).startsWith("<html>"));
}

TEST_F(OutputFileTest, A_text_that_is_taken_in_part_is_reported_once_and_the_part_stays) {
  const QString path = Path(QStringLiteral("text"));
  EXPECT_EQ(SaveTooMuch([&] { return SaveDataFile(world.mOwn, form, path, *history); }),
            QStringList{kDataFailure + kTooLarge});
  EXPECT_EQ(SizeOf("text"), FileSizeLimit::kBytes);
  EXPECT_TRUE(ReadFile(path).startsWith("\r\nxxxxxxxxxxxxxxxx : 78787878"));
}

TEST_F(OutputFileTest, Raw_data_that_is_taken_in_part_is_reported_once_and_the_part_stays) {
  const QString path = Path(QStringLiteral("raw"));
  EXPECT_EQ(SaveTooMuch([&] { return SaveRawDataFile(world.mOwn, form, path, *history); }),
            QStringList{kDataFailure + kTooLarge});
  EXPECT_TRUE(ReadFile(path) == QByteArray(FileSizeLimit::kBytes, 'x'));
}

TEST_F(OutputFileTest, An_events_page_that_is_taken_in_part_is_reported_once_and_the_part_stays) {
  const QString path = Path(QStringLiteral("Report.htm"));
  Add(9, "another");
  EXPECT_EQ(SaveTooMuch([&] { return SaveHTMLFile(world.mOwn, form, path, *history); }),
            QStringList{kPageFailure + kTooLarge});
  EXPECT_EQ(SizeOf("Report/Event1.htm"), FileSizeLimit::kBytes);
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("Report/Event2.htm"))));
  EXPECT_FALSE(QFile::exists(path));
}

}  // namespace
}  // namespace veltrane
