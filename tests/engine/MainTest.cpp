#include <gtest/gtest.h>

#include "engine/Main.h"
#include "protocols/ProtocolPassThru.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

class LoggedForm : public Form {
 public:
  LoggedForm(Desktop& desktop, Journal& journal, const char* name)
      : Form(desktop, QLatin1String(name)), mJournal(journal) {}

 protected:
  void OnLoad() override { mJournal.Note(QStringLiteral("load ") + Name()); }
  void OnUnload() override { mJournal.Note(QStringLiteral("unload ") + Name()); }

 private:
  Journal& mJournal;
};

/// A handler under another name.
class NamedHandler : public ProtocolPassThru {
 public:
  NamedHandler(General& general, QString name) : ProtocolPassThru(general), mName(std::move(name)) {}
  QString GetProtocolName() const override { return mName; }

 private:
  QString mName;
};

struct MainTest : testing::Test, StartUp {
  MainTest() {
    world.mGeneral.gobjLogging = nullptr;
    world.mClock.OnSleep = [this](milliseconds time) {
      world.mJournal.Note(QStringLiteral("sleep %1").arg(time.count()));
    };
  }
  using milliseconds = std::chrono::milliseconds;

  bool IsAnotherInstanceRunning() override {
    world.mJournal.Note(QStringLiteral("another instance?"));
    return anotherInstance;
  }
  Recorder& CreateLogging() override {
    world.mJournal.Note(QStringLiteral("create Logging"));
    return world.mRecorder;
  }
  QList<ProtocolHandlerRef> CreateProtocols() override {
    world.mJournal.Note(QStringLiteral("protocols"));
    QList<ProtocolHandlerRef> handlers;
    for (const char* name : {"HTTP", "Pass Through", "HTTPS", "POP3", "FTP"}) {
      handlers.append(std::make_shared<NamedHandler>(world.mGeneral, QLatin1String(name)));
    }
    return handlers;
  }
  Form& SplashForm() override { return splash; }
  Form& MainForm() override { return mainForm; }
  Form& ConfigureForm() override { return configure; }
  Form& ErrorForm() override { return error; }
  Form& ProblemSimulationForm() override { return problemSimulation; }
  Form& RealTimeLoggingForm() override { return realTimeLogging; }

  bool Run(const QStringList& commandLine = {}) {
    Main main(world.mGeneral, *this);
    return main.Run(commandLine);
  }
  void SetOption(const char* key, const char* value) {
    world.Save(QStringLiteral("Options"), QLatin1String(key), QLatin1String(value));
  }
  void NotFirstRun() {
    world.Save(QStringLiteral("FirstRun"), QStringLiteral("FirstRun"), QStringLiteral("False"));
  }

  World world;
  bool anotherInstance = false;
  LoggedForm splash{world.mDesktop, world.mJournal, "frmSplash"};
  LoggedForm mainForm{world.mDesktop, world.mJournal, "frmMain"};
  LoggedForm configure{world.mDesktop, world.mJournal, "frmConfigure"};
  LoggedForm error{world.mDesktop, world.mJournal, "frmError"};
  LoggedForm problemSimulation{world.mDesktop, world.mJournal, "frmProblemSimulation"};
  LoggedForm realTimeLogging{world.mDesktop, world.mJournal, "frmRealTimeLogging"};
};

