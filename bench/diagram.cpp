// What the connection diagram costs, with 200 events in the history: a redraw of a page, until its pixels
// stand, and a live event. Ends with 1 when the median of either is above its limit, or when a page has not
// its 20 rows. The window shows what its opening size shows, then a whole page of 20 rows.
//
//   diagram [REDRAW_MS LIVE_EVENT_MS]     other limits than 30 and 1
#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <vector>

#include "engine/Listening.h"
#include "history/Logging.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/faces/AnimationFiles.h"
#include "ui/faces/DiagramFace.h"
#include "ui/faces/DiagramPainter.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/Twips.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmMain.h"

namespace {

using namespace veltrane;

constexpr int kEvents = 200;
constexpr int kRounds = 300;
// The most that the median may be, in ms.
double redrawMs = 30;
double liveEventMs = 1;
constexpr double kUnlimited = 1e9;

struct Bench {
  Bench() {
    general.frmMain = &window;
    general.gobjLogging = &logging;
    general.gblnConnectionDiagramSelected = true;
    logging.SetSurroundings(around.Around(window));
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    general.gobjListening = std::make_shared<Listening>(general);
    general.gobjListening->InitaliseListeningSockets();
    window.Show();
    history->mstrSocketPairKey = QStringLiteral("KEY1");
    history->mstrRemoteClientName = QStringLiteral("tester.example.test");
    history->mlngLocalServerPort = history->mlngWasListeningOnPort = 1000;
    for (int i = 0; i < kEvents; ++i)
      Add();
    logging.mobjSocketPairHistory.Add(history, history->mstrSocketPairKey);
    for (const char* key : {"PROTO1000", "CON1000", "KEY1"})
      window.tvwSockets.ClickNode(window.tvwSockets.Node(QLatin1String(key)));
    canvas = desktop.FaceOf(window)->findChild<DiagramFace*>();
  }

  /// All kinds in turn, none of which continues a row: a page has its 20 rows.
  void Add() {
    const auto event = std::make_shared<SocketEvent>();
    event->mobjEventType =
        static_cast<SocketEventType>(history->mobjSocketPairEvents.Count() % kSocketEventTypes);
    event->mstrDescription = QStringLiteral(
        "8192 bytes of data has been buffered. (Previous send to remote client is still in progress)");
    event->mstrEventTime = QStringLiteral("10:00:00.000");
    history->AddEvent(event);
  }

  void Measure(const char* what, double limitMs, const std::function<void(int)>& run,
               const std::function<void(int)>& prepare) {
    std::vector<double> times;
    double processor = 0;
    for (int round = 0; round < kRounds; ++round) {
      prepare(round);
      const std::clock_t begin = std::clock();
      QElapsedTimer clock;
      clock.start();
      run(round);
      processor += 1000.0 * static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
      times.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }
    const double first = times.front();
    std::sort(times.begin(), times.end());
    const auto at = [&times](double share) { return times[static_cast<std::size_t>(share * (kRounds - 1))]; };
    std::printf("| %s | %.2f | %.3f | %.3f | %.3f | %.3f |\n", what, first, at(0.5), at(0.99), at(1),
                processor / kRounds);
    if (at(0.5) <= limitMs) return;
    std::fprintf(stderr, "%s: the median is above %g ms\n", what, limitMs);
    slow = true;
  }

  /// So that nothing fast is measured where nothing is drawn.
  void ExpectWholePage() {
    const auto rows = static_cast<int>(window.fraConnectionPanel.Cells(DiagramArray::aniVLT).size());
    if (rows == kEventsPerPage) return;
    std::fprintf(stderr, "a page has %d rows\n", rows);
    slow = true;
  }

  void TurnPage(int round) {
    window.CheckForPageChange(static_cast<qint16>(round % 10 * kEventsPerPage + 1));
  }

  void Run(const char* size) {
    const auto nothing = [](int) {};
    Measure(
        qPrintable(QStringLiteral("%1: redraw of a page until it is drawn").arg(QLatin1String(size))),
        redrawMs,
        [this](int) {
          window.DisplayConnectionDiagram(history);
          canvas->repaint();
        },
        [this](int round) { TurnPage(round); });
    ExpectWholePage();
    Measure(
        qPrintable(QStringLiteral("%1: all painted once more").arg(QLatin1String(size))), kUnlimited,
        [this](int) { canvas->repaint(); }, nothing);
  }

  /// What the first page costs: its files are read and decoded.
  void RunFirst() {
    const Rect& surface = window.fraConnectionPanel.Place();
    QImage image(QSize(Pixels(surface.width), Pixels(surface.height)), QImage::Format_RGB32);
    Measure(
        "the first page, with its files read", kUnlimited,
        [&](int) {
          AnimationFiles files([](const Failure&) {});
          QPainter painter(&image);
          DiagramPainter(painter, files, image.rect()).Paint(window.fraConnectionPanel.Cells(), 0);
        },
        [this](int round) {
          TurnPage(round);
          window.DisplayConnectionDiagram(history);
        });
  }

  void RunLogic() {
    Measure(
        "redraw of a page, the logic alone", redrawMs,
        [this](int) { window.DisplayConnectionDiagram(history); }, [this](int round) { TurnPage(round); });
    // A page that grows to its end, then begins anew.
    Measure(
        "a live event, the logic alone", liveEventMs,
        [this](int) { window.AddConnectionDiagramEvent(history); },
        [this](int round) {
          if (round % kEventsPerPage == 0) {
            while (history->mobjSocketPairEvents.Count() > kEvents - kEventsPerPage)
              history->mobjSocketPairEvents.RemoveFirst();
            Add();
            window.CheckForPageChange(static_cast<qint16>(history->mobjSocketPairEvents.Count()));
            window.DisplayConnectionDiagram(history);
          }
          Add();
        });
    Measure(
        "a live event of another page", liveEventMs,
        [this](int) { window.AddConnectionDiagramEvent(history); },
        [this](int) {
          window.CheckForPageChange(1);
          Add();
        });
  }

  World world;
  WidgetDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, QCoreApplication::applicationDirPath()},
                  AllProtocols()};
  HistoryFakes around{world.mJournal};
  Logging logging{general};
  frmMain window{general, logging};
  std::shared_ptr<SocketPairHistory> history = std::make_shared<SocketPairHistory>();
  DiagramFace* canvas = nullptr;
  bool slow = false;
};

}  // namespace

int main(int argc, char* argv[]) {
  const QApplication application(argc, argv);
  if (argc == 3) {
    redrawMs = std::atof(argv[1]);
    liveEventMs = std::atof(argv[2]);
  }
  std::puts("| ms | first | median | p99 | greatest | processor, mean |");
  std::puts("|---|---|---|---|---|---|");
  Bench bench;
  const struct {
    const char* name = nullptr;
    QSize size;
  } rows[] = {{"1024 x 700", {1024, 700}}, {"all 20 rows", {1300, 2500}}};
  for (const auto& row : rows) {
    bench.desktop.FaceOf(bench.window)->resize(row.size);
    QTimer::singleShot(200, qApp, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
    bench.Run(row.name);
  }
  bench.RunFirst();
  bench.RunLogic();
  for (const QString& text : bench.world.mErrors.mTexts)
    std::printf("%s\n", qPrintable(text));
  return bench.world.mErrors.mTexts.isEmpty() && !bench.slow ? 0 : 1;
}
