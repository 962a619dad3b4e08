#include "engine/Main.h"

#include <array>

#include "base/Numbers.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"

namespace veltrane {
namespace {

constexpr std::chrono::milliseconds kSplashPause{2000};

QString Welcome() {
  constexpr std::array kLines{
      "Welcome to Veltrane!",
      "",
      "To help you get started, Veltrane has been automatically configured to handle",
      "- SMTP (outgoing e-mail) on port 25 ",
      "- POP3 (incoming e-mail) on port 110 ",
      "- HTTP (web browsing) on port 8080",
      "- HTTPS (secure web browsing) on port 443 ",
      "- FTP (File Transfer Protocol) on port 21 and",
      "- Pass Through (For testing custom applications) on port 1000.",
      "",
      "You will need to configure your email client and web browser to connect to Veltrane.  Details can be "
      "found in the Help "
      "by looking under the heading 'Configuring Veltrane and the Client Software'. Also, be sure to click "
      "on "
      "'Configure...' on the following screen to enter the name of your email servers.",
      "",
      "To learn more about Veltrane please visit ",
      "",
      "This message box will not be displayed again.",
  };
  QString text;
  for (const char* const words : kLines) {
    const QLatin1String line(words);
    text += line;
    if (line.endsWith(u"please visit ")) text += kProductAddress;
    text += u'\n';
  }
  return text;
}

constexpr char16_t kFailureText[] =
    u"An error occurred while attempting to start Veltrane.  The operating system reports: ";

/// An unusable value is reported, and the default rules: a slip in one option must not cost the user the
/// main window.
double Option(General& general, const QString& key, int defaultValue) {
  double value = defaultValue;
  general.Guard(kFailureText, [&] {
    value = ToDouble(general.mSettings.Get(QStringLiteral("Options"), key, QString::number(defaultValue)));
  });
  return value;
}

}  // namespace

bool Main::Run(const QStringList& commandLine) {
  if (!commandLine.join(u' ').trimmed().isEmpty()) {
    mGeneral.mPlatform.desktop.Ask({QStringLiteral("Please remove all command line arguments."),
                                    BoxIcon::kExclamation, BoxButtons::kOk, kApplicationName});
    return false;
  }
  if (mStartUp.IsAnotherInstanceRunning()) return false;

  // Each step is guarded for itself: without the rest of them the program would run without a window.
  Step([&] { ShowSplash(); });
  Step([&] {
    const Clock::Instant now = mGeneral.mPlatform.clock.Steady();
    mGeneral.mPlatform.random.Randomize(static_cast<unsigned>(now.count()));
    mGeneral.CheckFirstRun();
    mGeneral.gblnConnectionDiagramSelected = true;
    mGeneral.gblnRecordEvents = true;
  });
  Step([&] { LimitPayload(); });
  Step([&] { ClearEphemeralPorts(); });
  Step([&] { StartEngine(); });
  Step([&] { ShowMainWindow(); });
  Step([&] { ShowConfiguration(); });
  Step([&] { EndSplash(); });
  Step([&] {
    if (mGeneral.gblnFirstRun) ShowWelcome();
  });
  Step([&] { mStartUp.ProblemSimulationForm().Load(); });
  Step([&] { mStartUp.RealTimeLoggingForm().Load(); });
  return true;
}

// The user, or the session, may have ended the program in the step before.
template <class Body>
void Main::Step(Body&& body) {
  if (!mGeneral.gblnClosing) mGeneral.Guard(kFailureText, std::forward<Body>(body));
}

void Main::ShowSplash() {
  Form& splash = mStartUp.SplashForm();
  if (Option(mGeneral, QStringLiteral("RunMinimized"), 0) == 0) {
    splash.Show();
    splash.Repaint();
  }
  // Whether it was shown or not.
  mGeneral.SetTopMostWindow(splash, true);
}

// What a slow reader makes the program hold must not eat the machine.
void Main::LimitPayload() {
  constexpr int kPercent = 25;
  const double percent = Option(mGeneral, QStringLiteral("PayloadMemoryPercent"), kPercent);
  mGeneral.mPayloadLimit.SetMost(
      static_cast<qint64>(static_cast<double>(mGeneral.mPlatform.machineMemory) * percent / 100));
}

// What the FTP handler left behind in the last run.
void Main::ClearEphemeralPorts() {
  for (const auto& [port, protocol] : mGeneral.mSettings.All(kProtocols)) {
    if (!protocol.contains(kDynamicallyAllocated, Qt::CaseInsensitive)) continue;
    // Each row for itself: one that is no port keeps neither the others nor the program from going on.
    mGeneral.Guard(kFailureText, [&, text = port] { mGeneral.DeleteEphemeralPortReferences(ToInt16(text)); });
  }
}

void Main::StartEngine() {
  mGeneral.gobjLogging = &mStartUp.CreateLogging();
  mGeneral.gobjListening = std::make_shared<Listening>(mGeneral);
  mGeneral.gobjListening->InitaliseListeningSockets();
}

void Main::ShowMainWindow() {
  Form& mainForm = mStartUp.MainForm();
  mainForm.Show();
  mainForm.Repaint();
  for (const ProtocolHandlerRef& handler : mStartUp.CreateProtocols()) {
    mGeneral.gcolProtocols.Add(handler, handler->GetProtocolName());
  }
}

void Main::ShowConfiguration() {
  if (Option(mGeneral, QStringLiteral("ShowConfigAtStartUp"), 1) == 1) {
    Form& configure = mStartUp.ConfigureForm();
    configure.Show(&mStartUp.MainForm());
    configure.Repaint();
  }
  Form& error = mStartUp.ErrorForm();
  if (error.Visible()) {
    error.BringToFront();
    error.Repaint();
  }
  mGeneral.mHelpFile = mGeneral.mPlatform.programFolder + QStringLiteral("/Help/VLT.chm");
}

void Main::EndSplash() {
  Form& splash = mStartUp.SplashForm();
  splash.Repaint();
  // Blocks the thread: a connection that arrives now waits in the system's queue.
  mGeneral.mPlatform.clock.Sleep(kSplashPause);
  mGeneral.SetTopMostWindow(splash, false);
  splash.Unload();
}

void Main::ShowWelcome() {
  mGeneral.mPlatform.desktop.Ask({Welcome(), BoxIcon::kInformation, BoxButtons::kOk, kApplicationName});
}

}  // namespace veltrane