TEST_F(MainTest, The_steps_run_in_their_order) {
  NotFirstRun();
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  EXPECT_TRUE(Run());
  EXPECT_EQ(world.mJournal.lines, (QStringList{
                                      QStringLiteral("another instance?"),
                                      QStringLiteral("load frmSplash"),
                                      QStringLiteral("show frmSplash"),
                                      QStringLiteral("repaint frmSplash"),
                                      QStringLiteral("top-most frmSplash"),
                                      QStringLiteral("create Logging"),
                                      QStringLiteral("socket.Listen 1000"),
                                      QStringLiteral("load frmMain"),
                                      QStringLiteral("show frmMain"),
                                      QStringLiteral("repaint frmMain"),
                                      QStringLiteral("protocols"),
                                      QStringLiteral("load frmConfigure"),
                                      QStringLiteral("show frmConfigure over frmMain"),
                                      QStringLiteral("repaint frmConfigure"),
                                      QStringLiteral("repaint frmSplash"),
                                      QStringLiteral("sleep 2000"),
                                      QStringLiteral("not top-most frmSplash"),
                                      QStringLiteral("unload frmSplash"),
                                      QStringLiteral("hide frmSplash"),
                                      QStringLiteral("load frmProblemSimulation"),
                                      QStringLiteral("load frmRealTimeLogging"),
                                  }));
  EXPECT_TRUE(world.mGeneral.gblnConnectionDiagramSelected);
  EXPECT_TRUE(world.mGeneral.gblnRecordEvents);
  EXPECT_FALSE(world.mGeneral.gblnClosing);
  EXPECT_EQ(world.mGeneral.mHelpFile, QStringLiteral("/opt/veltrane/Help/VLT.chm"));
  // From the clock, before the pause.
  const auto seededAt = world.mClock.mSteady - milliseconds(2000);
  EXPECT_EQ(world.mRandom.mSeeds, QList<unsigned>{static_cast<unsigned>(seededAt.count())});
  EXPECT_FALSE(problemSimulation.Visible());
  EXPECT_FALSE(realTimeLogging.Visible());
  EXPECT_EQ(world.mClock.mSlept, milliseconds(2000));
}

TEST_F(MainTest, A_command_line_of_any_kind_ends_the_program_after_the_message) {
  EXPECT_FALSE(Run({QStringLiteral("--help")}));
  EXPECT_EQ(world.mJournal.lines,
            QStringList{QStringLiteral("box: Please remove all command line arguments.")});
  ASSERT_EQ(world.mDesktop.mBoxes.size(), 1);
  EXPECT_EQ(world.mDesktop.mBoxes[0].icon, BoxIcon::kExclamation);
  EXPECT_EQ(world.mDesktop.mBoxes[0].title, QStringLiteral("Veltrane"));
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
  EXPECT_EQ(world.mSockets.mCreated, 0);
}

TEST_F(MainTest, A_blank_command_line_is_none) {
  NotFirstRun();
  EXPECT_TRUE(Run({QStringLiteral(" "), QString()}));
}

TEST_F(MainTest, A_second_start_leaves_no_trace_and_shows_nothing) {
  anotherInstance = true;
  EXPECT_FALSE(Run());
  EXPECT_EQ(world.mJournal.lines, QStringList{QStringLiteral("another instance?")});
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
}

TEST_F(MainTest, An_empty_store_yields_six_ports_and_the_welcome_and_the_next_start_neither) {
  EXPECT_TRUE(Run());
  EXPECT_EQ(world.mGeneral.gobjListening->mcolListeningSocket.Count(), 6);
  ASSERT_EQ(world.mDesktop.mBoxes.size(), 1);
  EXPECT_EQ(world.mDesktop.mBoxes[0].icon, BoxIcon::kInformation);
  EXPECT_EQ(world.mDesktop.mBoxes[0].title, QStringLiteral("Veltrane"));
  EXPECT_EQ(
      world.mDesktop.mBoxes[0].text,
      QStringLiteral(
          "Welcome to Veltrane!\n\n"
          "To help you get started, Veltrane has been automatically configured to handle\n"
          "- SMTP (outgoing e-mail) on port 25 \n"
          "- POP3 (incoming e-mail) on port 110 \n"
          "- HTTP (web browsing) on port 8080\n"
          "- HTTPS (secure web browsing) on port 443 \n"
          "- FTP (File Transfer Protocol) on port 21 and\n"
          "- Pass Through (For testing custom applications) on port 1000.\n\n"
          "You will need to configure your email client and web browser to connect to Veltrane.  Details "
          "can be found in the Help by looking under the heading 'Configuring Veltrane and the Client "
          "Software'. Also, be sure to click on 'Configure...' on the following screen to enter the name "
          "of your email servers.\n\n"
          "To learn more about Veltrane please visit https://veltrane.example/\n\n"
          "This message box will not be displayed again.\n"));
  // The welcome comes after the splash pause and before the hidden dialogs.
  const QStringList& lines = world.mJournal.lines;
  EXPECT_LT(lines.indexOf(QStringLiteral("sleep 2000")),
            lines.indexOf(QStringLiteral("box: Welcome to Veltrane!")));
  EXPECT_LT(lines.indexOf(QStringLiteral("box: Welcome to Veltrane!")),
            lines.indexOf(QStringLiteral("load frmProblemSimulation")));

  world.mGeneral.gobjListening.reset();
  world.mGeneral.gblnFirstRun = false;
  world.mGeneral.gcolProtocols.Clear();
  world.mDesktop.mBoxes.clear();
  const auto rows = world.mStore.mRows.size();
  EXPECT_TRUE(Run());
  EXPECT_TRUE(world.mDesktop.mBoxes.isEmpty());
  EXPECT_EQ(world.mStore.mRows.size(), rows);
}

