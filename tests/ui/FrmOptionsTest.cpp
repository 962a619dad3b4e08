#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include "tests/support/DialogFakes.h"
#include "ui/AutostartEntry.h"
#include "ui/frmOptions.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

const QString kOptions = QStringLiteral("Options");

struct FrmOptionsTest : testing::Test {
  FrmOptionsTest() { world.Listen(); }
  void Store(const char* key, const char* value) {
    world.Save(kOptions, QLatin1String(key), QLatin1String(value));
  }
  QString Stored(const char* key) { return world.Get(kOptions, QLatin1String(key)); }
  QString EntryFile() const { return folder.path() + QStringLiteral("/autostart/Veltrane.desktop"); }
  bool StartsWithSession() const { return QFile::exists(EntryFile()); }
  void LoadAndForget() {
    form.Load();
    world.mJournal.Take();
  }

  DialogWorld world;
  QTemporaryDir folder;
  Form configure{world.mDesktop, QStringLiteral("frmConfigure")};
  Form error{world.mDesktop, QStringLiteral("frmError")};
  FakeNotificationArea area;
  frmSysTray tray{world.mDialogGeneral, world.mShell, area, {configure, error}};
  frmOptions form{world.mDialogGeneral, world.mShell, tray, folder.path() + QStringLiteral("/autostart")};
};

TEST_F(FrmOptionsTest, A_fresh_store_gives_the_eleven_defaults_and_loading_writes_nothing) {
  form.Load();
  EXPECT_TRUE(form.chkShowToolBar.IsOn());
  EXPECT_FALSE(form.chkRunAtStartup.IsOn());
  EXPECT_TRUE(form.chkAnimateConnectionDiagram.IsOn());
  EXPECT_TRUE(form.chkShowStatusBar.IsOn());
  EXPECT_TRUE(form.chkDisplayInSysTray.IsOn());
  EXPECT_FALSE(form.chkRunMinimized.IsOn());
  EXPECT_TRUE(form.chkRemoveEphemeralPortReferences.IsOn());
  EXPECT_TRUE(form.chkDiscard.IsOn());
  EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("100"));
  EXPECT_EQ(form.txtMaxMemorySize.Text(), QStringLiteral("400"));
  EXPECT_EQ(form.txtMaximumEventCount.Text(), QStringLiteral("200"));
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
}

TEST_F(FrmOptionsTest, OK_writes_the_eleven_settings_in_their_order_and_hides) {
  form.Show();
  form.chkRunMinimized.SetValue(1);
  form.chkDiscard.SetValue(0);
  form.txtNumberToKeep.SetText(QStringLiteral("7"));
  form.txtMaxMemorySize.SetText(QString());
  form.cmdOK.Click();
  const QList<SettingRow> rows = {
      {QStringLiteral("ShowToolBar"), QStringLiteral("1")},
      {QStringLiteral("SystemTray"), QStringLiteral("1")},
      {QStringLiteral("RunMinimized"), QStringLiteral("1")},
      {QStringLiteral("StatusBar"), QStringLiteral("1")},
      {QStringLiteral("AnimateConnectionDiagram"), QStringLiteral("1")},
      {QStringLiteral("RemoveEmptyEphemeralReferences"), QStringLiteral("1")},
      {QStringLiteral("RunAtStarup"), QStringLiteral("0")},
      {QStringLiteral("Discard"), QStringLiteral("0")},
      {QStringLiteral("NumberToKeep"), QStringLiteral("7")},
      {QStringLiteral("MaxMemorySize"), QString()},
      {QStringLiteral("MaxEventCount"), QStringLiteral("200")},
  };
  EXPECT_EQ(world.mGeneral.mSettings.All(kOptions), rows);
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
}

TEST_F(FrmOptionsTest, What_was_saved_is_what_the_next_run_loads) {
  form.Load();
  form.chkShowStatusBar.SetValue(0);
  form.txtMaximumEventCount.SetText(QStringLiteral("12"));
  form.cmdOK.Click();
  frmOptions next(world.mDialogGeneral, world.mShell, tray, folder.path());
  next.Load();
  EXPECT_FALSE(next.chkShowStatusBar.IsOn());
  EXPECT_TRUE(next.chkShowToolBar.IsOn());
  EXPECT_EQ(next.txtMaximumEventCount.Text(), QStringLiteral("12"));
}

