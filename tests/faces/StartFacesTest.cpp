// The picture of the start and the about box as the user sees them.
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/Pictures.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmAbout.h"
#include "ui/frmSplash.h"

namespace veltrane {
namespace {

/// A real window, but documents are only noted.
class NotingDesktop : public WidgetDesktop {
 public:
  void OpenDocument(const QString& address) override { mOpened.append(address); }
  QStringList mOpened;
};

struct StartFacesTest : testing::Test {
  World world;
  NotingDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, QStringLiteral(VELTRANE_SOURCE_FOLDER), world.mWriteFolder.path()},
                  AllProtocols()};
  frmSplash splash{desktop, {1, 0, 1}};
  frmAbout about{general, {1, 0, 1}};
};

TEST_F(StartFacesTest, The_start_shows_its_picture_and_the_version_on_its_foot) {
  splash.Show();
  FormFace* face = desktop.FaceOf(splash);
  ASSERT_NE(face, nullptr);
  EXPECT_TRUE(face->windowFlags().testFlag(Qt::FramelessWindowHint));
  const auto* version = face->findChild<QLabel*>(QStringLiteral("lblVersion"));
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version->text(), QStringLiteral("Version: 1.0 Build: 1"));
  EXPECT_TRUE(face->rect().contains(version->geometry()));
  const QImage shown = face->grab().toImage();
  // The head is dark, the middle white, and the foot, where the version stands, is light.
  EXPECT_LT(qGray(shown.pixel(shown.width() / 2, 8)), 140);
  EXPECT_EQ(shown.pixelColor(shown.width() / 2, 120), QColor(Qt::white));
  EXPECT_GT(qGray(shown.pixel(10, shown.height() - 10)), 220);
}

TEST_F(StartFacesTest, The_picture_of_the_start_has_all_pixels_of_a_fine_screen) {
  const QPixmap fine = SplashPicture({480, 280}, 2);
  EXPECT_EQ(fine.size(), QSize(960, 560));
  EXPECT_EQ(fine.deviceIndependentSize(), QSizeF(480, 280));
  EXPECT_EQ(SplashPicture({480, 280}, 1).size(), QSize(480, 280));
}

TEST_F(StartFacesTest, The_top_most_state_may_be_set_before_the_start_is_shown) {
  general.SetTopMostWindow(splash, true);
  EXPECT_FALSE(desktop.FaceOf(splash)->isVisible());
  general.SetTopMostWindow(splash, false);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(StartFacesTest, The_about_box_shows_all_it_has_to_tell) {
  about.Show();
  FormFace* face = desktop.FaceOf(about);
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(face->windowTitle(), QStringLiteral("About Veltrane"));
  for (const Control* control : about.Controls()) {
    const auto* widget = face->findChild<QWidget*>(control->Name());
    ASSERT_NE(widget, nullptr) << control->Name().toStdString();
    EXPECT_TRUE(widget->isVisible()) << control->Name().toStdString();
    EXPECT_GT(widget->height(), 8) << control->Name().toStdString();
  }
  EXPECT_EQ(face->findChild<QLabel*>(QStringLiteral("lblBuild"))->text(),
            QStringLiteral("Version: 1.0 Build: 1"));
  // The animation lies within its panel.
  const auto* animation = face->findChild<QWidget*>(QStringLiteral("aniAnimation"));
  EXPECT_EQ(animation->parentWidget()->objectName(), QStringLiteral("panAniHolder"));
  EXPECT_TRUE(about.aniAnimation.IsPlaying());
}

TEST_F(StartFacesTest, A_click_on_the_address_opens_it) {
  about.Show();
  QTest::mouseClick(desktop.FaceOf(about)->findChild<QLabel*>(QStringLiteral("lblURL")), Qt::LeftButton);
  EXPECT_EQ(desktop.mOpened, QStringList{kProductAddress});
}

TEST_F(StartFacesTest, Another_button_or_a_release_elsewhere_does_not_open_it) {
  about.Show();
  auto* link = desktop.FaceOf(about)->findChild<QLabel*>(QStringLiteral("lblURL"));
  QTest::mouseClick(link, Qt::RightButton);
  QTest::mouseClick(link, Qt::MiddleButton);
  QTest::mousePress(link, Qt::LeftButton);
  QTest::mouseRelease(link, Qt::LeftButton, {}, QPoint(5, link->height() + 20));
  EXPECT_EQ(desktop.mOpened, QStringList());
}

TEST_F(StartFacesTest, Ok_and_the_keys_for_it_close_the_about_box) {
  about.Show();
  QTest::mouseClick(desktop.FaceOf(about)->findChild<QPushButton*>(QStringLiteral("cmdOK")), Qt::LeftButton);
  EXPECT_FALSE(about.IsLoaded());
  for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter}) {
    about.Show();
    FormFace* face = desktop.FaceOf(about);
    EXPECT_EQ(face->focusWidget()->objectName(), u"cmdOK");
    QTest::keyClick(face->focusWidget(), key);
    EXPECT_FALSE(about.IsLoaded()) << key;
  }
}

TEST_F(StartFacesTest, The_program_has_an_icon_in_every_size) {
  for (const int size : {16, 22, 32, 48, 64, 128, 256}) {
    const QImage image = Picture(QStringLiteral("Veltrane")).pixmap(size).toImage();
    ASSERT_EQ(image.width(), size);
    EXPECT_EQ(qAlpha(image.pixel(size / 2, size / 2)), 255) << size;
    EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0) << size;
  }
}

}  // namespace
}  // namespace veltrane
