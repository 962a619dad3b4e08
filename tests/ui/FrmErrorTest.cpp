#include <gtest/gtest.h>

#include "tests/support/World.h"
#include "ui/frmError.h"

namespace veltrane {
namespace {

struct FrmErrorTest : testing::Test {
  FrmErrorTest() { error.SetGeneral(world.mGeneral); }
  World world;
  frmError error{world.mDesktop};
};

TEST_F(FrmErrorTest, Texts_read_as_they_should) {
  EXPECT_EQ(error.Caption(), QStringLiteral("Error"));
  EXPECT_EQ(error.Label1.Caption(), QStringLiteral("The following error(s) were encounted:"));
}

TEST_F(FrmErrorTest, The_newest_failure_stands_on_top_each_with_its_time) {
  error.LogError(QStringLiteral("first"));
  world.mClock.mNow.second = 4;
  error.LogError(QStringLiteral("second"));
  EXPECT_EQ(error.txtErrorMessage.Text(), QStringLiteral("07:05:04.042\nsecond\n\n07:05:03.042\nfirst\n\n"));
}

TEST_F(FrmErrorTest, Logging_shows_the_window_without_waiting_and_repaints_it) {
  error.LogError(QStringLiteral("x"));
  EXPECT_TRUE(error.Visible());
  EXPECT_EQ(world.mJournal.lines,
            (QStringList{QStringLiteral("show frmError"), QStringLiteral("repaint frmError")}));
}

TEST_F(FrmErrorTest, Each_report_is_told_to_whoever_listens_also_when_the_log_is_full) {
  QStringList told;
  QObject::connect(&error, &frmError::Reported, [&](const QString& text) { told.append(text); });
  error.txtErrorMessage.SetText(QString(1024 * 1024, QChar('x')));
  error.LogError(QStringLiteral("first"));
  error.LogError(QStringLiteral("second"));
  EXPECT_EQ(told, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
}

TEST_F(FrmErrorTest, With_keep_on_top_it_stays_above_as_soon_as_it_has_logged) {
  world.mMain.mKeepOnTop = true;
  error.LogError(QStringLiteral("x"));
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("top-most frmError"));
}

TEST_F(FrmErrorTest, Closing_hides_it_and_the_next_failure_brings_both_texts_back) {
  error.LogError(QStringLiteral("old"));
  EXPECT_FALSE(error.Unload());
  EXPECT_FALSE(error.Visible());
  error.LogError(QStringLiteral("new"));
  EXPECT_TRUE(error.Visible());
  EXPECT_TRUE(error.txtErrorMessage.Text().contains(QStringLiteral("old")));
  EXPECT_TRUE(error.txtErrorMessage.Text().startsWith(QStringLiteral("07:05:03.042\nnew")));
}

TEST_F(FrmErrorTest, When_the_program_closes_for_good_it_unloads) {
  error.LogError(QStringLiteral("x"));
  world.mGeneral.gblnClosing = true;
  EXPECT_TRUE(error.Unload());
  EXPECT_FALSE(error.IsLoaded());
}

TEST_F(FrmErrorTest, A_failure_of_its_own_steps_is_kept_and_goes_round_in_no_circle) {
  // As in the program, where the system's reports come to this window.
  world.mErrors.OnError = [&](const QString& text) { error.LogError(text); };
  world.mMain.mKeepOnTop = true;
  world.mDesktop.mFailTopMost = true;
  world.mClock.mFailNow = true;
  error.LogError(QStringLiteral("x"));
  EXPECT_EQ(world.mErrors.mTexts.size(), 3);
  const QString clock = QStringLiteral(
      "\nAn error occurred while attempting to the get the system time.  The operating system reports: 51, "
      "Internal error\n\n");
  EXPECT_EQ(error.txtErrorMessage.Text(),
            QStringLiteral("\nAn error occurred while attempting to set the top-most window.  The operating "
                           "system reports: 5, no such window\n\n") +
                clock + QStringLiteral("\nx\n\n") + clock);
  EXPECT_TRUE(error.Visible());
  // With a clock that works, a report of its own steps has its time.
  world.mClock.mFailNow = false;
  error.LogError(QStringLiteral("z"));
  EXPECT_TRUE(error.txtErrorMessage.Text().startsWith(QStringLiteral("07:05:03.042\nAn error occurred")));
  // The next report has all its steps again.
  world.mDesktop.mFailTopMost = false;
  error.LogError(QStringLiteral("y"));
  EXPECT_TRUE(error.txtErrorMessage.Text().startsWith(QStringLiteral("07:05:03.042\ny\n")));
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("top-most frmError"));
}

TEST_F(FrmErrorTest, A_window_that_cannot_be_shown_keeps_the_text_and_takes_the_steps_that_are_left) {
  world.mMain.mKeepOnTop = true;
  world.mDesktop.mFailShow = true;
  EXPECT_NO_THROW(error.LogError(QStringLiteral("x")));
  EXPECT_TRUE(error.txtErrorMessage.Text().contains(QStringLiteral("x")));
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("top-most frmError"));
}

TEST_F(FrmErrorTest, A_full_log_drops_further_blocks_and_cuts_nothing) {
  error.LogError(QString(1024 * 1024 - 100, u'x'));
  const qsizetype size = error.txtErrorMessage.Text().size();
  error.LogError(QString(200, u'y'));
  EXPECT_EQ(error.txtErrorMessage.Text().size(), size);
  error.LogError(QStringLiteral("z"));
  EXPECT_TRUE(error.txtErrorMessage.Text().contains(QStringLiteral("\nz\n")));
}

TEST_F(FrmErrorTest, It_cannot_get_lower_than_1800_and_its_text_fills_it) {
  error.FaceResized({0, 0, 6000, 1500}, 6000, 1500);
  EXPECT_EQ(error.Geometry().height, 1800);
  EXPECT_NE(error.txtErrorMessage.Place().height, 1800 - error.txtErrorMessage.Place().top - 380)
      << "a height that is set back leaves the text box to the resizing that follows";
  error.FaceResized({0, 0, 6000, 1800}, 6000, 1800);
  EXPECT_EQ(error.txtErrorMessage.Place().height, 1800 - error.txtErrorMessage.Place().top - 380);
  error.FaceResized({0, 0, 9000, 4500}, 9000, 4500);
  EXPECT_EQ(error.txtErrorMessage.Place().width, 9000 - 160);
  EXPECT_EQ(error.txtErrorMessage.Place().height, 4500 - error.txtErrorMessage.Place().top - 380);
}

}  // namespace
}  // namespace veltrane
