#include "ui/frmEventDetails.h"

#include <algorithm>
#include <limits>

#include "base/Numbers.h"
#include "engine/General.h"
#include "history/FormattedText.h"
#include "history/HistoryText.h"
#include "ui/EventDiagram.h"

namespace veltrane {
namespace {

const QString kSection = QStringLiteral("EventDetails");
const QString kFormat = QStringLiteral("Format");
const QString kBytesPerRow = QStringLiteral("BytesPerRow");
constexpr int kAvailabilityIntervalMs = 1000;

// The designed window, in twips. Where it opens is left to the desktop, which a place of 0, 0 stands for.
constexpr Rect kDesigned{0, 0, 7800, 5700};

const QString kEventTime = QStringLiteral("Event Time: ");
const QString kFinishTime = QStringLiteral("Finish Time: ");
const QString kDescription = QStringLiteral("Description: ");
const QString kErrorNumber = QStringLiteral("Error Number: ");
const QString kErrorDescription = QStringLiteral("Error Description: ");
const QString kRemoteClient = QStringLiteral("Remote Client: ");
const QString kRemoteServer = QStringLiteral("Remote Server: ");

struct FormatRow {
  const char16_t* name;
  quint8 code;
};

constexpr FormatRow kFormats[] = {
    {u"AscII", 0}, {u"Hex", 'h'}, {u"Octal", 'o'}, {u"Decimal", 'd'}, {u"Binary", 'b'}};

struct PlaceRow {
  const char* key;
  int Rect::*number;
};

constexpr PlaceRow kPlace[] = {
    {"Left", &Rect::left}, {"Top", &Rect::top}, {"Width", &Rect::width}, {"Height", &Rect::height}};

}  // namespace

frmEventDetails::frmEventDetails(General& general, EventDiagram& diagram)
    : Form(general.mPlatform.desktop, QStringLiteral("frmEventDetails")),
      tmrControlAvailability(general.mPlatform.timers, [this] { RefreshNavigationButtons(); }),
      mGeneral(general),
      mDiagram(diagram) {
  QStringList formats;
  for (const FormatRow& row : kFormats)
    formats.append(QString::fromUtf16(row.name));
  cboFormat.SetList(formats);
  for (CommandButton& button : cmdLeft)
    button.OnClick = [this] { Step(-1); };
  for (CommandButton& button : cmdRight)
    button.OnClick = [this] { Step(1); };
  cboFormat.OnClick = [this] { ShowDetails(); };
  txtBytesPerRow.OnChange = [this] {
    txtBytesPerRow.SetText(CorrectedBytesPerRow(txtBytesPerRow.Text()));
    ShowDetails();
  };
  Blank();
}

void frmEventDetails::OnLoad() {
  LoadSettings();
  tmrControlAvailability.SetInterval(kAvailabilityIntervalMs);
  tmrControlAvailability.SetEnabled(true);
}

void frmEventDetails::OnUnload() {
  tmrControlAvailability.SetEnabled(false);
  mGeneral.Guard(
      u"An error occurred while attempting to save the event details settings.  The operating system "
      u"reports: ",
      [this] { SaveSettings(); });
}

void frmEventDetails::LoadSettings() {
  LoadSetting(kFormat, QStringLiteral("0"),
              [this](const QString& text) { cboFormat.SetListIndex(ToInt32(text)); });
  // Corrected here too: a stored text that is empty is no change of the field.
  LoadSetting(kBytesPerRow, QStringLiteral("8"),
              [this](const QString& text) { txtBytesPerRow.SetText(CorrectedBytesPerRow(text)); });
  Rect geometry;
  for (const PlaceRow& row : kPlace) {
    LoadSetting(QLatin1String(row.key), QString::number(kDesigned.*row.number),
                [&](const QString& text) { geometry.*row.number = ToInt32(text); });
  }
  geometry.width = std::max(geometry.width, kLeastWidth);
  geometry.height = std::max(geometry.height, kLeastHeight);
  SetGeometry(geometry);
}

void frmEventDetails::LoadSetting(const QString& name, const QString& whenMissing,
                                  const std::function<void(const QString& text)>& use) {
  const QString message =
      QStringLiteral("An error occurred while attempting to load the event details setting ") + name +
      QStringLiteral(".  The operating system reports: ");
  const bool usable =
      mGeneral.Guard(message, [&] { use(mGeneral.mSettings.Get(kSection, name, whenMissing)); });
  if (!usable) use(whenMissing);
}

void frmEventDetails::SaveSettings() {
  mGeneral.mSettings.Save(kSection, kFormat, QString::number(cboFormat.ListIndex()));
  mGeneral.mSettings.Save(kSection, kBytesPerRow, txtBytesPerRow.Text());
  for (const PlaceRow& row : kPlace)
    mGeneral.mSettings.Save(kSection, QLatin1String(row.key), QString::number(Geometry().*row.number));
}

void frmEventDetails::OnActivate() {
  if (!ShowDetails()) ClearDetails();
  RefreshNavigationButtons();
}

// Either setting raises the next resize.
void frmEventDetails::OnResize() {
  Rect geometry = Geometry();
  if (geometry.width <= 0 || geometry.height <= 0) return;
  if (geometry.width < kLeastWidth) {
    geometry.width = kLeastWidth;
  } else if (geometry.height < kLeastHeight) {
    geometry.height = kLeastHeight;
  }
  SetGeometry(geometry);
}

bool frmEventDetails::SetDetails(const SocketPairHistoryRef& history, qint16 position) {
  // Loading sets the format, which shows the event that is there: a former one must not come up again.
  mintEventIndex = 0;
  Load();
  mobjHistory = history;
  mintEventIndex = position;
  mRemoved = history ? history->mobjSocketPairEvents.Removed() : 0;
  const bool shown = ShowDetails();
  RefreshNavigationButtons();
  return shown;
}

// A purge lowers the positions of the events that it leaves. One that is gone has none, and nothing is found
// under it.
void frmEventDetails::FollowPurges() {
  if (mintEventIndex == 0 || !mobjHistory) return;
  const qint64 removed = mobjHistory->mobjSocketPairEvents.Removed();
  const qint64 position = mintEventIndex - (removed - mRemoved);
  mintEventIndex = position < 1 ? kGone : static_cast<qint16>(position);
  mRemoved = removed;
}

bool frmEventDetails::ShowDetails() {
  if (mintEventIndex == 0) return true;
  FollowPurges();
  bool shown = false;
  PastFailures([&] { shown = Fill(); });
  return shown;
}

bool frmEventDetails::Fill() {
  if (!mobjHistory) throw Failure(FailureNumber::kObjectNotSet);
  const SocketEventRef event = mobjHistory->mobjSocketPairEvents.Item(mintEventIndex);
  ShowFields(*event);
  ShowData(event->mstrData);
  SetCaption(QStringLiteral("Event Details - #") + QString::number(mintEventIndex) + QStringLiteral("  ") +
             event->mstrDescription);
  ShowEnds();
  if (!ShowInDiagram(*event)) return false;
  EnableDetails(true);
  return true;
}

void frmEventDetails::ShowFields(const SocketEvent& event) {
  lblEventTime.SetCaption(kEventTime + event.mstrEventTime);
  lblFinishTime.SetCaption(kFinishTime + event.mstrEventEndTime);
  lblDescription.SetCaption(kDescription + event.mstrDescription);
  const bool failed = event.mlngErrorNumber != 0;
  lblErrorNumber.SetCaption(failed ? kErrorNumber + QString::number(event.mlngErrorNumber) : kErrorNumber);
  lblErrorDescription.SetCaption(kErrorDescription + event.mstrErrorString);
}

// The same data again, as when the window comes back to the front, stays as it is: whoever reads it keeps the
// place and the selection.
void frmEventDetails::ShowData(const Payload& data) {
  const quint8 format = GetFormatCode();
  // Plain text has no rows.
  const qint16 bytesPerRow = format == 0 ? qint16{0} : ToInt16(txtBytesPerRow.Text());
  const Shown now{data, format, bytesPerRow};
  if (data.IsEmpty()) {
    mShown = {};
    txtData.SetText(QStringLiteral("<No data in this event>"));
  } else if (now != mShown) {
    mShown = now;
    txtData.SetText(format == 0 ? BytesAsText(data) : FormattedText(data, format, now.bytesPerRow));
  }
}

void frmEventDetails::ShowEnds() {
  const SocketPairHistory& history = *mobjHistory;
  lblRemoteClient.SetCaption(kRemoteClient +
                             Address(history.mstrRemoteClientIP, history.mlngRemoteClientPort) +
                             InBrackets(history.mstrRemoteClientName));
  lblRemoteServer.SetCaption(kRemoteServer +
                             Address(history.mstrRemoteServerIP, history.mlngRemoteServerPort) +
                             InBrackets(history.mstrRemoteServerName));
}

// The page turns whether the diagram is chosen or not. An event that came, or moved to the page by a purge,
// while the diagram was not kept up has no link yet.
bool frmEventDetails::ShowInDiagram(const SocketEvent& event) {
  const bool pageChanged = mDiagram.CheckForPageChange(mintEventIndex);
  if (!mGeneral.gblnConnectionDiagramSelected) return true;
  if (pageChanged || !mDiagram.IsDrawn(event.mobjUIObject.lock()))
    mDiagram.DisplayConnectionDiagram(mobjHistory);
  return mDiagram.HighlightEvent(event.mobjUIObject.lock());
}

quint8 frmEventDetails::GetFormatCode() const {
  for (const FormatRow& row : kFormats) {
    if (cboFormat.Text() == row.name) return row.code;
  }
  return 0;
}

void frmEventDetails::ClearDetails() {
  mobjHistory.reset();
  mintEventIndex = 0;
  Blank();
  mDiagram.UnhighlightEvent();
}

void frmEventDetails::Blank() {
  lblEventTime.SetCaption(kEventTime);
  lblFinishTime.SetCaption(kFinishTime);
  lblDescription.SetCaption(kDescription);
  lblErrorNumber.SetCaption(kErrorNumber);
  lblErrorDescription.SetCaption(kErrorDescription);
  lblRemoteClient.SetCaption(kRemoteClient);
  lblRemoteServer.SetCaption(kRemoteServer);
  mShown = {};
  txtData.SetText(QString());
  SetCaption(QStringLiteral("Event Details - No Event"));
  EnableDetails(false);
  for (auto* buttons : {&cmdLeft, &cmdRight}) {
    for (CommandButton& button : *buttons)
      button.SetEnabled(false);
  }
}

void frmEventDetails::EnableDetails(bool enabled) {
  for (Control* control : std::initializer_list<Control*>{
           &lblEventTime, &lblFinishTime, &lblDescription, &lblErrorNumber, &lblErrorDescription,
           &lblRemoteClient, &lblRemoteServer, &txtData, &fraContainer}) {
    control->SetEnabled(enabled);
  }
}

void frmEventDetails::RefreshNavigationButtons() {
  if (mintEventIndex == 0 || !mobjHistory) return;
  FollowPurges();
  for (CommandButton& button : cmdLeft)
    button.SetEnabled(mintEventIndex > 1);
  for (CommandButton& button : cmdRight)
    button.SetEnabled(mintEventIndex > 0 && mintEventIndex != mobjHistory->mobjSocketPairEvents.Count());
}

// The arrows follow at once, so that quick clicks do not run past the ends. Positions have 16 bits. From an
// event that is gone no arrow leads anywhere.
void frmEventDetails::Step(int by) {
  FollowPurges();
  const int position = mintEventIndex + by;
  if (mintEventIndex > 0 && position <= std::numeric_limits<qint16>::max()) {
    mintEventIndex = static_cast<qint16>(position);
    ShowDetails();
  }
  RefreshNavigationButtons();
}

}  // namespace veltrane