TEST_F(MainTest, Run_minimized_shows_no_splash_but_still_sets_it_top_most) {
  NotFirstRun();
  SetOption("RunMinimized", "1");
  Run();
  EXPECT_FALSE(world.mJournal.lines.contains(QStringLiteral("show frmSplash")));
  EXPECT_EQ(world.mJournal.lines[1], QStringLiteral("top-most frmSplash"));
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("sleep 2000")));
}

TEST_F(MainTest, The_configuration_is_not_shown_when_the_user_does_not_want_it) {
  NotFirstRun();
  SetOption("ShowConfigAtStartUp", "0");
  Run();
  EXPECT_FALSE(world.mJournal.lines.contains(QStringLiteral("load frmConfigure")));
}

TEST_F(MainTest, An_error_window_that_came_up_is_brought_to_the_front) {
  NotFirstRun();
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  world.mSockets.mListenFailure = 10048;
  world.mErrors.OnError = [this](const QString&) { error.Show(); };
  Run();
  const QStringList& lines = world.mJournal.lines;
  EXPECT_LT(lines.indexOf(QStringLiteral("show frmError")), lines.indexOf(QStringLiteral("load frmMain")));
  EXPECT_LT(lines.indexOf(QStringLiteral("repaint frmConfigure")),
            lines.indexOf(QStringLiteral("to front frmError")));
  const qsizetype toFront = lines.indexOf(QStringLiteral("to front frmError"));
  EXPECT_EQ(lines.value(toFront + 1), QStringLiteral("repaint frmError"));
  EXPECT_LT(toFront, lines.indexOf(QStringLiteral("sleep 2000")));
  EXPECT_TRUE(lines.contains(QStringLiteral("show frmMain"))) << "the main window comes up all the same";
}

TEST_F(MainTest, The_list_of_protocols_keeps_its_order) {
  NotFirstRun();
  Run();
  QStringList names;
  for (qsizetype i = 1; i <= world.mGeneral.gcolProtocols.Count(); ++i) {
    names.append(world.mGeneral.gcolProtocols.KeyAt(i));
  }
  EXPECT_EQ(names.join(u','), QStringLiteral("HTTP,Pass Through,HTTPS,POP3,FTP"));
}

TEST_F(MainTest, Data_ports_that_a_crash_left_are_removed_before_any_socket_listens) {
  NotFirstRun();
  const QString text = QStringLiteral("FTP DATA - DYNAMICALLY ALLOCATED");
  world.AddPort(1500, text, text);
  world.SetDestination(1500, QStringLiteral("10.0.0.1"), 2000);
  world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
  Run();
  EXPECT_EQ(world.Get(QStringLiteral("Protocols"), QStringLiteral("1500")), QStringLiteral("(none)"));
  EXPECT_EQ(world.Get(QStringLiteral("PortsInUse"), QStringLiteral("1500")), QStringLiteral("(none)"));
  EXPECT_EQ(world.mJournal.lines.filter(QStringLiteral("Listen")),
            QStringList{QStringLiteral("socket.Listen 1000")});
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(MainTest, A_left_over_row_that_is_no_port_is_reported_and_the_start_goes_on) {
  NotFirstRun();
  world.Save(QStringLiteral("Protocols"), QStringLiteral("70000"), QStringLiteral("Dynamically allocated"));
  Run();
  ASSERT_FALSE(world.mErrors.mTexts.isEmpty());
  EXPECT_EQ(world.mErrors.mTexts[0],
            QStringLiteral("An error occurred while attempting to start Veltrane.  The "
                           "operating system reports: 6, Overflow"));
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("load frmRealTimeLogging")));
}

