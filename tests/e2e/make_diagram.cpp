// Paints pages of the connection diagram with every kind of event, at 100 % and 200 %: make_diagram FOLDER
// PROGRAM. The pictures of the diagram stand beside the program.
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPainter>

#include <cstdio>

#include "engine/Listening.h"
#include "history/Logging.h"
#include "protocols/ProtocolTable.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/faces/AnimationFiles.h"
#include "ui/faces/DiagramPainter.h"
#include "ui/faces/Twips.h"
#include "ui/frmMain.h"

namespace {

using namespace veltrane;

// The words are those that the recorder uses.
const char* const kDescriptions[kSocketEventTypes] = {
    "Remote connection request accepted",
    "Remote connection request was scheduled for rejection",
    "A connection request has been made to shop.example.test:8080.",
    "The connection request failed - Connection is forcefully rejected",
    "The connection request to the remote server has been successful. ",
    "The remote server has disconnected. ",
    "VLT has disconnected from the remote client.",
    "The remote client has disconnected.",
    "VLT has disconnected from the remote server.",
    "131072 bytes of data has been received from the remote server.",
    "8192 bytes of data has been buffered. (Previous action still in progress)",
    "8192 bytes of data has been buffered. (Remote server is being dangled)",
    "131072 bytes of data has been buffered. (Previous send to remote client is still in progress)",
    "131072 bytes of data has been buffered. (The remote client is being dangled)",
    "8192 bytes of data has been sent to the remote client.",
    "1024 bytes of throttled data has been sent to the remote client.",
    "512 bytes of data has been received from the remote client.",
    "512 bytes of data has been sent to the remote server.",
    "256 bytes of throttled data has been sent to the remote server.",
    "The local server socket is in a error state: 10054, Connection reset by peer",
    "The local client socket is in a error state: 10054, Connection reset by peer",
    "Remote server side dangling has started. No more data will be sent to the remote server for 5000 mSecs.",
    "Remote client side dangling has started. No more data will be sent to the remote client for 5000 mSecs.",
    "Remote server side dangling has stopped.",
    "Remote client side dangling has stopped.",
};

SocketPairHistoryRef EveryKind() {
  auto history = std::make_shared<SocketPairHistory>();
  history->mstrSocketPairKey = QStringLiteral("KEY1");
  history->mstrRemoteClientName = QStringLiteral("tester.example.test");
  history->mstrRemoteClientIP = QStringLiteral("192.0.2.17");
  history->mlngRemoteClientPort = 50123;
  history->mstrRemoteServerName = QStringLiteral("shop.example.test");
  history->mstrRemoteServerIP = QStringLiteral("198.51.100.203");
  history->mlngRemoteServerPort = 8080;
  history->mlngLocalServerPort = 8080;
  for (int kind = 0; kind < kSocketEventTypes; ++kind) {
    const auto event = std::make_shared<SocketEvent>();
    event->mobjEventType = static_cast<SocketEventType>(kind);
    event->mstrDescription = QLatin1String(kDescriptions[kind]);
    event->mstrEventTime = QStringLiteral("14:05:%1.250").arg(kind, 2, 10, QLatin1Char('0'));
    history->AddEvent(event);
  }
  return history;
}

QImage Picture(const frmMain& window, AnimationFiles& files, int scale) {
  const Rect& surface = window.fraConnectionPanel.Place();
  const QSize size(Pixels(surface.width), Pixels(surface.height));
  QImage image(size * scale, QImage::Format_RGB32);
  image.setDevicePixelRatio(scale);
  image.fill(Qt::white);
  QPainter painter(&image);
  DiagramPainter diagram(painter, files, QRect(QPoint(), size));
  for (const Label* heading : {&window.lblClientHeading, &window.lblVLTHeading, &window.lblServerHeading})
    diagram.PaintHeading(heading->Place(), heading->Caption());
  diagram.Paint(window.fraConnectionPanel.Cells(), 400);
  return image;
}

}  // namespace

int main(int argc, char* argv[]) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(argc, argv);
  if (argc != 3) return 2;
  const QDir folder(QString::fromLocal8Bit(argv[1]));
  const QString program = QFileInfo(QString::fromLocal8Bit(argv[2])).absolutePath();
  World world;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, world.mDesktop,
                   world.mErrors, program},
                  AllProtocols()};
  Logging logging(general);
  frmMain window(general, logging);
  HistoryFakes around(world.mJournal);
  general.frmMain = &window;
  general.gobjLogging = &logging;
  logging.SetSurroundings(around.Around(window));
  general.gobjListening = std::make_shared<Listening>(general);
  window.Load();
  window.FaceResized({}, 16000, 12000);
  bool failed = false;
  AnimationFiles files([&failed](const Failure& failure) {
    std::fprintf(stderr, "%s\n", qPrintable(failure.Text()));
    failed = true;
  });
  const SocketPairHistoryRef history = EveryKind();
  for (const int page : {1, 2}) {
    window.CheckForPageChange(static_cast<qint16>((page - 1) * kEventsPerPage + 1));
    window.DisplayConnectionDiagram(history);
    for (const int scale : {1, 2}) {
      const QString name = QStringLiteral("diagram-all-kinds-%1-%2.png").arg(page).arg(scale * 100);
      if (!Picture(window, files, scale).save(folder.filePath(name))) failed = true;
    }
  }
  return failed ? 1 : 0;
}