TEST_F(FrmOptionsTest, Cancel_reads_everything_back_and_hides_without_writing) {
  Store("NumberToKeep", "55");
  Store("RunMinimized", "1");
  form.Show();
  const auto before = world.mGeneral.mSettings.All(kOptions);
  form.txtNumberToKeep.SetText(QStringLiteral("1"));
  form.chkRunMinimized.SetValue(0);
  form.cmdCancel.Click();
  EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("55"));
  EXPECT_TRUE(form.chkRunMinimized.IsOn());
  EXPECT_EQ(world.mGeneral.mSettings.All(kOptions), before);
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
}

TEST_F(FrmOptionsTest,
       Ticking_RunAtStartup_and_cancelling_writes_the_entry_at_the_click_and_removes_it_again) {
  form.Show();
  EXPECT_FALSE(StartsWithSession());
  form.chkRunAtStartup.SetValue(1);
  EXPECT_TRUE(StartsWithSession()) << "at the click, before OK";
  form.cmdCancel.Click();
  EXPECT_FALSE(StartsWithSession());
  EXPECT_FALSE(form.chkRunAtStartup.IsOn());
}

TEST_F(FrmOptionsTest, Loading_takes_the_entry_away_and_a_stored_1_writes_it_again) {
  WriteAutostartEntry(folder.path() + QStringLiteral("/autostart"), QStringLiteral("/old/place/Veltrane"));
  form.Load();
  EXPECT_FALSE(StartsWithSession());
  Store("RunAtStarup", "1");
  frmOptions next(world.mDialogGeneral, world.mShell, tray, folder.path() + QStringLiteral("/autostart"));
  next.Load();
  QFile file(EntryFile());
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_TRUE(file.readAll().contains("Exec=\"" + world.mProgramFolder.path().toUtf8() + "/Veltrane\"\n"));
}

TEST_F(FrmOptionsTest, An_entry_that_cannot_be_written_is_no_failure_and_the_wish_is_kept) {
  QFile file(folder.path() + QStringLiteral("/autostart"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << "a file stands where the folder should be";
  form.Load();
  form.chkRunAtStartup.SetValue(1);
  form.cmdOK.Click();
  EXPECT_EQ(Stored("RunAtStarup"), QStringLiteral("1"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmOptionsTest, Cancelling_after_unticking_the_tray_brings_the_icon_back) {
  form.Show();
  EXPECT_TRUE(area.mHasIcon);
  form.chkDisplayInSysTray.SetValue(0);
  EXPECT_FALSE(area.mHasIcon) << "at the click";
  EXPECT_FALSE(tray.IsLoaded());
  form.cmdCancel.Click();
  EXPECT_TRUE(area.mHasIcon);
  EXPECT_TRUE(tray.IsLoaded());
}

TEST_F(FrmOptionsTest, Unticking_the_tray_while_the_main_window_is_hidden_in_it_gives_the_window_back) {
  world.mMain.Show();
  form.Show();
  world.mMain.SetState(WindowState::kMinimized);
  world.mMain.Hide();
  form.chkDisplayInSysTray.SetValue(0);
  form.cmdOK.Click();
  EXPECT_FALSE(area.mHasIcon);
  EXPECT_TRUE(world.mMain.Visible());
  EXPECT_EQ(world.mMain.State(), WindowState::kMinimized);
}

TEST_F(FrmOptionsTest, A_stored_0_for_the_tray_gives_no_icon) {
  Store("SystemTray", "0");
  form.Load();
  EXPECT_FALSE(area.mHasIcon);
  EXPECT_FALSE(tray.IsLoaded());
}

TEST_F(FrmOptionsTest, The_bars_follow_at_the_click_and_the_window_is_laid_out_anew) {
  LoadAndForget();
  form.chkShowToolBar.SetValue(0);
  form.chkShowStatusBar.SetValue(0);
  form.chkShowToolBar.SetValue(1);
  EXPECT_EQ(world.mJournal.lines, (QStringList{QStringLiteral("toolbar off"), QStringLiteral("ResizeForm"),
                                               QStringLiteral("status bar off"), QStringLiteral("ResizeForm"),
                                               QStringLiteral("toolbar on"), QStringLiteral("ResizeForm")}));
}

TEST_F(FrmOptionsTest, The_animations_follow_at_the_click_past_their_failures) {
  LoadAndForget();
  world.mShell.mFailAnimations = true;
  form.chkAnimateConnectionDiagram.SetValue(0);
  form.chkAnimateConnectionDiagram.SetValue(1);
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("animations off"), QStringLiteral("animations on")}));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmOptionsTest, Loading_and_cancelling_put_the_stored_values_into_force) {
  Store("ShowToolBar", "0");
  Store("AnimateConnectionDiagram", "0");
  form.Load();
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("toolbar off")));
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("status bar on")));
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("animations off")));
  form.chkShowToolBar.SetValue(1);
  world.mJournal.Take();
  form.cmdCancel.Click();
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("toolbar off")));
}

