// The connection diagram as the user sees it: pictures, animations, clicks, keys and scrolling.
#include <QBuffer>
#include <QFile>
#include <QFrame>
#include <QPainter>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include "engine/Listening.h"
#include "history/Logging.h"
#include "tests/support/AviMaker.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/DiagramKinds.h"
#include "ui/faces/AnimationFiles.h"
#include "ui/faces/DiagramFace.h"
#include "ui/faces/DiagramPainter.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/FrameUpdate.h"
#include "ui/faces/Twips.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

using enum DiagramArray;

constexpr int kFrameMs = 40;

QByteArray Png(const QColor& colour, const QSize& size) {
  QImage image(size, QImage::Format_ARGB32);
  image.fill(colour);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  return bytes;
}

/// With the files of the pictures as each test makes them.
struct DiagramFaceTest : testing::Test {
  DiagramFaceTest() {
    QDir(folder.path()).mkdir(QStringLiteral("res"));
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    general.frmMain = &window;
    general.gobjLogging = &logging;
    general.frmProblemSimulation = &world.mSchedule;
    general.gblnConnectionDiagramSelected = true;
    chkAnimateConnectionDiagram.SetValue(1);
    window.SetSurroundings({.frmOptions = &options});
    logging.SetSurroundings(around.Around(window));
    general.gobjListening = std::make_shared<Listening>(general);
    general.gobjListening->InitaliseListeningSockets();
  }
  QString PathOf(const char* file) const {
    return folder.path() + QStringLiteral("/res/") + QLatin1String(file);
  }
  void Write(const char* file, const QByteArray& bytes) const {
    QFile out(PathOf(file));
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(bytes);
  }
  /// An animation that shows each of the colours for kFrameMs.
  void WriteAnimation(const char* file, const QList<QColor>& colours, const QSize& size = {64, 56}) const {
    QList<QByteArray> frames;
    for (const QColor& colour : colours)
      frames.append(Png(colour, size));
    Write(file, avi::File(frames, {.scale = kFrameMs, .rate = 1000}));
  }
  /// The pictures of kind 16, each in a colour of its own.
  void WriteStills() const {
    WriteAnimation("ComputerOn.avi", {Qt::blue});
    WriteAnimation("C2SData.avi", {Qt::green}, {128, 48});
  }
  void ShowConnection(int events, int kind = etServerBytesReceived) {
    window.Show();
    face = desktop.FaceOf(window);
    history->mstrSocketPairKey = QStringLiteral("KEY1");
    history->mlngLocalServerPort = history->mlngWasListeningOnPort = 1000;
    for (int i = 0; i < events; ++i)
      Add(kind);
    logging.mobjSocketPairHistory.Add(history, QStringLiteral("KEY1"));
    for (const char* key : {"PROTO1000", "CON1000", "KEY1"})
      window.tvwSockets.ClickNode(window.tvwSockets.Node(QLatin1String(key)));
    Frame();
  }
  void Add(int kind) {
    const auto event = std::make_shared<SocketEvent>();
    event->mobjEventType = static_cast<SocketEventType>(kind);
    event->mstrDescription = QStringLiteral("happened");
    event->mstrEventTime = QStringLiteral("10:00:00.000");
    history->AddEvent(event);
  }
  static void Frame() { WaitForFrame(); }
  DiagramFace& Canvas() const { return *face->findChild<DiagramFace*>(); }
  QScrollBar& Bar() const { return *face->findChild<QScrollBar*>(QStringLiteral("scrConnectionPanelVert")); }
  /// The middle of a cell on the canvas.
  QPoint Middle(DiagramArray array, int row) const {
    const Rect& surface = window.fraConnectionPanel.Place();
    const Rect& place = window.fraConnectionPanel.Cells(array).at(row).place;
    return PixelRect(place).center() + QPoint(Pixels(surface.left), Pixels(surface.top));
  }
  QColor ColourAt(DiagramArray array, int row) const {
    return Canvas().grab().toImage().pixelColor(Middle(array, row));
  }
  void Hover(const QPoint& point) const {
    QMouseEvent move(QEvent::MouseMove, point, Canvas().mapToGlobal(point), Qt::NoButton, Qt::NoButton, {});
    QCoreApplication::sendEvent(&Canvas(), &move);
  }