TEST_F(MainTest, An_option_of_no_use_is_reported_and_its_default_rules) {
  NotFirstRun();
  SetOption("RunMinimized", "abc");
  SetOption("ShowConfigAtStartUp", "");
  EXPECT_TRUE(Run());
  const QString report = QStringLiteral(
      "An error occurred while attempting to start Veltrane.  The operating system reports: 13, Type "
      "mismatch");
  EXPECT_EQ(world.mErrors.mTexts, (QStringList{report, report}));
  for (const char* line : {"show frmSplash", "show frmMain", "show frmConfigure over frmMain", "sleep 2000",
                           "load frmRealTimeLogging"}) {
    EXPECT_TRUE(world.mJournal.lines.contains(QLatin1String(line))) << line;
  }
}

TEST_F(MainTest, What_handlers_may_hold_is_a_quarter_of_the_machines_memory_or_what_the_store_says) {
  Run();
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Most(), World::kMachineMemory / 4);
  world.Save(QStringLiteral("Options"), QStringLiteral("PayloadMemoryPercent"), QStringLiteral("0.5"));
  Run();
  EXPECT_EQ(world.mGeneral.mPayloadLimit.Most(), World::kMachineMemory / 200);
}

TEST_F(MainTest, Only_0_and_only_1_count_for_the_two_options) {
  NotFirstRun();
  SetOption("RunMinimized", "2");
  SetOption("ShowConfigAtStartUp", "2");
  Run();
  EXPECT_FALSE(world.mJournal.lines.contains(QStringLiteral("show frmSplash")));
  EXPECT_FALSE(world.mJournal.lines.contains(QStringLiteral("load frmConfigure")));
}

TEST_F(MainTest, A_failure_on_the_way_is_reported_and_the_program_runs) {
  NotFirstRun();
  world.mDesktop.mFailShow = true;
  EXPECT_TRUE(Run());
  const QString report = QStringLiteral(
      "An error occurred while attempting to start Veltrane.  The operating system reports: 5, no window");
  // The splash, the main window and the configuration; all other steps are taken.
  EXPECT_EQ(world.mErrors.mTexts, (QStringList{report, report, report}));
  for (const char* line : {"create Logging", "sleep 2000", "unload frmSplash", "load frmRealTimeLogging"})
    EXPECT_TRUE(world.mJournal.lines.contains(QLatin1String(line))) << line;
}

TEST_F(MainTest, A_store_that_fails_to_be_read_still_gives_a_main_window) {
  NotFirstRun();
  world.mStore.mFailReads = true;
  EXPECT_TRUE(Run());
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("show frmMain")));
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("unload frmSplash")));
}

TEST_F(MainTest, A_program_that_is_ended_in_the_welcome_takes_no_further_step) {
  world.mDesktop.OnBox = [this](const MessageBox&) { world.mGeneral.gblnClosing = true; };
  Run();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("box: Welcome to Veltrane!"));
}

TEST_F(MainTest, A_store_that_is_not_the_users_gets_no_ports_and_no_welcome) {
  world.mStore.mIsTheUsers = false;
  Run();
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
  EXPECT_TRUE(world.mDesktop.mBoxes.isEmpty());
  EXPECT_FALSE(world.mGeneral.gblnFirstRun);
}

TEST_F(MainTest, What_a_deletion_left_in_the_descriptions_stays) {
  NotFirstRun();
  const QString text = QStringLiteral("FTP Data - Dynamically allocated");
  world.Save(QStringLiteral("PortsInUse"), QStringLiteral("1500"), text);
  Run();
  EXPECT_EQ(world.Get(QStringLiteral("PortsInUse"), QStringLiteral("1500")), text);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(MainTest, The_port_table_is_seeded_before_the_sockets_listen_and_after_the_generator_is_seeded) {
  world.mRandom.OnSeed = [this] { EXPECT_TRUE(world.mStore.mRows.isEmpty()); };
  Run();
  EXPECT_EQ(world.mJournal.lines.filter(QStringLiteral("Listen")).size(), 6);
  EXPECT_EQ(world.mRandom.mSeeds.size(), 1);
}

}  // namespace
}  // namespace veltrane