TEST_F(FrmOptionsTest, The_limits_of_the_history_are_what_stands_in_the_controls_and_reading_them_loads) {
  Store("NumberToKeep", "9");
  const PurgeOptions& options = form;
  EXPECT_EQ(options.NumberToKeep(), QStringLiteral("9"));
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_FALSE(form.Visible());
  form.chkDiscard.SetValue(0);
  form.txtMaxMemorySize.SetText(QStringLiteral("x"));
  form.txtMaximumEventCount.SetText(QString());
  form.chkRemoveEphemeralPortReferences.SetValue(0);
  EXPECT_FALSE(options.Discard());
  EXPECT_EQ(options.MaxMemorySize(), QStringLiteral("x")) << "before OK, as the user left it";
  EXPECT_EQ(options.MaximumEventCount(), QString());
  EXPECT_FALSE(options.RemoveEphemeralPortReferences());
}

TEST_F(FrmOptionsTest, An_unusable_value_is_reported_and_costs_its_own_option_alone) {
  Store("ShowToolBar", "maybe");
  Store("NumberToKeep", "5");
  form.Load();
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to load the option ShowToolBar.  "
                                       "The operating system reports: 13, Type mismatch")});
  EXPECT_TRUE(form.chkShowToolBar.IsOn());
  EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("5"));
}

TEST_F(FrmOptionsTest, Closing_the_frame_cancels_and_only_the_end_of_the_program_unloads) {
  form.Show();
  form.txtNumberToKeep.SetText(QStringLiteral("1"));
  // The main window has been closed into the tray once: that is not the end of the program.
  world.mDialogGeneral.gblnClosing = true;
  EXPECT_FALSE(form.Unload());
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("100"));
  world.mDialogGeneral.gobjListening.reset();
  EXPECT_TRUE(form.Unload());
}

TEST_F(FrmOptionsTest, The_arrows_count_within_their_bounds) {
  form.Load();
  form.updNumberToKeep.Up();
  EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("101"));
  form.updMaxMemorySize.Down();
  EXPECT_EQ(form.txtMaxMemorySize.Text(), QStringLiteral("300"));
  form.txtMaximumEventCount.SetText(QStringLiteral("5"));
  form.upMaximumEventCount.Down();
  EXPECT_EQ(form.txtMaximumEventCount.Text(), QStringLiteral("1")) << "0 would make every purge fail";
}

TEST(AutostartEntryTest, The_entry_is_a_desktop_file_that_names_the_program) {
  EXPECT_EQ(AutostartEntryText(QStringLiteral("/opt/veltrane/Veltrane")),
            "[Desktop Entry]\nType=Application\nName=Veltrane\nComment=Interactive TCP debugging proxy\n"
            "Exec=\"/opt/veltrane/Veltrane\"\nTerminal=false\n");
}

TEST(AutostartEntryTest, Characters_with_a_meaning_are_escaped) {
  const QByteArray text = AutostartEntryText(QStringLiteral("/a b/$x/\"q\"/50%/back\\slash/Veltrane"));
  EXPECT_TRUE(text.contains("Exec=\"/a b/\\\\$x/\\\\\"q\\\\\"/50%%/back\\\\\\\\slash/Veltrane\"\n"))
      << text.toStdString();
}

TEST(AutostartEntryTest, Removing_what_is_not_there_fails) {
  const QTemporaryDir folder;
  EXPECT_THROW(RemoveAutostartEntry(folder.path()), Failure);
  WriteAutostartEntry(folder.path(), QStringLiteral("/x"));
  EXPECT_NO_THROW(RemoveAutostartEntry(folder.path()));
  EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

}  // namespace
}  // namespace veltrane
