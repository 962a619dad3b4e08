// The save dialog where the user meets it: over the main window, by its menu, with a recorder at work.
#include <QApplication>
#include <QFile>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <gtest/gtest.h>

#include "engine/Listening.h"
#include "history/Logging.h"
#include "protocols/ProtocolPassThru.h"
#include "reports/frmSaveHistory.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmError.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

struct SaveFromMainWindowTest : testing::Test {
  SaveFromMainWindowTest() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    general.frmMain = &window;
    general.gobjLogging = &logging;
    general.frmProblemSimulation = &world.mSchedule;
    general.gblnRecordEvents = true;
    window.SetSurroundings({.frmRealTimeData = &realTimeData, .frmSaveHistory = &save});
    logging.SetSurroundings(around.Around(window));
    general.gobjListening = std::make_shared<Listening>(general);
    general.gobjListening->InitaliseListeningSockets();
    window.Show();
  }
  ~SaveFromMainWindowTest() override { general.gobjListening->DeInitaliseListeningSockets(); }

  SocketPair& Accepted(const QString& key) {
    auto pair = std::make_shared<SocketPair>(general);
    pair->SetSocketPairKey(key);
    general.gobjListening->mobjSocketPairs.Add(pair, key);
    StubSocket* server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
    server->mRemoteHostIP = QStringLiteral("10.0.0.1");
    server->mRemotePort = 4000;
    server->mLocalPort = 1000;
    logging.LocalServerAcceptedConnection(*pair, true, 1000);
    return *pair;
  }
  /// A connection that stands, and what came from its server.
  void Record(const QString& key, const QByteArray& data) {
    SocketPair& pair = Accepted(key);
    StubSocket* client = world.mSockets.mSockets.last();
    client->mRemoteHostIP = client->mRemoteHost = QStringLiteral("10.0.0.2");
    client->mRemotePort = 80;
    logging.ConnectionAttemptSuccessful(pair, false, QString());
    logging.ClientBytesReceived(pair, data, false);
  }
  void Select(std::initializer_list<const char*> keys) {
    for (const char* key : keys)
      window.tvwSockets_NodeClick(window.tvwSockets.Node(QLatin1String(key)));
  }
  QByteArray SaveRaw() {
    const QString path = world.mWriteFolder.filePath(QStringLiteral("raw"));
    save.optFormat.Select(1);
    save.optDisplayAs.Select(0);
    save.cboDirection.SetListIndex(2);
    save.txtFile.SetText(path);
    save.cmdSave.Click();
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
  }

  World world;
  WidgetDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, QStringLiteral("/opt/veltrane"), world.mWriteFolder.path()},
                  AllProtocols()};
  HistoryFakes around{world.mJournal};
  Logging logging{general};
  Form realTimeData{desktop, QStringLiteral("frmRealTimeData")};
  frmMain window{general, logging};
  frmSaveHistory save{general, logging, window};
};

TEST_F(SaveFromMainWindowTest, The_dialog_takes_the_main_windows_input_and_the_click_returns_at_once) {
  Record(QStringLiteral("KEY1"), "one");
  Select({"PROTO1000", "CON100010.0.0.110.0.0.2", "KEY1"});
  // Were the dialog waited for, this would end it.
  QTimer::singleShot(0, &save, [this] { save.Unload(); });
  window.mnuSaveHistory.Click();
  ASSERT_TRUE(save.Visible()) << "the click has returned with the dialog open";
  const FormFace* face = desktop.FaceOf(save);
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(face->windowModality(), Qt::WindowModal);
  EXPECT_EQ(face->windowHandle()->transientParent(), desktop.FaceOf(window)->windowHandle());
  EXPECT_EQ(QApplication::activeModalWidget(), face);
  logging.ServerBytesReceived(*general.gobjListening->mobjSocketPairs.Item(1), QByteArray("more"), false);
  EXPECT_EQ(logging.mobjSocketPairHistory.Item(1)->mobjSocketPairEvents.Count(), 4) << "connections go on";
}