  QTemporaryDir folder;
  World world;
  WidgetDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, folder.path()},
                  AllProtocols()};
  HistoryFakes around{world.mJournal};
  Logging logging{general};
  Form options{desktop, QStringLiteral("frmOptions")};
  CheckBox chkAnimateConnectionDiagram{options, QStringLiteral("chkAnimateConnectionDiagram")};
  frmMain window{general, logging};
  std::shared_ptr<SocketPairHistory> history = std::make_shared<SocketPairHistory>();
  FormFace* face = nullptr;
};

TEST_F(DiagramFaceTest, Pictures_stand_in_their_cells_on_white) {
  WriteStills();
  ShowConnection(2);
  EXPECT_EQ(ColourAt(aniClient, 1), QColor(Qt::blue));
  EXPECT_EQ(ColourAt(aniVLT, 2), QColor(Qt::blue));
  EXPECT_EQ(ColourAt(aniClient2VLT, 2), QColor(Qt::green));
  const QImage picture = Canvas().grab().toImage();
  EXPECT_EQ(picture.pixelColor(picture.width() - 60, 200), QColor(Qt::white));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
  EXPECT_FALSE(Canvas().IsPlaying()) << "single pictures need no timer";
}

TEST_F(DiagramFaceTest, Transparent_pictures_let_the_white_through) {
  WriteStills();
  WriteAnimation("C2SData.avi", {QColor(255, 0, 0, 0)}, {128, 48});
  ShowConnection(1);
  EXPECT_EQ(ColourAt(aniClient2VLT, 1), QColor(Qt::white));
}

TEST_F(DiagramFaceTest, A_live_event_is_shown_at_the_next_frame) {
  WriteStills();
  ShowConnection(1);
  Add(etServerBytesReceived);
  window.AddConnectionDiagramEvent(history);
  Frame();
  EXPECT_EQ(ColourAt(aniClient2VLT, 2), QColor(Qt::green));
}

TEST_F(DiagramFaceTest, Animations_play_at_the_rate_of_their_file_in_one_timer) {
  WriteStills();
  WriteAnimation("C2SData.avi", {Qt::red, Qt::yellow}, {128, 48});
  ShowConnection(20);
  EXPECT_TRUE(Canvas().IsPlaying());
  EXPECT_EQ(Canvas().findChildren<QTimer*>().size(), 0) << "no cell has a timer";
  QSet<QRgb> seen;
  for (int i = 0; i < 40 && seen.size() < 2; ++i) {
    QTest::qWait(kFrameMs / 2);
    seen.insert(ColourAt(aniClient2VLT, 1).rgb());
  }
  EXPECT_EQ(seen, (QSet<QRgb>{QColor(Qt::red).rgb(), QColor(Qt::yellow).rgb()}));
}

TEST_F(DiagramFaceTest, Nothing_runs_while_the_diagram_is_hidden) {
  WriteStills();
  WriteAnimation("C2SData.avi", {Qt::red, Qt::yellow}, {128, 48});
  ShowConnection(2);
  ASSERT_TRUE(Canvas().IsPlaying());
  window.tvwSockets.ClickNode(window.tvwSockets.Node(QStringLiteral("ROOT")));
  Frame();
  EXPECT_FALSE(Canvas().IsPlaying());
  for (const char* key : {"PROTO1000", "CON1000", "KEY1"})
    window.tvwSockets.ClickNode(window.tvwSockets.Node(QLatin1String(key)));
  Frame();
  EXPECT_TRUE(Canvas().IsPlaying());
  face->hide();
  Frame();
  EXPECT_FALSE(Canvas().IsPlaying());
  face->show();
  Frame();
  EXPECT_TRUE(Canvas().IsPlaying());
}

