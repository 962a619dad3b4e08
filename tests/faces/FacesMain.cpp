#include <QApplication>
#include <QTemporaryFile>

#include <gmock/gmock.h>

namespace {

/// A virtual screen that has as many points with QT_SCALE_FACTOR as without: the windows need their room.
QByteArray Platform(QTemporaryFile& description) {
  constexpr double kPoints = 800;
  const double scale = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
  if (scale == 1 || !description.open()) return "offscreen";
  const QByteArray side = QByteArray::number(qRound(kPoints * scale));
  description.write(
      R"({"synchronousWindowSystemEvents": false, "windowFrameMargins": true, "screens": [{"name": "", )"
      R"("x": 0, "y": 0, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1, "width": )" +
      side + R"(, "height": )" + side + "}]}");
  description.flush();
  return "offscreen:configfile=" + description.fileName().toLocal8Bit();
}

}  // namespace

int main(int argc, char* argv[]) {
  QTemporaryFile description;
  qputenv("QT_QPA_PLATFORM", Platform(description));
  ::testing::InitGoogleMock(&argc, argv);
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
