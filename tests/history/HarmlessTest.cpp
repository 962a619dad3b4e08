// What a client or server can choose of the words that are shown and logged: no byte of it ends a line, goes
// backwards, or fills a window.
#include <QFile>

#include <gtest/gtest.h>

#include "history/HistoryText.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "tests/support/FakeNet.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

TEST(ShownName, What_cannot_be_printed_is_a_dot) {
  EXPECT_EQ(ShownName(QStringLiteral("www.example.org")), QStringLiteral("www.example.org"));
  EXPECT_EQ(ShownName(QStringLiteral("b\u00fccher.example")), QStringLiteral("b\u00fccher.example"));
  EXPECT_EQ(ShownName(QString()), QString());
  for (int code = 0; code < 256; ++code) {
    const bool printable = (code >= 0x20 && code < 0x7F) || (code >= 0xA0 && code != 0xAD);
    const QChar character(static_cast<ushort>(code));
    EXPECT_EQ(ShownName(QString(character)), printable ? QString(character) : QStringLiteral(".")) << code;
  }
  // None of these can come from the wire, whose bytes are characters below 256; a name might come from
  // elsewhere.
  for (const char16_t code : std::u16string(u"\u200E\u200F\u2028\u2029\u202A\u202E\u2066\u2069\uFEFF"))
    EXPECT_EQ(ShownName(QString(QChar(code))), QStringLiteral(".")) << static_cast<int>(code);
}

TEST(ShownName, No_name_is_longer_than_a_name_can_be) {
  EXPECT_EQ(ShownName(QString(253, u'x')), QString(253, u'x'));
  EXPECT_EQ(ShownName(QString(254, u'x')), QString(253, u'x') + QStringLiteral("..."));
}

struct Asker {
  const char* protocol;
  const char* before;
  const char* behind;
};

constexpr Asker kAskers[] = {
    {"HTTP", "GET http://", "/ HTTP/1.0\r\n\r\n"},
    {"HTTPS", "CONNECT ", ":443 HTTP/1.0\r\n\r\n"},
    {"POP3", "USER name#", "\r\n"},
    {"FTP", "USER name@", "\r\n"},
};

struct NetHolder {
  FakeNet mNet{4 * 1024 * 1024};
};

struct HarmlessTest : testing::TestWithParam<Asker>, NetHolder, World {
  static constexpr qint32 kPort = 2000;

  HarmlessTest() : World(&mNet) {
    mLogging.SetSurroundings({&mMain, &mFakes.mRealTimeData, &mFakes.mPurge, &mFakes.mTray, &mLogFile});
    mGeneral.gobjLogging = &mLogging;
    mGeneral.gblnRecordEvents = true;
    AddNode(kPort, QStringLiteral("Test")).SetExpanded(true);
    mMain.tvwSockets.SetSelectedItem(mMain.tvwSockets.Find(QStringLiteral("ROOT")));
    AddPort(kPort, QLatin1String(GetParam().protocol), QStringLiteral("Test"));
    mLogFile.Load();
    mLogFile.chkLoggingEnabled.SetValue(1);
    StartListening();
  }
  ~HarmlessTest() override { mGeneral.gobjListening->DeInitaliseListeningSockets(); }

  void AskFor(const QByteArray& host) {
    const auto client = mNet.ConnectTo(kPort);
    mNet.Settle();
    client->Send(GetParam().before + host + GetParam().behind);
    mNet.Settle();
  }
  static void ExpectHarmless(const QString& text) {
    EXPECT_LT(text.size(), 400);
    for (const QChar character : text)
      EXPECT_TRUE(character.isPrint()) << static_cast<int>(character.unicode());
  }
  qsizetype ExpectHarmlessEvents() {
    qsizetype events = 0;
    for (qsizetype i = 1; i <= mLogging.mobjSocketPairHistory.Count(); ++i) {
      const SocketPairHistory& history = *mLogging.mobjSocketPairHistory.Item(i);
      ExpectHarmless(history.mstrRemoteServerName + history.mstrRemoteServerIP + history.mstrErrorString);
      for (qsizetype at = 1; at <= history.mobjSocketPairEvents.Count(); ++at, ++events)
        ExpectHarmless(history.mobjSocketPairEvents.Item(at)->mstrDescription);
    }
    return events;
  }
  static void ExpectHarmlessNodes(const TreeNode& node) {
    ExpectHarmless(node.Text());
    for (qsizetype i = 0; i < node.ChildCount(); ++i)
      ExpectHarmlessNodes(node.Child(i));
  }

  HistoryFakes mFakes{mJournal};
  Logging mLogging{mGeneral};
  FakeStatusPanes mPanes;
  frmRealTimeLogging mLogFile{mGeneral, mPanes};
};

INSTANTIATE_TEST_SUITE_P(All, HarmlessTest, testing::ValuesIn(kAskers),
                         [](const auto& row) { return std::string(row.param.protocol); });

TEST_P(HarmlessTest, No_host_that_a_client_asks_for_breaks_a_view_or_a_line_of_the_log) {
  for (int code = 0; code < 256; ++code)
    AskFor("a" + QByteArray(1, static_cast<char>(code)) + "b");
  AskFor("a\r\n\"00:00:00.000\",\"KEY1\",\"forged\"");
  AskFor(QByteArray(1'000'000, 'x'));
  const qsizetype events = ExpectHarmlessEvents();
  EXPECT_GT(events, 258 * 3);
  ExpectHarmlessNodes(mMain.tvwSockets.Node(QStringLiteral("ROOT")));
  QFile file(mLogFile.txtLogFile.Text());
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QList<QByteArray> lines = file.readAll().split('\n');
  // The heading, a line for each event, and nothing behind the last line's end.
  EXPECT_EQ(lines.size(), events + 2);
  for (const QByteArray& line : lines.mid(1, events))
    EXPECT_TRUE(line.startsWith('"') && line.endsWith("\"\r") && line.count('\r') == 1)
        << line.left(300).constData();
}

}  // namespace
}  // namespace veltrane