TEST_F(DiagramFaceTest, With_animation_off_the_first_picture_stands_and_nothing_runs) {
  WriteStills();
  WriteAnimation("C2SData.avi", {Qt::red, Qt::yellow}, {128, 48});
  chkAnimateConnectionDiagram.SetValue(0);
  ShowConnection(1);
  EXPECT_FALSE(Canvas().IsPlaying());
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(ColourAt(aniClient2VLT, 1), QColor(Qt::red));
    QTest::qWait(kFrameMs / 2);
  }
  window.PlayAnimations(true);
  Frame();
  EXPECT_TRUE(Canvas().IsPlaying());
  window.PlayAnimations(false);
  Frame();
  EXPECT_FALSE(Canvas().IsPlaying());
  EXPECT_EQ(ColourAt(aniClient2VLT, 1), QColor(Qt::red));
}

TEST_F(DiagramFaceTest, Each_file_is_read_once) {
  WriteStills();
  ShowConnection(1);
  (void)Canvas().grab();
  ASSERT_TRUE(QFile::remove(PathOf("ComputerOn.avi")));
  Add(etServerBytesReceived);
  window.DisplayConnectionDiagram(history);
  EXPECT_EQ(ColourAt(aniClient, 2), QColor(Qt::blue));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(DiagramFaceTest, Files_that_cannot_be_used_leave_empty_cells_and_are_reported_once_each) {
  const QByteArray whole = avi::File({Png(Qt::blue, {64, 56})});
  const struct {
    const char* what = nullptr;
    std::optional<QByteArray> bytes;
  } rows[] = {{"missing", std::nullopt},
              {"empty", QByteArray()},
              {"cut", whole.left(whole.size() / 2)},
              {"foreign", "GIF89a"},
              {"no picture", avi::File({QByteArray("\x89PNG\r\n\x1a\n") + "and nothing of a picture"})}};
  ShowConnection(1, 99);  // a kind without pictures
  for (const auto& row : rows) {
    // A name that no row before had: what was read once stays.
    const QString name = QStringLiteral("%1.avi").arg(QLatin1String(row.what));
    if (row.bytes) Write(name.toLatin1().constData(), *row.bytes);
    for (const int at : {1, 2, 3})
      window.fraConnectionPanel.Put(
          aniClient, at, {CellPlace(aniClient, at), PathOf(name.toLatin1().constData()), {}, true});
    Frame();
    EXPECT_EQ(ColourAt(aniClient, 1), QColor(Qt::white)) << row.what;
    EXPECT_FALSE(Canvas().IsPlaying()) << row.what;
    Frame();
    ASSERT_EQ(world.mErrors.mTexts.size(), 1) << row.what;
    EXPECT_TRUE(world.mErrors.mTexts.first().startsWith(
        u"An error occurred while attempting to draw the socket event.  The operating system reports: "));
    EXPECT_TRUE(world.mErrors.mTexts.first().endsWith(name)) << world.mErrors.mTexts.first().toStdString();
    world.mErrors.mTexts.clear();
  }
}

TEST_F(DiagramFaceTest, A_broken_picture_within_an_animation_is_reported_once_and_stops_it) {
  WriteStills();
  Write("C2SData.avi", avi::File({Png(Qt::red, {128, 48}), QByteArray("\x89PNG\r\n\x1a\n") + "nothing"},
                                 {.scale = 8 * kFrameMs, .rate = 1000}));
  ShowConnection(1);
  ASSERT_TRUE(Canvas().IsPlaying());
  for (int i = 0; i < 40 && world.mErrors.mTexts.isEmpty(); ++i)
    QTest::qWait(kFrameMs / 2);
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts.first().endsWith(u"C2SData.avi"));
  Frame();
  EXPECT_FALSE(Canvas().IsPlaying()) << "nothing is left to play";
  EXPECT_EQ(world.mErrors.mTexts.size(), 1);
}

/// What the first line of ink takes, in pixels.
QSize FirstInk(const QImage& image) {
  QRect ink;
  for (int y = 0; y < image.height(); ++y) {
    QRect row;
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixel(x, y) != QColor(Qt::white).rgb()) row |= QRect(x, y, 1, 1);
    }
    if (row.isNull() && !ink.isNull()) break;
    ink |= row;
  }
  return ink.size();
}

