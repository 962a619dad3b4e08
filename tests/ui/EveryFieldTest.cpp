// Every field of every window that takes text, with every text that somebody might enter: nothing crashes,
// nothing takes long, and each text is kept, corrected, or said to be wrong.
#include <QDir>

#include <chrono>
#include <gtest/gtest.h>

#include "failure/frmProblemSimulation.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "protocols/frmProtocolFTPPP.h"
#include "protocols/frmProtocolHTTPPP.h"
#include "protocols/frmProtocolHTTPSPP.h"
#include "protocols/frmProtocolPOP3PP.h"
#include "protocols/frmProtocolPassThruPP.h"
#include "reports/frmSaveHistory.h"
#include "tests/support/DialogFakes.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/FieldTime.h"
#include "tests/support/HistoryFakes.h"
#include "ui/frmEventDetails.h"
#include "ui/frmMain.h"
#include "ui/frmOptions.h"
#include "ui/frmPort.h"
#include "ui/frmRealTimeData.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

constexpr qsizetype kTenMegabytes = 10'000'000;

struct Entry {
  const char* name;
  QString text;
};

const QList<Entry>& Entries() {
  static const QList<Entry> kEntries{
      {"empty", QString()},
      {"blanks", QStringLiteral("   ")},
      {"tab and line end", QStringLiteral("\t7\r\n")},
      {"word", QStringLiteral("word")},
      {"other scripts", QStringLiteral("b\u00fccher \u6f22\u5b57 \u0661\u0662 \U0001F642 \u202e7")},
      {"nul", QStringLiteral("7") + QChar::Null + QStringLiteral("8")},
      {"zero", QStringLiteral("0")},
      {"negative", QStringLiteral("-1")},
      {"fraction", QStringLiteral("1.5")},
      {"16 bits and one", QStringLiteral("32768")},
      {"no port", QStringLiteral("65536")},
      {"32 bits and one", QStringLiteral("2147483648")},
      {"1e308", QStringLiteral("1e308")},
      {"-1e308", QStringLiteral("-1e308")},
      {"1e309", QStringLiteral("1e309")},
      {"NaN", QStringLiteral("NaN")},
      {"inf", QStringLiteral("inf")},
      {"hexadecimal", QStringLiteral("&HFF")},
      {"places of an argument", QStringLiteral("%1 %n %s")},
      {"10 MB of letters", QString(kTenMegabytes, u'x')},
      {"10 MB of digits", QString(kTenMegabytes, u'9')},
      {"10 MB of blanks", QString(kTenMegabytes, u' ')},
      {"10 MB of folders", QStringLiteral("/x").repeated(kTenMegabytes / 2)},
  };
  return kEntries;
}

struct Windows : DialogWorld {
  Windows() {
    QDir::setCurrent(mScratch.path());
    Listen();
    mDialogGeneral.gobjLogging = &mLogging;
    mLogging.SetSurroundings(mFakes.Around(mMain));
    const auto history = std::make_shared<SocketPairHistory>();
    history->mstrSocketPairKey = QStringLiteral("KEY7");
    mLogging.mobjSocketPairHistory.Add(history, history->mstrSocketPairKey);
    mMain.tvwSockets.Add(QStringLiteral("ROOT"), QStringLiteral("KEY7"), QStringLiteral("Connection"),
                         QStringLiteral("Socket"));
    mMain.tvwSockets.SetSelectedItem(mMain.tvwSockets.Find(QStringLiteral("KEY7")));
  }
  ~Windows() { QDir::setCurrent(QDir::rootPath()); }
  template <class Page>
  std::unique_ptr<Form> MakePage(const char* protocol) {
    auto page = std::make_unique<Page>(mDialogGeneral);
    page->mlngPort = 2000;
    for (const auto& create : ListedProtocols()) {
      ProtocolHandlerRef handler = create(mDialogGeneral);
      if (handler->GetProtocolName() == QLatin1String(protocol)) mHandlers.append(handler);
    }
    page->mobjParent = mHandlers.last().get();
    return page;
  }
  qsizetype Said() const { return mErrors.mTexts.size() + mDesktop.mBoxes.size(); }

  QTemporaryDir mScratch;
  Logging mLogging{mDialogGeneral};
  HistoryFakes mFakes{mJournal};
  FakeStatusPanes mPanes;
  FakeNotificationArea mArea;
  Form mConfigure{mDesktop, QStringLiteral("frmConfigure")};
  Form mErrorForm{mDesktop, QStringLiteral("frmError")};
  frmSysTray mTray{mDialogGeneral, mShell, mArea, {mConfigure, mErrorForm}};
  frmMain mMainWindow{mDialogGeneral, mLogging};
  QList<ProtocolHandlerRef> mHandlers;
};

