// An animation in a window: it moves only where it is to be seen, and a bad file costs no more than its
// picture.
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "forms/WindowParts.h"
#include "tests/support/World.h"
#include "ui/faces/AnimationFace.h"

namespace veltrane {
namespace {

const QString kFile = QStringLiteral(VELTRANE_SOURCE_FOLDER "/res/Processing.avi");

struct AnimationFaceTest : testing::Test {
  AnimationFaceTest() {
    window.resize(100, 90);
    face.setGeometry(0, 0, 87, 75);
    window.show();
  }
  QImage Shot() { return window.grab().toImage(); }
  bool IsEmpty() {
    const QImage shot = Shot();
    for (int y = 0; y < shot.height(); ++y) {
      for (int x = 0; x < shot.width(); ++x) {
        if (shot.pixel(x, y) != shot.pixel(99, 89)) return false;
      }
    }
    return true;
  }

  World world;
  Form form{world.mDesktop, QStringLiteral("frmAny")};
  Animation animation{form, QStringLiteral("aniAny")};
  QWidget window;
  AnimationFace& face = *new AnimationFace(animation, window);
};

TEST_F(AnimationFaceTest, Nothing_is_shown_before_a_file_is_opened) {
  animation.Play();
  EXPECT_FALSE(face.IsMoving());
  EXPECT_TRUE(IsEmpty());
}

TEST_F(AnimationFaceTest, It_moves_while_it_plays_and_stands_paler_when_it_is_stopped) {
  animation.Open(kFile);
  EXPECT_FALSE(face.IsMoving());
  EXPECT_FALSE(IsEmpty());
  const QImage pale = Shot();
  animation.Play();
  EXPECT_TRUE(face.IsMoving());
  const QImage first = Shot();
  EXPECT_NE(first, pale);
  EXPECT_TRUE(QTest::qWaitFor([&] { return Shot() != first; }));
  animation.Stop();
  EXPECT_FALSE(face.IsMoving());
}

TEST_F(AnimationFaceTest, Nothing_runs_while_its_window_is_hidden) {
  animation.Open(kFile);
  animation.Play();
  window.hide();
  EXPECT_FALSE(face.IsMoving());
  window.show();
  EXPECT_TRUE(face.IsMoving());
}

TEST_F(AnimationFaceTest, A_missing_a_foreign_and_a_cut_file_leave_its_place_empty) {
  const QTemporaryDir folder;
  QFile good(kFile);
  ASSERT_TRUE(good.open(QIODevice::ReadOnly));
  const QByteArray content = good.readAll();
  int number = 0;
  for (const QByteArray& bad : {QByteArray(), QByteArray("no animation"), content.left(content.size() / 2)}) {
    QFile file(folder.filePath(QString::number(++number) + QStringLiteral(".avi")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bad);
    file.close();
    animation.Open(file.fileName());
    animation.Play();
    EXPECT_FALSE(face.IsMoving()) << number;
    EXPECT_TRUE(IsEmpty()) << number;
  }
  animation.Open(folder.filePath(QStringLiteral("missing.avi")));
  EXPECT_FALSE(face.IsMoving());
  EXPECT_TRUE(IsEmpty());
}

}  // namespace
}  // namespace veltrane
