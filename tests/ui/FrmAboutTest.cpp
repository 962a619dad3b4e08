#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include "tests/support/World.h"
#include "ui/frmAbout.h"

namespace veltrane {
namespace {

struct FrmAboutTest : testing::Test {
  /// The program's folder, with the animation in it or not.
  void PutAnimation() {
    QDir(folder.path()).mkdir(QStringLiteral("res"));
    QFile file(AnimationFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  QString AnimationFile() const { return folder.path() + QStringLiteral("/res/Processing.avi"); }

  QTemporaryDir folder;
  World world;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, world.mDesktop,
                   world.mErrors, folder.path(), folder.path()},
                  AllProtocols()};
  frmAbout about{general, {1, 2, 34}};
};

TEST_F(FrmAboutTest, Texts_read_as_they_should) {
  EXPECT_EQ(about.Caption(), QStringLiteral("About Veltrane"));
  const QStringList lines = about.Label1.Caption().split(u'\n');
  ASSERT_EQ(lines.size(), 2);
  EXPECT_EQ(lines[0], QStringLiteral("Veltrane "));
  EXPECT_TRUE(lines[1].contains(QStringLiteral("web site")));
  EXPECT_EQ(about.lblURL.Caption(), kProductAddress);
}

TEST_F(FrmAboutTest, Loading_it_fills_in_the_version_with_the_revision_as_the_build) {
  about.Show();
  EXPECT_EQ(about.lblBuild.Caption(), QStringLiteral("Version: 1.2 Build: 34"));
}

TEST_F(FrmAboutTest, The_version_of_this_build_is_that_of_the_project) {
  QFile project(QStringLiteral(VELTRANE_SOURCE_FOLDER "/CMakeLists.txt"));
  ASSERT_TRUE(project.open(QIODevice::ReadOnly));
  static const QRegularExpression kNumbers(
      QStringLiteral("project\\(Veltrane VERSION (\\d+)\\.(\\d+)\\.(\\d+) "));
  const QRegularExpressionMatch numbers = kNumbers.match(QString::fromUtf8(project.readAll()));
  ASSERT_TRUE(numbers.hasMatch());
  EXPECT_EQ(BuiltVersion().Text(), QStringLiteral("Version: %1.%2 Build: %3")
                                       .arg(numbers.captured(1), numbers.captured(2), numbers.captured(3)));
}

TEST_F(FrmAboutTest, The_animation_is_opened_and_plays) {
  PutAnimation();
  about.Load();
  EXPECT_EQ(about.aniAnimation.File(), AnimationFile());
  EXPECT_TRUE(about.aniAnimation.IsPlaying());
}

TEST_F(FrmAboutTest, Without_its_file_the_box_comes_up_still_and_reports_nothing) {
  about.Show();
  EXPECT_TRUE(about.Visible());
  EXPECT_EQ(about.aniAnimation.File(), QString());
  EXPECT_FALSE(about.aniAnimation.IsPlaying());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmAboutTest, Ok_unloads_it_and_the_next_showing_plays_again) {
  PutAnimation();
  about.Show();
  about.cmdOK.Click();
  EXPECT_FALSE(about.IsLoaded());
  EXPECT_FALSE(about.Visible());
  EXPECT_FALSE(about.aniAnimation.IsPlaying());
  about.Show();
  EXPECT_TRUE(about.aniAnimation.IsPlaying());
}

TEST_F(FrmAboutTest, A_click_on_the_address_opens_it_and_leaves_the_box) {
  about.Show();
  about.lblURL.Click();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("open ") + kProductAddress);
  EXPECT_TRUE(about.Visible());
}

TEST_F(FrmAboutTest, An_address_that_cannot_be_opened_is_reported_once) {
  about.Show();
  world.mDesktop.mFailOpen = true;
  EXPECT_NO_THROW(about.lblURL.Click());
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to open the web site.  The "
                                       "operating system reports: 53, File not found")});
  EXPECT_TRUE(about.Visible());
}

TEST_F(FrmAboutTest, No_other_text_of_the_box_opens_anything) {
  about.Show();
  const qsizetype before = world.mJournal.lines.size();
  about.Label1.Click();
  about.lblBuild.Click();
  EXPECT_EQ(world.mJournal.lines.size(), before);
}

}  // namespace
}  // namespace veltrane