struct WindowRow {
  const char* name;
  std::unique_ptr<Form> (*make)(Windows& windows);
  /// Whether what is accepted stands there again when the window is opened anew.
  bool stores;
};

using FormRef = std::unique_ptr<Form>;

const WindowRow kWindows[] = {
    {"frmOptions",
     [](Windows& w) -> FormRef {
       return std::make_unique<frmOptions>(w.mDialogGeneral, w.mShell, w.mTray, w.mScratch.path());
     },
     true},
    {"frmPort", [](Windows& w) -> FormRef { return std::make_unique<frmPort>(w.mDialogGeneral); }, false},
    {"frmRealTimeData",
     [](Windows& w) -> FormRef { return std::make_unique<frmRealTimeData>(w.mDialogGeneral, w.mMainWindow); },
     true},
    {"frmEventDetails",
     [](Windows& w) -> FormRef { return std::make_unique<frmEventDetails>(w.mDialogGeneral, w.mMainWindow); },
     true},
    {"frmProblemSimulation",
     [](Windows& w) -> FormRef { return std::make_unique<frmProblemSimulation>(w.mDialogGeneral, w.mPanes); },
     true},
    {"frmRealTimeLogging",
     [](Windows& w) -> FormRef { return std::make_unique<frmRealTimeLogging>(w.mDialogGeneral, w.mPanes); },
     true},
    {"frmSaveHistory",
     [](Windows& w) -> FormRef {
       return std::make_unique<frmSaveHistory>(w.mDialogGeneral, w.mLogging, w.mMain);
     },
     false},
    {"frmProtocolPassThruPP", [](Windows& w) { return w.MakePage<frmProtocolPassThruPP>("Pass Through"); },
     true},
    {"frmProtocolHTTPPP", [](Windows& w) { return w.MakePage<frmProtocolHTTPPP>("HTTP"); }, true},
    {"frmProtocolHTTPSPP", [](Windows& w) { return w.MakePage<frmProtocolHTTPSPP>("HTTPS"); }, true},
    {"frmProtocolPOP3PP", [](Windows& w) { return w.MakePage<frmProtocolPOP3PP>("POP3"); }, true},
};

QList<TextBox*> FieldsOf(const Form& form) {
  QList<TextBox*> fields;
  for (Control* control : form.Controls())
    if (auto* box = qobject_cast<TextBox*>(control)) fields.append(box);
  return fields;
}

struct EveryFieldTest : testing::TestWithParam<WindowRow> {
  FormRef Open() {
    FormRef form = GetParam().make(windows);
    form->Show();
    return form;
  }
  /// The user enters the text in the field, leaves it, and confirms the window or closes it.
  void Enter(Form& form, TextBox& field, const QString& text) {
    field.SetText(text);
    field.LeaveFocus();
    windows.mTimers.Advance(std::chrono::seconds(2));
    mKept = field.Text();
    if (CommandButton* const button = form.DefaultButton()) button->Click();
    form.Unload();
  }
  /// What a window that is opened anew has in the field.
  QString Stored(int field) { return FieldsOf(*Open())[field]->Text(); }

  Windows windows;
  QString mKept;
};

void PrintTo(const WindowRow& row, std::ostream* out) {
  *out << row.name;
}

INSTANTIATE_TEST_SUITE_P(All, EveryFieldTest, testing::ValuesIn(kWindows),
                         [](const auto& which) { return std::string(which.param.name); });

TEST_P(EveryFieldTest, Takes_every_text_at_once_and_keeps_it_corrects_it_or_says_why_not) {
  const qsizetype fields = FieldsOf(*Open()).size();
  ASSERT_GT(fields, 0);
  for (int at = 0; at < fields; ++at) {
    for (const Entry& entry : Entries()) {
      const FormRef form = Open();
      TextBox& field = *FieldsOf(*form)[at];
      SCOPED_TRACE(testing::Message() << field.Name().toStdString() << ": " << entry.name);
      const QString before = field.Text();
      const qsizetype said = windows.Said();
      const ProcessorTime time;
      Enter(*form, field, entry.text);
      EXPECT_LT(time.Spent(), kLongestForAField);
      const bool silent = windows.Said() == said;
      if (silent && GetParam().stores) {
        EXPECT_TRUE(Stored(at) == mKept) << Stored(at).left(40).toStdString() << " is stored, and "
                                         << mKept.left(40).toStdString() << " was kept";
      }
      // Back to what it was, so that the next field meets a usual window.
      const FormRef again = Open();
      Enter(*again, *FieldsOf(*again)[at], before);
    }
  }
}

}  // namespace
}  // namespace veltrane
