// The order in which the system comes up. Everything here runs before the message loop.
#pragma once

#include <QStringList>

#include "engine/General.h"

namespace veltrane {

/// What Main brings up beside the engine's own objects. app/ has the real one.
class StartUp {
 public:
  virtual ~StartUp() = default;

  virtual bool IsAnotherInstanceRunning() = 0;
  /// Creates the recorder; it lives until the end of the program.
  virtual Recorder& CreateLogging() = 0;
  /// One handler of each class in the order of the list of protocols, for their names and property pages.
  virtual QList<ProtocolHandlerRef> CreateProtocols() = 0;

  // The windows. Asking for one does not load it.
  virtual Form& SplashForm() = 0;
  virtual Form& MainForm() = 0;
  virtual Form& ConfigureForm() = 0;
  virtual Form& ErrorForm() = 0;
  virtual Form& ProblemSimulationForm() = 0;
  virtual Form& RealTimeLoggingForm() = 0;
};

class Main {
 public:
  Main(General& general, StartUp& startUp) : mGeneral(general), mStartUp(startUp) {}

  /// Brings the system up in its fixed order. commandLine is without the program's name; none is accepted.
  /// False when the program is to end at once. A failure on the way is reported, and the program runs with
  /// what came up.
  bool Run(const QStringList& commandLine);

 private:
  template <class Body>
  void Step(Body&& body);
  void ShowSplash();
  void LimitPayload();
  void ClearEphemeralPorts();
  void StartEngine();
  void ShowMainWindow();
  void ShowConfiguration();
  void EndSplash();
  void ShowWelcome();

  General& mGeneral;
  StartUp& mStartUp;
};

}  // namespace veltrane
