// Saves a history of 200 events of 1 MB each, through the modules that the dialog calls, and prints time and
// extra memory as rows of bench/README.md. The file is on the disk of the folder named on the command line.
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>

#include "history/Logging.h"
#include "reports/SavingData.h"
#include "reports/SavingHTML.h"
#include "reports/frmSaveHistory.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

constexpr int kEvents = 200;
constexpr int kBytes = 1'000'000;
constexpr double kMega = 1e6;

/// A field of /proc/self/status in MB.
double StatusMegabytes(const char* field) {
  QFile status(QStringLiteral("/proc/self/status"));
  if (!status.open(QIODevice::ReadOnly)) return 0;
  for (const QByteArray& line : status.readAll().split('\n'))
    if (line.startsWith(field))
      return line.mid(static_cast<int>(qstrlen(field))).simplified().split(' ')[0].toDouble() * 1024 / kMega;
  return 0;
}

/// Lets the peak begin anew at what is in memory now.
void ForgetPeak() {
  QFile file(QStringLiteral("/proc/self/clear_refs"));
  if (file.open(QIODevice::WriteOnly)) file.write("5");
}

SocketPairHistoryRef MakeHistory() {
  auto history = std::make_shared<SocketPairHistory>();
  quint32 state = 1;
  for (int i = 0; i < kEvents; ++i) {
    QByteArray bytes(kBytes, Qt::Uninitialized);
    for (char& byte : bytes) {
      state = state * 1664525u + 1013904223u;
      byte = static_cast<char>(state >> 24);
    }
    auto event = std::make_shared<SocketEvent>();
    event->mobjEventType = etClientBytesReceived;
    event->mstrEventTime = QStringLiteral("10:00:00.000");
    event->mstrDescription =
        QStringLiteral("1000000 bytes of data has been received from the remote server.");
    event->mstrData = Payload(bytes);
    history->AddEvent(event);
  }
  return history;
}

template <class Save>
void Measure(const char* name, const QString& file, Save&& save) {
  ForgetPeak();
  const double before = StatusMegabytes("VmRSS:");
  const auto start = std::chrono::steady_clock::now();
  const bool fine = save(file);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  const double extra = StatusMegabytes("VmHWM:") - before;
  std::printf("| %s | %.2f | %.0f | %.0f |%s\n", name, time.count(), extra,
              static_cast<double>(QFile(file).size()) / kMega, fine ? "" : " FAILED");
  QFile::remove(file);
}

int Run(const QString& where) {
  World world;
  Logging logging(world.mGeneral);
  frmSaveHistory form(world.mGeneral, logging, world.mMain);
  const SocketPairHistoryRef history = MakeHistory();
  logging.mobjSocketPairHistory.Add(history, QStringLiteral("KEY1"));
  TreeView& tree = world.mMain.tvwSockets;
  tree.SetSelectedItem(
      &tree.Add({}, QStringLiteral("KEY1"), QStringLiteral("One"), QStringLiteral("Socket")));
  form.Load();
  form.optFormat.Select(1);
  const QTemporaryDir folder(where + QStringLiteral("/saving-XXXXXX"));
  const QString file = folder.filePath(QStringLiteral("save.txt"));
  const auto text = [&](const QString& path) { return SaveDataFile(world.mGeneral, form, path, *history); };
  std::printf("| Saved as | s | extra MB | file MB |\n|---|---|---|---|\n");
  const char* const digits[] = {"", "text, hexadecimal", "text, octal", "text, decimal", "text, binary"};
  for (int option = 1; option <= 4; ++option) {
    form.optDisplayAs.Select(option);
    Measure(digits[option], file, text);
  }
  form.optDisplayAs.Select(0);
  form.cboDirection.SetListIndex(2);
  Measure("raw", file,
          [&](const QString& path) { return SaveRawDataFile(world.mGeneral, form, path, *history); });
  form.optDisplayAs.Select(1);
  Measure("report (size of the main page)", folder.filePath(QStringLiteral("Report.htm")),
          [&](const QString& path) { return SaveHTMLFile(world.mGeneral, form, path, *history); });
  for (const QString& error : world.mErrors.mTexts)
    std::fprintf(stderr, "%s\n", qPrintable(error));
  return world.mErrors.mTexts.isEmpty() ? 0 : 1;
}

}  // namespace
}  // namespace veltrane

int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  return veltrane::Run(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::tempPath());
}
