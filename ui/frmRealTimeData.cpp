#include "ui/frmRealTimeData.h"

#include "base/Numbers.h"
#include "engine/General.h"
#include "ui/MainShell.h"

namespace veltrane {
namespace {

constexpr char kRealTime[] = "RealTime";
constexpr char kOptions[] = "Options";

constexpr int kPlainText = 0;
constexpr char kFormatLetters[] = {0, 'h', 'o', 'd', 'b'};  // by index of optDisplayAs

}  // namespace

/// What a control holds, as text and back.
struct frmRealTimeData::Setting {
  using Form = frmRealTimeData;

  const char* section;
  const char* key;
  const char* whenMissing;
  QString (*text)(const Form& form);
  void (*set)(Form& form, const QString& text);
};

std::span<const frmRealTimeData::Setting> frmRealTimeData::Settings() {
  using F = frmRealTimeData;
  static constexpr auto box = []<CheckBox F::*control>(const char* key, const char* whenMissing) {
    return Setting{kRealTime, key, whenMissing,
                   [](const F& form) { return QString::number((form.*control).Value()); },
                   [](F& form, const QString& text) { (form.*control).SetValue(ToInt32(text)); }};
  };
  static constexpr auto field = []<TextBox F::*control>(const char* section, const char* key,
                                                        const char* whenMissing) {
    return Setting{section, key, whenMissing, [](const F& form) { return (form.*control).Text(); },
                   [](F& form, const QString& text) { (form.*control).SetText(text); }};
  };
  static constexpr auto colour = []<std::size_t index>(const char* key, const char* whenMissing) {
    return Setting{
        kOptions, key, whenMissing,
        [](const F& form) { return QString::number(static_cast<qint32>(form.lblColor[index].BackColor())); },
        [](F& form, const QString& text) {
          form.lblColor[index].SetBackColor(static_cast<Colour>(ToInt32(text)));
        }};
  };
  static constexpr Setting kSettings[] = {
      box.operator()<&F::chkShowRealTimeData>("ShowRealTimeData", "1"),
      box.operator()<&F::chkClientToVLT>("ClientToVLT", "1"),
      box.operator()<&F::chkVLTToClient>("VLTToClient", "1"),
      box.operator()<&F::chkServerToVLT>("ServerToVLT", "0"),
      box.operator()<&F::chkVLTToServer>("VLTToServer", "0"),
      {kRealTime, "DisplayAs", "1",
       [](const F& form) { return QString::number(form.optDisplayAs.Selected()); },
       [](F& form, const QString& text) { form.optDisplayAs.Select(ToInt32(text)); }},
      box.operator()<&F::chkIncludeDateTimeStamp>("IncludeDateTimeStamp", "1"),
      box.operator()<&F::chkIncludeDataDirection>("IncludeDataDirection", "1"),
      box.operator()<&F::chkIncludeDescription>("IncludeDescription", "1"),
      box.operator()<&F::chkColourCode>("ColourCode", "1"),
      // Corrected here too: a stored text that is empty is no change of the field.
      {kRealTime, "BytesPerRow", "16", [](const F& form) { return form.txtBytesPerRow.Text(); },
       [](F& form, const QString& text) { form.txtBytesPerRow.SetText(CorrectedBytesPerRow(text)); }},
      box.operator()<&F::chkIncludeBufferedData>("IncludeBufferedData", "0"),
      colour.operator()<0>("Color1", "16711680"),  // 0xff0000
      colour.operator()<1>("Color2", "16753828"),  // 0xffa4a4
      colour.operator()<2>("Color3", "255"),
      colour.operator()<3>("Color4", "9934847"),  // 0x9797ff
      field.operator()<&F::txtRealTimeDataSize>(kOptions, "RealTimeDataSize", "50"),
      {kOptions, "RealTimeDataSelection", "True",
       [](const F& form) { return BooleanText(form.optRealTimeDisplay.Value(0)); },
       [](F& form, const QString& text) { form.optRealTimeDisplay.Select(ToBoolean(text) ? 0 : 1); }},
  };
  return kSettings;
}

frmRealTimeData::frmRealTimeData(General& general, MainShell& shell)
    : Form(general.mPlatform.desktop, QStringLiteral("frmRealTimeData")), mGeneral(general) {
  SetCaption(QStringLiteral("Real Time Data"));
  // At once, before the dialog is confirmed.
  chkShowRealTimeData.OnClick = [&shell] { shell.ResizeForm(); };
  txtBytesPerRow.OnChange = [this] { txtBytesPerRow.SetText(CorrectedBytesPerRow(txtBytesPerRow.Text())); };
  for (std::size_t i = 0; i < cmdColor.size(); ++i)
    cmdColor[i].OnClick = [this, i] { ChooseColour(i); };
  cmdOK.OnClick = [this] {
    Hide();
    SaveRealTimeSettings();
  };
  cmdCancel.OnClick = [this] {
    LoadRealTimeSettings();
    Hide();
  };
  SetDefaultButton(cmdOK);
  SetCancelButton(cmdCancel);
}

bool frmRealTimeData::IsOn(RealTimeSwitch which) const {
  using F = frmRealTimeData;
  // In the order of the switches.
  static constexpr CheckBox F::*kBoxes[] = {
      &F::chkShowRealTimeData,     &F::chkServerToVLT,          &F::chkVLTToServer,
      &F::chkClientToVLT,          &F::chkVLTToClient,          &F::chkIncludeBufferedData,
      &F::chkIncludeDateTimeStamp, &F::chkIncludeDataDirection, &F::chkIncludeDescription,
      &F::chkColourCode,
  };
  return (this->*kBoxes[static_cast<std::size_t>(which)]).IsOn();
}

QString frmRealTimeData::GetPrintFFormat() const {
  const int selected = optDisplayAs.Selected();
  if (selected <= kPlainText) return {};
  return QString::number(static_cast<int>(kFormatLetters[selected]));
}

void frmRealTimeData::OnLoad() {
  tabOptions.SetTab(0);
  LoadRealTimeSettings();
}

// Others read the controls as long as the program runs: closing the window's frame keeps the changes, as the
// button "OK" does. At the end of the program the listener goes before the windows.
bool frmRealTimeData::OnQueryUnload() {
  SaveRealTimeSettings();
  if (!mGeneral.gobjListening) return true;
  Hide();
  return false;
}

// One unusable value costs its own control alone.
void frmRealTimeData::LoadRealTimeSettings() {
  for (const Setting& setting : Settings()) {
    const QString key = QLatin1String(setting.key);
    const QString whenMissing = QLatin1String(setting.whenMissing);
    const QString message = QStringLiteral("An error occurred while attempting to load the option ") + key +
                            QStringLiteral(".  The operating system reports: ");
    const bool usable = mGeneral.Guard(message, [&] {
      setting.set(*this, mGeneral.mSettings.Get(QLatin1String(setting.section), key, whenMissing));
    });
    if (!usable) setting.set(*this, whenMissing);
  }
}

void frmRealTimeData::SaveRealTimeSettings() {
  mGeneral.Guard(
      u"An error occurred while attempting to save the real time data settings.  The operating system "
      u"reports: ",
      [this] {
        for (const Setting& setting : Settings()) {
          mGeneral.mSettings.Save(QLatin1String(setting.section), QLatin1String(setting.key),
                                  setting.text(*this));
        }
      });
}

void frmRealTimeData::ChooseColour(std::size_t index) {
  Label& label = lblColor[index];
  if (const std::optional<Colour> chosen = GetDesktop().AskForColour(label.BackColor())) {
    label.SetBackColor(*chosen);
  }
}

}  // namespace veltrane