TEST_F(SaveFromMainWindowTest, A_dialog_that_was_minimised_and_closed_comes_up_normal) {
  Record(QStringLiteral("KEY1"), "one");
  Select({"PROTO1000", "CON100010.0.0.110.0.0.2", "KEY1"});
  window.mnuSaveHistory.Click();
  FormFace* face = desktop.FaceOf(save);
  ASSERT_NE(face, nullptr);
  face->showMinimized();
  QCoreApplication::processEvents();
  ASSERT_EQ(save.State(), WindowState::kMinimized);
  face->close();
  ASSERT_FALSE(save.Visible());
  window.mnuSaveHistory.Click();
  EXPECT_TRUE(face->isVisible());
  EXPECT_FALSE(face->isMinimized());
}

TEST_F(SaveFromMainWindowTest, A_click_into_the_tree_selects_nothing_while_the_dialog_is_open) {
  Record(QStringLiteral("KEY1"), "one");
  Select({"PROTO1000", "CON100010.0.0.110.0.0.2", "KEY1"});
  window.mnuSaveHistory.Click();
  QCoreApplication::processEvents();
  auto* tree = desktop.FaceOf(window)->findChild<QWidget*>(QStringLiteral("tvwSockets"));
  ASSERT_NE(tree, nullptr);
  // As the desktop gives it, to the window: a widget that is given it directly is not asked for modality.
  QWindow* handle = desktop.FaceOf(window)->windowHandle();
  const QPoint root = tree->mapTo(desktop.FaceOf(window), QPoint(40, 10));
  QTest::mouseClick(handle, Qt::LeftButton, {}, root);
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("KEY1"));
  save.Unload();
  QTest::mouseClick(handle, Qt::LeftButton, {}, root);
  EXPECT_EQ(window.mnodSelectedNode->Key(), QStringLiteral("ROOT")) << "the click does reach the tree";
}

TEST_F(SaveFromMainWindowTest, A_failure_told_while_the_dialog_is_open_is_not_barred_with_the_main_window) {
  frmError error(desktop);
  error.SetGeneral(general);
  // The main window's menu has shown it before.
  error.Show(&window);
  error.Hide();
  Record(QStringLiteral("KEY1"), "one");
  Select({"PROTO1000", "CON100010.0.0.110.0.0.2", "KEY1"});
  window.mnuSaveHistory.Click();
  error.LogError(QStringLiteral("it failed"));
  FormFace* face = desktop.FaceOf(error);
  ASSERT_TRUE(face->isVisible());
  EXPECT_EQ(face->windowHandle()->transientParent(), nullptr);
}

TEST_F(SaveFromMainWindowTest, Each_opening_saves_what_is_selected_then) {
  Record(QStringLiteral("KEY1"), "one");
  Record(QStringLiteral("KEY2"), "two");
  Select({"PROTO1000", "CON100010.0.0.110.0.0.2", "KEY1"});
  window.mnuSaveHistory.Click();
  save.cmdCancel.Click();
  Select({"KEY2"});
  window.mnuSaveHistory.Click();
  EXPECT_EQ(SaveRaw(), "two");
  Select({"KEY1"});
  window.mnuSaveHistory.Click();
  EXPECT_EQ(SaveRaw(), "one");
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

// Its node leaves the tree with the failed attempt; what is selected then is the main window's choice.
TEST_F(SaveFromMainWindowTest, After_a_failed_attempt_an_entry_that_is_on_opens_the_dialog) {
  SocketPair& pair = Accepted(QStringLiteral("KEY1"));
  Select({"PROTO1000", "CON100010.0.0.1", "KEY1"});
  ASSERT_TRUE(window.mnuSaveHistory.Enabled());
  logging.ConnectionAttemptFailed(pair, false, QStringLiteral("no such host"), 11001);
  ASSERT_FALSE(window.tvwSockets.Contains(QStringLiteral("KEY1")));
  const bool offered = window.mnuSaveHistory.Enabled();
  window.mnuSaveHistory.Click();
  EXPECT_EQ(save.Visible(), offered);
  save.Unload();
  // Found again in the branch of those that failed, it can be saved in any case.
  const TreeNode& port = window.tvwSockets.Node(QStringLiteral("PROTO1000"));
  ASSERT_EQ(port.ChildCount(), 1);
  window.tvwSockets_NodeClick(port.Child(0));
  Select({"KEY1"});
  window.mnuSaveHistory.Click();
  EXPECT_TRUE(save.Visible());
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

}  // namespace
}  // namespace veltrane
