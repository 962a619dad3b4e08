#include <QApplication>
#include <QEvent>

#include <sys/resource.h>

#include "app/Application.h"
#include "app/Terminal.h"
#include "ui/faces/Pictures.h"

namespace {

/// Catches what an event procedure lets out, Qt's loop itself lets nothing through; and takes the end of the
/// desktop's session for what it is.
class VeltraneApplication : public QApplication {
 public:
  using QApplication::QApplication;

  veltrane::Application* mApplication = nullptr;

  bool event(QEvent* event) override {
    if (event->type() != QEvent::Quit || !mApplication) return QApplication::event(event);
    // The same shut-down as File, Exit. It comes when the session really ends; one that the user called off
    // leaves the program as it is.
    mApplication->EndSession();
    return true;
  }

  bool notify(QObject* receiver, QEvent* event) override {
    try {
      return QApplication::notify(receiver, event);
    } catch (...) {
      if (mApplication) mApplication->Escaped(veltrane::CurrentFailure());
      return true;
    }
  }
};

/// A connection takes two descriptors, and what a session begins with is often enough for 500 connections
/// only.
void AllowAllDescriptors() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int argc, char* argv[]) {
  veltrane::TerminationSignals::Block();
  AllowAllDescriptors();
  // The toolkit's own words, which it would wait to get rid of.
  qInstallMessageHandler(
      [](QtMsgType, const QMessageLogContext&, const QString& text) { veltrane::TellTerminal(text); });
  QApplication::setApplicationName(QStringLiteral("Veltrane"));
  // The entry of the desktop's menu (desktop/veltrane.desktop), which tells the desktop whose windows these
  // are.
  QApplication::setDesktopFileName(QStringLiteral("veltrane"));
  QApplication::setQuitOnLastWindowClosed(false);
  QStringList commandLine;
  for (int i = 1; i < argc; ++i)
    commandLine.append(QString::fromLocal8Bit(argv[i]));
  // Qt would take some words for itself; this program accepts none.
  int nameOnly = 1;
  VeltraneApplication qt(nameOnly, argv);
  QApplication::setWindowIcon(veltrane::Picture(QStringLiteral("Veltrane")));
  veltrane::Application application;
  qt.mApplication = &application;
  const int result = application.Run(commandLine);
  qt.mApplication = nullptr;
  return result;
}