QImage Label(const QString& text, const QSize& room) {
  QImage image(200, 100, QImage::Format_RGB32);
  image.fill(Qt::white);
  AnimationFiles files([](const Failure&) {});
  DiagramCells cells;
  cells[static_cast<std::size_t>(lblClient)][1] = {
      .place = {0, 0, room.width() * kTwipsPerPixel, room.height() * kTwipsPerPixel},
      .file = {},
      .text = text};
  QPainter painter(&image);
  DiagramPainter(painter, files, image.rect()).Paint(cells, 0);
  return image;
}

TEST(DiagramPainterTest, A_label_of_two_lines_is_painted_in_a_room_too_low_for_one) {
  for (const int high : {1, 6, 12, 20})
    EXPECT_FALSE(FirstInk(Label(u"one\ntwo"_qs, {150, high})).isEmpty()) << high;
}

TEST(DiagramPainterTest, A_label_without_room_is_cut_before_its_words_get_too_small_to_read) {
  const QString word = QStringLiteral("HHHHHHHH");  // one to a line, at each size
  const auto inkAt = [&word](int pixels) {
    QImage image(200, 50, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font = painter.font();
    font.setPixelSize(pixels);
    painter.setFont(font);
    painter.drawText(5, 30, word);
    painter.end();
    return FirstInk(image).width();
  };
  ASSERT_LT(inkAt(8), inkAt(9));
  EXPECT_NEAR(FirstInk(Label((word + u' ').repeated(30), {90, 50})).width(), inkAt(9), 1);
}

TEST_F(DiagramFaceTest, A_server_stands_before_its_cloud_and_its_words_before_the_cloud_of_the_next_row) {
  WriteStills();
  Write("Cloud.bmp", Png(Qt::red, {112, 104}));
  DiagramCells cells;
  const auto put = [&](DiagramArray array, int row, const QString& file, const QString& text) {
    const Rect place =
        IsLabel(array) ? LabelPlace(aniServer, CellPlace(aniServer, row)) : CellPlace(array, row);
    cells[static_cast<std::size_t>(array)][row] = {.place = place, .file = file, .text = text};
  };
  for (const int row : {1, 2})
    put(pctInternet, row, PathOf("Cloud.bmp"), {});
  put(aniServer, 1, PathOf("ComputerOn.avi"), {});
  const auto paint = [&] {
    QImage image(760, 300, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    AnimationFiles files([](const Failure&) {});
    DiagramPainter(painter, files, image.rect()).Paint(cells, 0);
    return image;
  };
  const QRect both =
      PixelRect(LabelPlace(aniServer, CellPlace(aniServer, 1))) & PixelRect(CellPlace(pctInternet, 2));
  const auto darkDots = [&](const QImage& image) {
    int dots = 0;
    for (int y = both.top(); y <= both.bottom(); ++y) {
      for (int x = both.left(); x <= both.right(); ++x)
        dots += image.pixelColor(x, y).red() < 160;
    }
    return dots;
  };
  EXPECT_EQ(darkDots(paint()), 0) << "nothing but the cloud";
  put(lblServer, 1, {}, QStringLiteral("server.example\n(10.0.0.2:80)"));
  const QImage image = paint();
  EXPECT_EQ(image.pixelColor(PixelRect(CellPlace(aniServer, 1)).center()), QColor(Qt::blue));
  EXPECT_EQ(image.pixelColor(both.bottomLeft()), QColor(Qt::red));
  EXPECT_GT(darkDots(image), 20) << "the words";
}

TEST_F(DiagramFaceTest, Links_can_be_clicked_and_the_pointer_tells_so) {
  WriteStills();
  ShowConnection(3);
  Hover(Middle(aniClient2VLT, 2));
  EXPECT_EQ(Canvas().cursor().shape(), Qt::PointingHandCursor);
  Hover(Middle(lblClient2VLT, 2));
  EXPECT_EQ(Canvas().cursor().shape(), Qt::ArrowCursor);
  QTest::mouseClick(&Canvas(), Qt::LeftButton, {}, Middle(lblClient2VLT, 2));
  QTest::mouseClick(&Canvas(), Qt::LeftButton, {}, Middle(aniClient, 2));
  EXPECT_FALSE(window.shpHighlight.Visible());
  QTest::mouseClick(&Canvas(), Qt::LeftButton, {}, Middle(aniClient2VLT, 2));
  EXPECT_TRUE(window.shpHighlight.Visible());
  EXPECT_EQ(window.shpHighlight.Place(), HighlightPlace(CellPlace(aniClient2VLT, 2)));
  EXPECT_EQ(window.lblDetails.PanelText(2), QStringLiteral("Event 2 of 3  "));
  Frame();
  const QPoint edge = PixelRect(window.shpHighlight.Place()).center() -
                      QPoint(PixelRect(window.shpHighlight.Place()).width() / 2 - 1, 0);
  EXPECT_NE(Canvas().grab().toImage().pixelColor(edge), QColor(Qt::white));
}

TEST_F(DiagramFaceTest, A_press_that_is_released_elsewhere_opens_nothing) {
  WriteStills();
  ShowConnection(3);
  QTest::mousePress(&Canvas(), Qt::LeftButton, {}, Middle(aniClient2VLT, 2));
  QTest::mouseRelease(&Canvas(), Qt::LeftButton, {}, Middle(aniClient2VLT, 1));
  QTest::mousePress(&Canvas(), Qt::RightButton, {}, Middle(aniClient2VLT, 2));
  QTest::mouseRelease(&Canvas(), Qt::RightButton, {}, Middle(aniClient2VLT, 2));
  EXPECT_FALSE(window.shpHighlight.Visible());
}

TEST_F(DiagramFaceTest, Wheel_keys_and_bar_scroll_and_agree_with_the_form) {
  WriteStills();
  ShowConnection(20);
  ASSERT_TRUE(Bar().isVisible());
  EXPECT_EQ(Bar().maximum(), window.scrConnectionPanelVert.Max());
  Bar().setValue(50);
  EXPECT_EQ(window.fraConnectionPanel.Place().top, -500);
  QWheelEvent wheel(QPointF(50, 50), Canvas().mapToGlobal(QPointF(50, 50)), {}, {0, -120}, Qt::NoButton, {},
                    Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(&Canvas(), &wheel);
  EXPECT_LT(window.fraConnectionPanel.Place().top, -500);
  QTest::keyClick(&Canvas(), Qt::Key_End);
  EXPECT_EQ(Bar().value(), Bar().maximum());
  QTest::keyClick(&Canvas(), Qt::Key_PageUp);
  EXPECT_LT(Bar().value(), Bar().maximum());
  QTest::keyClick(&Canvas(), Qt::Key_Home);
  EXPECT_EQ(window.fraConnectionPanel.Place().top, 0);
  QTest::keyClick(&Canvas(), Qt::Key_Down);
  EXPECT_EQ(window.fraConnectionPanel.Place().top, -400);
  window.HighlightEvent(history->mobjSocketPairEvents.Item(20)->mobjUIObject.lock());
  EXPECT_EQ(Bar().value(), Bar().maximum());
}

TEST_F(DiagramFaceTest, The_diagram_is_white_under_a_dark_desktop_too) {
  QPalette dark;
  dark.setColor(QPalette::Window, Qt::black);
  dark.setColor(QPalette::Base, Qt::black);
  const QPalette before = QApplication::palette();
  QApplication::setPalette(dark);
  WriteStills();
  ShowConnection(1);
  const QImage picture = face->findChild<QFrame*>(QStringLiteral("panDiagramOuter"))->grab().toImage();
  EXPECT_EQ(picture.pixelColor(3, picture.height() / 2), QColor(Qt::white));
  EXPECT_EQ(picture.pixelColor(picture.width() / 2, picture.height() - 40), QColor(Qt::white));
  QApplication::setPalette(before);
}

}  // namespace
}  // namespace veltrane
