// What a client or server can choose of the words that are shown and logged: no byte of it ends a line, goes
// backwards, or fills a window.
#include <QFile>

#include <gtest/gtest.h>

#include "history/HistoryText.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "protocols/Routing.h"
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

/// The real recorder and log file, and one port.
struct HarmlessWorld : NetHolder, World {
  static constexpr qint32 kPort = 2000;

  explicit HarmlessWorld(const char* protocol) : World(&mNet) {
    mLogging.SetSurroundings({&mMain, &mFakes.mRealTimeData, &mFakes.mPurge, &mFakes.mTray, &mLogFile});
    // All of it is looked at in the end.
    mFakes.mPurge.mDiscard = false;
    mGeneral.gobjLogging = &mLogging;
    mGeneral.gblnRecordEvents = true;
    AddNode(kPort, QStringLiteral("Test")).SetExpanded(true);
    mMain.tvwSockets.SetSelectedItem(mMain.tvwSockets.Find(QStringLiteral("ROOT")));
    AddPort(kPort, QLatin1String(protocol), QStringLiteral("Test"));
    mLogFile.Load();
    mLogFile.chkLoggingEnabled.SetValue(1);
    StartListening();
  }
  ~HarmlessWorld() { mGeneral.gobjListening->DeInitaliseListeningSockets(); }
  HarmlessWorld(const HarmlessWorld&) = delete;
  HarmlessWorld& operator=(const HarmlessWorld&) = delete;

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
  void ExpectHarmlessLog(qsizetype events) const {
    QFile file(mLogFile.txtLogFile.Text());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    // The heading, a line for each event, and nothing behind the last line's end.
    EXPECT_EQ(lines.size(), events + 2);
    for (const QByteArray& line : lines.mid(1, events))
      EXPECT_TRUE(line.startsWith('"') && line.endsWith("\"\r") && line.count('\r') == 1)
          << line.left(300).constData();
  }
  static void ExpectHarmlessNodes(const TreeNode& node) {
    ExpectHarmless(node.Text());
    for (qsizetype i = 0; i < node.ChildCount(); ++i)
      ExpectHarmlessNodes(node.Child(i));
  }

  /// Gives the number of events.
  qsizetype ExpectAllHarmless() {
    const qsizetype events = ExpectHarmlessEvents();
    ExpectHarmlessNodes(mMain.tvwSockets.Node(QStringLiteral("ROOT")));
    ExpectHarmlessLog(events);
    return events;
  }

  HistoryFakes mFakes{mJournal};
  Logging mLogging{mGeneral};
  FakeStatusPanes mPanes;
  frmRealTimeLogging mLogFile{mGeneral, mPanes};
};

struct HarmlessTest : testing::TestWithParam<Asker>, HarmlessWorld {
  HarmlessTest() : HarmlessWorld(GetParam().protocol) {}

  void AskFor(const QByteArray& host) {
    const auto client = mNet.ConnectTo(kPort);
    mNet.Settle();
    client->Send(GetParam().before + host + GetParam().behind);
    mNet.Settle();
  }
};

INSTANTIATE_TEST_SUITE_P(All, HarmlessTest, testing::ValuesIn(kAskers),
                         [](const auto& row) { return std::string(row.param.protocol); });

TEST_P(HarmlessTest, No_host_that_a_client_asks_for_breaks_a_view_or_a_line_of_the_log) {
  for (int code = 0; code < 256; ++code)
    AskFor("a" + QByteArray(1, static_cast<char>(code)) + "b");
  AskFor("a\r\n\"00:00:00.000\",\"KEY1\",\"forged\"");
  AskFor(QByteArray(1'000'000, 'x'));
  EXPECT_GT(ExpectAllHarmless(), 258 * 3);
}

/// The host of a data connection is four pieces of a line that the client says, or the server.
struct HarmlessDataTest : testing::TestWithParam<bool>, HarmlessWorld {
  HarmlessDataTest() : HarmlessWorld("FTP") {
    const auto listener = mNet.Listen();
    mClient = mNet.ConnectTo(kPort);
    mNet.Settle();
    mClient->Send("USER a@127.0.0.1:" + QByteArray::number(listener->Port()) + "\r\n");
    mNet.Settle();
    mServer = listener->Accept();
    mServer->Send("220 here\r\n");
    mNet.Settle();
  }

  /// Connects to the data port, where the line has opened one; false where not.
  bool AskFor(const QByteArray& piece) {
    const QByteArray address = piece + ",2,3,4,1,2";
    if (GetParam()) {
      mServer->Send("227 Entering Passive Mode (" + address + ")\r\n");
    } else {
      mClient->Send("PORT " + address + "\r\n");
    }
    mNet.Settle();
    // The script's chance draws the same port each time.
    Socket** const listener =
        mGeneral.gobjListening->mcolListeningSocket.Find(ListeningSocketKey(DataPort(0.5F)));
    if (!listener || (*listener)->State() != SocketState::kListening) return false;
    const auto client = mNet.ConnectTo(DataPort(0.5F));
    mNet.Settle();
    return true;
  }

  std::unique_ptr<Peer> mClient;
  std::unique_ptr<Peer> mServer;
};

INSTANTIATE_TEST_SUITE_P(All, HarmlessDataTest, testing::Values(false, true),
                         [](const auto& row) { return row.param ? "Passive" : "Active"; });

TEST_P(HarmlessDataTest, No_host_of_a_data_connection_breaks_a_view_or_a_line_of_the_log) {
  for (int code = 0; code < 256; ++code) {
    // The bracket ends the address before it is whole.
    const bool isAddress = !GetParam() || code != ')';
    EXPECT_EQ(AskFor("a" + QByteArray(1, static_cast<char>(code)) + "b"), isAddress) << code;
  }
  EXPECT_TRUE(AskFor("a\r\n\"00:00:00.000\",\"KEY1\",\"forged\""));
  EXPECT_TRUE(AskFor(QByteArray(1'000'000, 'x')));
  EXPECT_GE(mLogging.mobjSocketPairHistory.Count(), 1 + 257);
  EXPECT_GT(ExpectAllHarmless(), 257 * 3);
}

}  // namespace
}  // namespace veltrane
