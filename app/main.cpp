#include <QApplication>
#include <QSessionManager>

#include "app/Application.h"

namespace {

/// Catches what an event procedure lets out; Qt's loop itself lets nothing through.
class VeltraneApplication : public QApplication {
 public:
  using QApplication::QApplication;

  veltrane::Application* mApplication = nullptr;

  bool notify(QObject* receiver, QEvent* event) override {
    try {
      return QApplication::notify(receiver, event);
    } catch (...) {
      if (mApplication) mApplication->Escaped(veltrane::CurrentFailure());
      return true;
    }
  }
};

}  // namespace

int main(int argc, char* argv[]) {
  veltrane::TerminationSignals::Block();
  QApplication::setApplicationName(QStringLiteral("Veltrane"));
  QApplication::setQuitOnLastWindowClosed(false);
  VeltraneApplication qt(argc, argv);
  veltrane::Application application;
  qt.mApplication = &application;
  // The end of the desktop's session is the same shut-down as File, Exit.
  QObject::connect(&qt, &QGuiApplication::commitDataRequest, &qt,
                   [&application](QSessionManager&) { application.EndSession(); });
  const int result = application.Run(QApplication::arguments().mid(1));
  qt.mApplication = nullptr;
  return result;
}
