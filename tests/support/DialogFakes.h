// The main window and the desktop's notification area, as the dialogs know them.
#pragma once

#include <QFile>
#include <QTemporaryDir>

#include "base/Failure.h"
#include "tests/support/World.h"
#include "ui/MainShell.h"
#include "ui/NotificationArea.h"

namespace veltrane {

class FakeShell : public MainShell {
 public:
  FakeShell(Form& window, Journal& journal) : mWindow(window), mJournal(journal) {}

  Form& Window() override { return mWindow; }
  void SetToolBarVisible(bool visible) override { Note("toolbar", visible); }
  void SetStatusBarVisible(bool visible) override { Note("status bar", visible); }
  void ResizeForm() override { mJournal.Note(QStringLiteral("ResizeForm")); }
  void PlayAnimations(bool play) override {
    Note("animations", play);
    if (mFailAnimations) throw Failure(5, QStringLiteral("no animation"));
  }
  void Terminate() override { mJournal.Note(QStringLiteral("Terminate")); }

  bool mFailAnimations = false;

 private:
  void Note(const char* what, bool on) {
    mJournal.Note(QLatin1String(what) + (on ? QStringLiteral(" on") : QStringLiteral(" off")));
  }

  Form& mWindow;
  Journal& mJournal;
};

/// An area that keeps the images it was given.
class FakeNotificationArea : public NotificationArea {
 public:
  bool IsAvailable() const override {
    ++mAsked;
    return mAvailable;
  }
  void AddIcon(frmSysTray&, const QString& tip) override {
    mTip = tip;
    mHasIcon = true;
  }
  void SetImage(int image) override { mImages.append(image); }
  void RemoveIcon() override { mHasIcon = false; }

  bool mAvailable = true;
  mutable int mAsked = 0;
  bool mHasIcon = false;
  QString mTip;
  QList<int> mImages;
};

/// A World whose program has a folder of its own, to hold the files that stand beside it.
struct DialogWorld : World {
  explicit DialogWorld(Desktop* desktop = nullptr, SocketFactory* network = nullptr)
      : World(network),
        mDialogGeneral({mStore, network ? *network : static_cast<SocketFactory&>(mSockets), mTimers, mClock,
                        mRandom, desktop ? *desktop : static_cast<Desktop&>(mDesktop), mErrors,
                        mProgramFolder.path(), mProgramFolder.path()},
                       AllProtocols()) {
    QFile ports(PortListPath());
    if (!ports.open(QIODevice::WriteOnly)) throw Failure(FailureNumber::kInternal);
    ports.write("80,\"Web\"\n21,\"Files\"\n443,\"Secure web\"\n");
    mDialogGeneral.gobjLogging = &mRecorder;
    mDialogGeneral.frmMain = &mMain;
    mDialogGeneral.frmProblemSimulation = &mSchedule;
  }
  QString PortListPath() const { return mProgramFolder.path() + QStringLiteral("/PORTS.TXT"); }
  /// The dialogs are to have the listener of the running program.
  Listening& Listen() {
    mDialogGeneral.gobjListening = std::make_shared<Listening>(mDialogGeneral);
    mDialogGeneral.gobjListening->InitaliseListeningSockets();
    return *mDialogGeneral.gobjListening;
  }

  QTemporaryDir mProgramFolder;
  General mDialogGeneral;
  FakeShell mShell{mMain, mJournal};
};

}  // namespace veltrane
