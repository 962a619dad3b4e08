#include <gtest/gtest.h>

#include "history/Logging.h"
#include "tests/support/World.h"
#include "ui/frmError.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

struct FrmMainTest : testing::Test {
  FrmMainTest() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    world.AddPort(25, kDontUse, QStringLiteral("SMTP"));
    error.SetGeneral(world.mGeneral);
    world.mGeneral.frmMain = &window;
    world.mGeneral.gobjLogging = &logging;
    window.SetSurroundings({{&error, &configure}, [this] { world.mJournal.Note(QStringLiteral("end")); }});
    world.StartListening();
    window.Show();
    world.mJournal.Take();
  }
  StubSocket& Listener() {
    return *static_cast<StubSocket*>(
        world.mGeneral.gobjListening->mcolListeningSocket.Item(QStringLiteral("KEY1000")));
  }

  World world;
  Logging logging{world.mGeneral};
  frmError error{world.mDesktop};
  Form configure{world.mDesktop, QStringLiteral("frmConfigure")};
  frmMain window{world.mGeneral, logging, error};
};

TEST_F(FrmMainTest, The_tree_shows_the_ports_as_they_stand) {
  EXPECT_EQ(window.Caption(), QStringLiteral("Veltrane"));
  const TreeNode& root = window.tvwSockets.Node(QStringLiteral("ROOT"));
  EXPECT_EQ(root.Text(), QStringLiteral("All Activity"));
  EXPECT_TRUE(root.Expanded());
  ASSERT_EQ(root.ChildCount(), 2);
  EXPECT_EQ(root.Child(0).Text(), QStringLiteral("Apps (1000)"));
  EXPECT_EQ(root.Child(1).Text(), QStringLiteral("SMTP (25) - Not Listening"));
  EXPECT_EQ(root.Child(0).Tag(), QStringLiteral("1000"));
  EXPECT_EQ(window.tvwSockets.SelectedItem(), &root);
}

TEST_F(FrmMainTest, Exit_takes_everything_down_in_order) {
  Listener().Request(1);
  error.LogError(QStringLiteral("x"));
  configure.Show();
  world.mJournal.Take();
  window.mnuExit.Click();
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("socket.Close"), QStringLiteral("socket.Close"),
                         QStringLiteral("hide frmError"), QStringLiteral("hide frmConfigure"),
                         QStringLiteral("hide frmMain"), QStringLiteral("end")}));
  EXPECT_FALSE(world.mGeneral.gobjListening);
  EXPECT_TRUE(world.mGeneral.gblnClosing);
  EXPECT_TRUE(world.mSockets.mSockets.isEmpty());
}

TEST_F(FrmMainTest, Closing_the_window_is_exit_and_a_second_exit_does_nothing) {
  EXPECT_TRUE(window.Unload());
  EXPECT_EQ(world.mJournal.lines.count(QStringLiteral("end")), 1);
  window.Terminate();
  EXPECT_EQ(world.mJournal.lines.count(QStringLiteral("end")), 1);
}

TEST_F(FrmMainTest, The_end_may_come_before_anything_listens) {
  world.mGeneral.gobjListening.reset();
  window.Terminate();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("end"));
}

TEST_F(FrmMainTest, The_end_may_come_from_inside_a_pairs_event) {
  Listener().Request(1);
  StubSocket* server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
  world.mDesktop.OnDoEvents = [&] { window.Terminate(); };
  // The recorder of this window does nothing; the end arrives while the pair's event is on the way.
  const std::weak_ptr<SocketPair> pair = world.mGeneral.gobjListening->mobjSocketPairs.Item(1);
  class Ender : public JournalRecorder {
   public:
    Ender(Journal& journal, frmMain& window) : JournalRecorder(journal), mWindow(window) {}
    void ServerBytesReceived(SocketPair&, const Payload&, bool) override { mWindow.Terminate(); }

   private:
    frmMain& mWindow;
  } ender(world.mJournal, window);
  pair.lock()->mobjProtocolHandler->mobjLogging = &ender;
  server->Arrive("x");
  EXPECT_TRUE(pair.expired());
  EXPECT_TRUE(world.mSockets.mSockets.isEmpty());
}

TEST_F(FrmMainTest, Terminated_pairs_are_swept_once_a_second) {
  Listener().Request(1);
  world.mGeneral.gobjListening->mobjSocketPairs.Item(1)->Terminate();
  world.mTimers.Advance(std::chrono::milliseconds(999));
  EXPECT_EQ(world.mGeneral.gobjListening->LoadedPairs().size(), 1U);
  world.mTimers.Advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(world.mGeneral.gobjListening->LoadedPairs().empty());
}

TEST_F(FrmMainTest, Keep_on_top_turns_its_mark_and_the_window) {
  window.mnuKeepOnTop.Click();
  EXPECT_TRUE(window.KeepOnTop());
  window.mnuKeepOnTop.Click();
  EXPECT_FALSE(window.KeepOnTop());
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("top-most frmMain"), QStringLiteral("not top-most frmMain")}));
}

TEST_F(FrmMainTest, The_error_window_can_be_opened) {
  window.mnuViewErrorMessages.Click();
  EXPECT_TRUE(error.Visible());
}

}  // namespace
}  // namespace veltrane
