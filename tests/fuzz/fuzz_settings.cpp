// A settings store whose every value is the same any text: each window that keeps settings is loaded from it,
// used for a moment and closed, and so are the port table and the option of who may connect.
#include <QHash>

#include <memory>
#include <vector>

#include "engine/Listening.h"
#include "engine/Strangers.h"
#include "failure/frmProblemSimulation.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "protocols/frmProtocolHTTPPP.h"
#include "protocols/frmProtocolPOP3PP.h"
#include "protocols/frmProtocolPassThruPP.h"
#include "reports/frmSaveHistory.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/DialogFakes.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/HistoryFakes.h"
#include "ui/frmConfigure.h"
#include "ui/frmEventDetails.h"
#include "ui/frmMain.h"
#include "ui/frmOptions.h"
#include "ui/frmPort.h"
#include "ui/frmRealTimeData.h"
#include "ui/frmSysTray.h"

namespace {

using namespace veltrane;

/// Any key of any section has the text; a section that is read whole has two rows, one named by it.
class AnyStore : public SettingsStore {
 public:
  explicit AnyStore(QString text) : mText(std::move(text)) {}
  bool IsTheUsers() override { return true; }
  QString GetSetting(const QString&, const QString&, const QString&, const QString&) override {
    return mText;
  }
  void SaveSetting(const QString&, const QString&, const QString&, const QString&) override {}
  void Together(const std::function<void()>& changes) override { changes(); }
  QList<SettingRow> GetAllSettings(const QString&, const QString&) override {
    return {{QStringLiteral("2000"), mText}, {mText, mText}};
  }
  void DeleteSetting(const QString&, const QString&, const QString&) override {}
  void DeleteSetting(const QString&, const QString&) override {}

 private:
  QString mText;
};

struct Program {
  explicit Program(const QString& text)
      : store(text),
        general({store, world.mSockets, world.mTimers, world.mClock, world.mRandom, world.mDesktop,
                 world.mErrors, world.mWriteFolder.path(), world.mWriteFolder.path()},
                AllProtocols()) {
    general.frmMain = &window;
    general.gobjLogging = &logging;
    general.frmProblemSimulation = &schedule;
    logging.SetSurroundings(fakes.Around(window));
    Add<frmOptions>(general, shell, tray, world.mWriteFolder.path());
    Add<frmPort>(general);
    Add<frmRealTimeData>(general, window);
    Add<frmEventDetails>(general, window);
    Add<frmRealTimeLogging>(general, panes);
    Add<frmSaveHistory>(general, logging, window);
    Add<frmConfigure>(general, window, port);
    AddPage<frmProtocolPassThruPP>();
    AddPage<frmProtocolHTTPPP>();
    AddPage<frmProtocolPOP3PP>();
  }
  template <class Window, class... Arguments>
  Window& Add(Arguments&&... arguments) {
    forms.push_back(std::make_unique<Window>(arguments...));
    return static_cast<Window&>(*forms.back());
  }
  template <class Page>
  void AddPage() {
    Page& page = Add<Page>(general);
    page.mlngPort = 2000;
    page.mobjParent = handler.get();
  }
  void Decide() {
    qint32 number = 0;
    qint32 period = 0;
    qint16 direction = 0;
    qint64 amount = 0;
    QString words;
    PastFailures([&] { schedule.ShouldConnectionRequestBeRefused(); });
    PastFailures([&] { schedule.ShouldConnectionBeTerminated(period, words); });
    PastFailures([&] { schedule.ShouldConnectionBeDangled(number, period, direction, words); });
    for (const bool toClient : {false, true})
      PastFailures([&] { schedule.IsThrottlingNeeded(toClient, 1000, amount, period); });
  }
  void Run() {
    general.gobjListening = std::make_shared<Listening>(general);
    general.gobjListening->InitaliseListeningSockets();
    // What a window lets out, the loop of events reports.
    PastFailures([&] { window.Load(); });
    PastFailures([&] { schedule.Load(); });
    for (const auto& form : forms)
      PastFailures([&] { form->Show(); });
    Decide();
    for (int second = 0; second < 3; ++second)
      PastFailures([&] { world.mTimers.Advance(std::chrono::seconds(1)); });
    logging.KillDeadSocketConnections();
    for (const auto& form : forms)
      PastFailures([&] { form->Unload(); });
    general.gobjListening->DeInitaliseListeningSockets();
  }

  World world;
  AnyStore store;
  General general;
  FakeShell shell{world.mMain, world.mJournal};
  FakeNotificationArea area;
  HistoryFakes fakes{world.mJournal};
  FakeStatusPanes panes;
  Logging logging{general};
  frmMain window{general, logging};
  frmProblemSimulation schedule{general, panes};
  frmPort port{general};
  Form configure{world.mDesktop, QStringLiteral("frmConfigure")};
  Form error{world.mDesktop, QStringLiteral("frmError")};
  frmSysTray tray{general, shell, area, {configure, error}};
  ProtocolHandlerRef handler = ListedProtocols().front()(general);
  std::vector<std::unique_ptr<Form>> forms;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QString text = QString::fromUtf8(Input(data, size));
  Program program(text);
  program.Run();
  for (const QString& said : program.world.mErrors.mTexts)
    Require(!said.isEmpty(), "a report without words");
  Require(Strangers(program.general).MayConnect(QStringLiteral("8.8.4.4"), 80) == (text == u'1'),
          "exactly 1 lets strangers in");
  return 0;
}
