// What was recorded of real connections, saved through the dialog: the files hold what went over the wire.
#include "tests/reports/RecordedWorld.h"
#include "tests/reports/ReportSupport.h"

namespace veltrane {
namespace {

using std::chrono::milliseconds;

struct RecordedTest : testing::Test {
  QByteArray SaveRaw(int direction) {
    frmSaveHistory& form = world.OpenDialog();
    form.optFormat.Select(1);
    form.optDisplayAs.Select(0);
    form.cboDirection.SetListIndex(direction);
    const QString path = folder.filePath(QStringLiteral("raw%1").arg(direction));
    form.txtFile.SetText(path);
    form.cmdSave.Click();
    EXPECT_FALSE(form.IsLoaded());
    return ReadFile(path);
  }
  /// Megabytes that no relay can guess.
  static QByteArray Noise(int size) {
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 12345;
    for (char& byte : bytes) {
      state = state * 1664525u + 1013904223u;
      byte = static_cast<char>(state >> 24);
    }
    return bytes;
  }

  RecordedWorld world;
  QTemporaryDir folder{QDir::tempPath() + QStringLiteral("/recorded-XXXXXX")};
};

TEST_F(RecordedTest, A_download_saved_raw_is_what_went_over_the_wire) {
  const QByteArray request = "GET /noise HTTP/1.0\r\n\r\n" + EveryByte();
  const QByteArray reply = "HTTP/1.0 200 OK\r\n\r\n" + Noise(3'000'000);
  ASSERT_TRUE(world.Connect());
  ASSERT_TRUE(world.Send(*world.mClient, *world.mServerEnd, request));
  ASSERT_TRUE(world.Send(*world.mServerEnd, *world.mClient, reply));
  ASSERT_TRUE(world.Close());
  EXPECT_TRUE(SaveRaw(0) == request);
  EXPECT_TRUE(SaveRaw(1) == request);
  EXPECT_TRUE(SaveRaw(2) == reply);
  EXPECT_TRUE(SaveRaw(3) == reply);
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(RecordedTest, A_dangled_connection_saved_raw_holds_what_was_held_and_then_sent) {
  world.mForm.txtDangleStopTime.SetText(QStringLiteral("1000"));
  ASSERT_TRUE(world.Connect());
  ASSERT_TRUE(world.Send(*world.mClient, *world.mServerEnd, "before "));
  world.mForm.cmdDangleAll.Click();
  world.mClient->Send("while ");
  world.mNet.Settle();
  EXPECT_EQ(world.mServerEnd->Received(), "before ");
  world.mTimers.Advance(milliseconds(1000));
  ASSERT_TRUE(world.mNet.Pump([&] { return world.mServerEnd->Received() == "before while "; }));
  ASSERT_TRUE(world.Send(*world.mServerEnd, *world.mClient, "answer"));
  ASSERT_TRUE(world.Close());
  EXPECT_EQ(SaveRaw(0), "before while ");
  EXPECT_EQ(SaveRaw(1), "before while ");
  EXPECT_EQ(SaveRaw(2), "answer");
  EXPECT_EQ(SaveRaw(3), "answer");
}

TEST_F(RecordedTest, A_throttled_connection_saved_raw_has_only_what_was_sent_in_one_piece) {
  world.mForm.chkThrottleC2SData.SetValue(1);
  world.mForm.txtC2SBytes.SetText(QStringLiteral("4"));
  world.mForm.txtC2SPeriod.SetText(QStringLiteral("100"));
  ASSERT_TRUE(world.Connect());
  world.mClient->Send("throttled");
  world.mNet.Settle();
  for (int i = 0; i < 5; ++i) {
    world.mTimers.Advance(milliseconds(100));
    world.mNet.Settle();
  }
  EXPECT_EQ(world.mServerEnd->Received(), "throttled");
  EXPECT_EQ(SaveRaw(0), "throttled");
  EXPECT_EQ(SaveRaw(1), "") << "throttled sends are of another kind";
}

TEST_F(RecordedTest, The_text_of_a_connection_reads_back_to_its_bytes_in_each_of_the_four_digit_forms) {
  const QByteArray reply = EveryByte() + "tail";
  ASSERT_TRUE(world.Connect());
  ASSERT_TRUE(world.Send(*world.mServerEnd, *world.mClient, reply));
  ASSERT_TRUE(world.Close());
  const struct {
    int option;
    int base;
    int digits;
  } rows[] = {{1, 16, 2}, {2, 8, 3}, {3, 10, 3}, {4, 2, 8}};
  for (const auto& row : rows) {
    frmSaveHistory& form = world.OpenDialog();
    form.optFormat.Select(1);
    form.optDisplayAs.Select(row.option);
    form.txtFile.SetText(folder.filePath(QStringLiteral("text")));
    form.cmdSave.Click();
    QByteArray back;
    for (const QByteArray& line : ReadFile(folder.filePath(QStringLiteral("text"))).split('\n')) {
      // 16 characters, " : ", and then the digits.
      QByteArray digits = line.mid(19).replace(' ', "").replace('\r', "");
      for (; !digits.isEmpty() && digits[0] != '.'; digits.remove(0, row.digits))
        back.append(static_cast<char>(digits.left(row.digits).toInt(nullptr, row.base)));
    }
    // What came from the server, and what was sent on to the client.
    EXPECT_EQ(back, reply + reply) << row.base;
  }
}

TEST_F(RecordedTest, A_report_has_a_page_for_each_event_and_shows_each_in_the_ladder) {
  ASSERT_TRUE(world.Connect());
  ASSERT_TRUE(world.Send(*world.mClient, *world.mServerEnd, "<b>question</b>"));
  ASSERT_TRUE(world.Close());
  const auto events = world.History().mobjSocketPairEvents.Count();
  frmSaveHistory& form = world.OpenDialog();
  form.txtFile.SetText(folder.filePath(QStringLiteral("Report.htm")));
  form.cmdSave.Click();
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
  const QByteArray page = ReadFile(folder.filePath(QStringLiteral("Report.htm")));
  for (qsizetype i = 1; i <= events; ++i) {
    const QString name = QStringLiteral("Report/Event%1.htm").arg(i);
    EXPECT_TRUE(ReadFile(folder.filePath(name)).startsWith("<html>"));
    EXPECT_TRUE(page.contains(name.toLatin1())) << i;
  }
  EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("Report/Event%1.htm").arg(events + 1))));
}

// docs/reliability.md counts on it: nobody outside can put words there.
TEST_F(RecordedTest, A_client_has_no_name) {
  ASSERT_TRUE(world.Connect());
  ASSERT_TRUE(world.Close());
  EXPECT_EQ(world.History().mstrRemoteClientName, QString());
  frmSaveHistory& form = world.OpenDialog();
  form.txtFile.SetText(folder.filePath(QStringLiteral("Report.htm")));
  form.cmdSave.Click();
  EXPECT_TRUE(ReadFile(folder.filePath(QStringLiteral("Report/Event1.htm")))
                  .contains("<td>Remote Client Name</td><td></td>"));
}

}  // namespace
}  // namespace veltrane
