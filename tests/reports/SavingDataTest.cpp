// Text files and raw files.
#include <sys/stat.h>
#include <unistd.h>

#include "reports/SavingData.h"
#include "tests/reports/ReportSupport.h"

namespace veltrane {
namespace {

const QString kMessage =
    QStringLiteral("An error occurred attempting to create the data file. The operating system reports: ");

struct SavingDataTest : ReportTest {
  SavingDataTest() {
    form.Load();
    form.optFormat.Select(1);
  }
  QByteArray Text(qsizetype position = 1) { return GetEventAsText(form, *history, position); }
  bool SaveText(const QString& path) { return SaveDataFile(world.mOwn, form, path, *history); }
  bool SaveRaw(const QString& path) { return SaveRawDataFile(world.mOwn, form, path, *history); }
  void CheckAll() {
    for (CheckBox* box :
         {&form.chkIncludeBufferedData, &form.chkIncludeNonDataEvents, &form.chkIncludeDateTimeStamp,
          &form.chkIncludeDataDirection, &form.chkIncludeDescription}) {
      box->SetValue(1);
    }
  }
};

// Texts.

TEST_F(SavingDataTest, Without_options_a_data_event_is_an_empty_line_and_its_rows) {
  Add(9, "Hello, world! 12345");
  ASSERT_TRUE(SaveText(Path(QStringLiteral("a.txt"))));
  EXPECT_EQ(ReadFile(Path(QStringLiteral("a.txt"))),
            "\r\n"
            "Hello, world! 12 : 48656C6C 6F2C2077 6F726C64 21203132 \r\n"
            "345              : 333435.. ........ ........ ........ \r\n");
}

TEST_F(SavingDataTest, Without_options_a_rejection_is_a_lone_line_end) {
  Add(1);
  ASSERT_TRUE(SaveText(Path(QStringLiteral("a.txt"))));
  EXPECT_EQ(ReadFile(Path(QStringLiteral("a.txt"))), "\r\n");
}

TEST_F(SavingDataTest, Which_kinds_are_let_in_goes_by_the_two_boxes) {
  AddAllKinds("x");
  const auto letIn = [&] {
    QList<int> kinds;
    for (int kind = 0; kind < kSocketEventTypes; ++kind)
      if (!Text(kind + 1).isEmpty()) kinds.append(kind);
    return kinds;
  };
  const QList<int> always{1, 9, 11, 13, 14, 15, 16, 17, 18, 21, 22, 23, 24};
  EXPECT_EQ(letIn(), always);
  form.chkIncludeBufferedData.SetValue(1);
  EXPECT_EQ(letIn(), (QList<int>{1, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 21, 22, 23, 24}));
  form.chkIncludeBufferedData.SetValue(0);
  form.chkIncludeNonDataEvents.SetValue(1);
  EXPECT_EQ(letIn(),
            (QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24}));
}

TEST_F(SavingDataTest, The_direction_is_told_for_some_kinds_and_others_have_no_line) {
  AddAllKinds();
  form.chkIncludeBufferedData.SetValue(1);
  form.chkIncludeNonDataEvents.SetValue(1);
  form.chkIncludeDataDirection.SetValue(1);
  const QByteArray fromServer("From: Remote server, To: VLT's internal socket client");
  const QByteArray fromClient("From: Remote client, To: VLT's internal socket server");
  const QByteArray toClient("From: VLT's internal socket server, To: Remote client");
  const QByteArray toServer("From: VLT's internal socket client, To: Remote server");
  QMap<int, QByteArray> directions;
  for (const int kind : {5, 9})
    directions[kind] = fromServer;
  for (const int kind : {7, 16})
    directions[kind] = fromClient;
  for (const int kind : {0, 6, 12, 14, 19})
    directions[kind] = toClient;
  for (const int kind : {2, 3, 4, 10, 17, 20})
    directions[kind] = toServer;
  for (int kind = 0; kind < kSocketEventTypes; ++kind) {
    const QByteArray line = directions.contains(kind) ? directions[kind] + "\r\n" : QByteArray();
    EXPECT_EQ(Text(kind + 1), "\r\n" + line) << kind;
  }
}

TEST_F(SavingDataTest, The_preamble_is_time_direction_and_description_in_this_order) {
  Add(16, "A");
  CheckAll();
  EXPECT_EQ(Text(),
            "\r\n10:00:00.000\r\n"
            "From: Remote client, To: VLT's internal socket server\r\n"
            "Event of kind 16\r\n"
            "A                : 41...... ........ ........ ........ \r\n");
  form.chkIncludeDataDirection.SetValue(0);
  form.chkIncludeDescription.SetValue(0);
  EXPECT_EQ(Text(), "\r\n10:00:00.000\r\nA                : 41...... ........ ........ ........ \r\n");
}

TEST_F(SavingDataTest, The_digits_and_the_bytes_per_row_are_those_of_the_dialog) {
  Add(9, "AB");
  form.txtBytesPerRow.SetText(QStringLiteral("4"));
  const struct {
    int option;
    quint8 code;
    const char* rows;
  } forms[] = {{1, 'h', "AB   : 4142.... \r\n"},
               {2, 'o', "AB   : 101102...... \r\n"},
               {3, 'd', "AB   : 065066...... \r\n"},
               {4, 'b', "AB   : 0100000101000010................ \r\n"}};
  for (const auto& row : forms) {
    form.optDisplayAs.Select(row.option);
    EXPECT_EQ(GetFormatCode(form), row.code);
    EXPECT_EQ(Text(), QByteArray("\r\n") + row.rows);
  }
  form.optDisplayAs.SetValue(4, false);
  EXPECT_EQ(GetFormatCode(form), 0) << "no option is set";
}

TEST_F(SavingDataTest, With_raw_data_chosen_an_event_tells_its_bytes_as_they_are) {
  Add(9, EveryByte());
  form.optDisplayAs.Select(0);
  EXPECT_EQ(Text(), "\r\n" + EveryByte());
  EXPECT_EQ(GetFormatCode(form), 0);
}

TEST_F(SavingDataTest, A_text_file_joins_the_events_and_replaces_what_was_there) {
  Add(1);
  Add(0);
  Add(9, "A");
  const QString path = Path(QStringLiteral("a.txt"));
  PutFile(path, QByteArray(10000, 'x'));
  ASSERT_TRUE(SaveText(path));
  EXPECT_EQ(ReadFile(path), "\r\n\r\nA                : 41...... ........ ........ ........ \r\n");
}

TEST_F(SavingDataTest, A_history_without_events_is_an_empty_file) {
  ASSERT_TRUE(SaveText(Path(QStringLiteral("a.txt"))));
  EXPECT_EQ(ReadFile(Path(QStringLiteral("a.txt"))), "");
}

TEST_F(SavingDataTest, There_is_no_text_of_an_event_that_is_not_there) {
  Add(9, "A");
  EXPECT_THROW(Text(0), Failure);
  EXPECT_THROW(Text(2), Failure);
}

// Raw data.

TEST_F(SavingDataTest, A_raw_file_holds_exactly_the_data_of_its_direction) {
  // Two rounds, so that the order counts; the data of each event is its own.
  for (int round = 0; round < 2; ++round)
    for (int kind = 0; kind < kSocketEventTypes; ++kind)
      Add(kind, EveryByte() + QByteArray::number(round * 100 + kind));
  const QList<int> kinds{16, 17, 9, 14};
  ASSERT_EQ(form.cboDirection.List().size(), kinds.size());
  form.optDisplayAs.Select(0);
  for (int i = 0; i < kinds.size(); ++i) {
    form.cboDirection.SetListIndex(i);
    const QString path = Path(QStringLiteral("raw%1").arg(i));
    ASSERT_TRUE(SaveRaw(path));
    EXPECT_EQ(ReadFile(path),
              EveryByte() + QByteArray::number(kinds[i]) + EveryByte() + QByteArray::number(100 + kinds[i]))
        << i;
  }
}

TEST_F(SavingDataTest, The_raw_file_of_Remote_Server_to_VLT_joins_all_data_of_kind_9) {
  Add(9, "one ");
  Add(14, "not ");
  Add(9, "");
  Add(9, "two");
  form.cboDirection.SetListIndex(2);
  EXPECT_EQ(form.cboDirection.Text(), QStringLiteral("Remote Server to VLT"));
  ASSERT_TRUE(SaveRaw(Path(QStringLiteral("raw"))));
  EXPECT_EQ(ReadFile(Path(QStringLiteral("raw"))), "one two");
}

TEST_F(SavingDataTest, Raw_saving_over_a_longer_file_leaves_its_tail) {
  Add(9, "new");
  form.cboDirection.SetListIndex(2);
  const QString path = Path(QStringLiteral("raw"));
  PutFile(path, "old and longer");
  ASSERT_TRUE(SaveRaw(path));
  EXPECT_EQ(ReadFile(path), "new and longer");
}

TEST_F(SavingDataTest, Without_a_direction_a_raw_file_is_empty) {
  Add(9, "A");
  form.cboDirection.SetListIndex(-1);
  ASSERT_TRUE(SaveRaw(Path(QStringLiteral("raw"))));
  EXPECT_EQ(ReadFile(Path(QStringLiteral("raw"))), "");
}

// Failures.

TEST_F(SavingDataTest, No_room_is_reported_and_no_success) {
  Add(9, "A");
  form.cboDirection.SetListIndex(2);
  EXPECT_FALSE(SaveText(QStringLiteral("/dev/full")));
  EXPECT_EQ(Errors(), QStringList{kMessage + QStringLiteral("61, Disk full")});
  EXPECT_FALSE(SaveRaw(QStringLiteral("/dev/full")));
  EXPECT_EQ(Errors(), QStringList{kMessage + QStringLiteral("61, Disk full")});
}

TEST_F(SavingDataTest, A_folder_in_the_way_is_reported) {
  Add(9, "A");
  EXPECT_FALSE(SaveText(folder.path()));
  EXPECT_EQ(Errors(), QStringList{kMessage + QStringLiteral("70, Permission denied")});
  EXPECT_FALSE(SaveRaw(folder.path()));
  EXPECT_EQ(Errors(), QStringList{kMessage + QStringLiteral("70, Permission denied")});
}

TEST_F(SavingDataTest, A_missing_folder_is_reported) {
  EXPECT_FALSE(SaveText(Path(QStringLiteral("none/a.txt"))));
  EXPECT_EQ(Errors(), QStringList{kMessage + QStringLiteral("76, Path not found")});
}

TEST_F(SavingDataTest, A_missing_permission_is_reported) {
  // The administrator may write everywhere but to what the kernel itself keeps read-only.
  const bool isRoot = ::geteuid() == 0;
  ASSERT_EQ(::chmod(QFile::encodeName(folder.path()).constData(), 0500), 0);
  const QString path = isRoot ? QStringLiteral("/sys/a.txt") : Path(QStringLiteral("a.txt"));
  EXPECT_FALSE(SaveText(path));
  EXPECT_EQ(Errors(), QStringList{kMessage + QStringLiteral("70, Permission denied")});
  ::chmod(QFile::encodeName(folder.path()).constData(), 0700);
}

TEST_F(SavingDataTest, What_was_written_before_a_failure_stays) {
  Add(9, "A");
  Add(9, "B");
  // The second event is of a kind that does not exist: its text cannot be made.
  history->mobjSocketPairEvents.Item(2)->mobjEventType = static_cast<SocketEventType>(99);
  EXPECT_FALSE(SaveText(Path(QStringLiteral("a.txt"))));
  EXPECT_EQ(Errors().size(), 1);
  EXPECT_EQ(ReadFile(Path(QStringLiteral("a.txt"))),
            "\r\nA                : 41...... ........ ........ ........ \r\n");
}

}  // namespace
}  // namespace veltrane
