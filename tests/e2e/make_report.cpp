// make_report FOLDER PROGRAM-FOLDER: records connections over loopback and saves them through the dialog, for
// report_test.py to look at in a browser. FOLDER/Report.htm: a real conversation with payload that would like
// to be a web page, in rows long enough for a whole tag. FOLDER/AllKinds.htm: each kind of event once.
#include <QCoreApplication>

#include <cstdio>

#include "tests/reports/RecordedWorld.h"

namespace veltrane {
namespace {

const QByteArray kHostile =
    "<script>document.title='hostile';alert(1)</script><img src=x onerror=\"alert(2)\">]]>\r\n\r</small></td>"
    "</table><iframe src='javascript:alert(3)'></iframe>&lt;b&gt; &amp; ";

QByteArray EveryByteValue() {
  QByteArray bytes;
  for (int code = 0; code < 256; ++code)
    bytes.append(static_cast<char>(code));
  return bytes;
}

bool SaveReport(RecordedWorld& world, const QString& path, int bytesPerRow) {
  frmSaveHistory& form = world.OpenDialog();
  form.txtBytesPerRow.SetText(QString::number(bytesPerRow));
  form.txtFile.SetText(path);
  form.cmdSave.Click();
  return !form.IsLoaded();
}

bool Converse(RecordedWorld& world) {
  world.mForm.txtDangleStopTime.SetText(QStringLiteral("1000"));
  bool fine = world.Connect();
  fine = fine && world.Send(*world.mClient, *world.mServerEnd, "GET / HTTP/1.0\r\n\r\n" + kHostile);
  fine = fine && world.Send(*world.mServerEnd, *world.mClient, kHostile + EveryByteValue());
  world.mForm.cmdDangleAll.Click();
  world.mClient->Send("held");
  world.mNet.Settle();
  world.mTimers.Advance(std::chrono::milliseconds(1000));
  world.mNet.Settle();
  return world.Close() && fine;
}

void AddAllKinds(RecordedWorld& world) {
  const auto history = std::make_shared<SocketPairHistory>(world.History());
  history->mobjSocketPairEvents = {};
  history->mstrSocketPairKey = QStringLiteral("KEY1000");
  for (int kind = 0; kind < kSocketEventTypes; ++kind) {
    const auto event = std::make_shared<SocketEvent>();
    event->mstrEventTime = QStringLiteral("10:00:00.000");
    event->mobjEventType = static_cast<SocketEventType>(kind);
    event->mstrDescription = QStringLiteral("Event of kind %1").arg(kind);
    if (kind >= etClientBytesReceived && kind <= etClientBytesSentThrottled) {
      event->mstrData = Payload(EveryByteValue());
    }
    history->AddEvent(event);
  }
  world.mLogging.mobjSocketPairHistory.Add(history, history->mstrSocketPairKey);
}

bool Run(const QString& folder, const QString& programFolder) {
  RecordedWorld world(programFolder);
  bool fine = Converse(world) && SaveReport(world, folder + QStringLiteral("/Report.htm"), 128);
  AddAllKinds(world);
  fine = fine && SaveReport(world, folder + QStringLiteral("/AllKinds.htm"), 16);
  for (const QString& text : world.mErrors.mTexts)
    std::fprintf(stderr, "%s\n", qPrintable(text));
  return fine && world.mErrors.mTexts.isEmpty();
}

}  // namespace
}  // namespace veltrane

int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  if (argc != 3) return 2;
  return veltrane::Run(QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2])) ? 0 : 1;
}
