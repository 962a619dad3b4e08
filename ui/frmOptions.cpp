#include "ui/frmOptions.h"

#include "base/Numbers.h"
#include "engine/General.h"
#include "ui/AutostartEntry.h"
#include "ui/MainShell.h"

namespace veltrane {
namespace {

const QString kSection = QStringLiteral("Options");

}  // namespace

/// A setting has either a box or a text.
struct frmOptions::Setting {
  const char* key;
  const char* whenMissing;
  CheckBox frmOptions::*box;
  TextBox frmOptions::*text;
};

std::span<const frmOptions::Setting> frmOptions::Settings() {
  using F = frmOptions;
  // "RunAtStarup" is how the key is spelt.
  static constexpr Setting kSettings[] = {
      {"ShowToolBar", "1", &F::chkShowToolBar, nullptr},
      {"SystemTray", "1", &F::chkDisplayInSysTray, nullptr},
      {"RunMinimized", "0", &F::chkRunMinimized, nullptr},
      {"StatusBar", "1", &F::chkShowStatusBar, nullptr},
      {"AnimateConnectionDiagram", "1", &F::chkAnimateConnectionDiagram, nullptr},
      {"RemoveEmptyEphemeralReferences", "1", &F::chkRemoveEphemeralPortReferences, nullptr},
      {"RunAtStarup", "0", &F::chkRunAtStartup, nullptr},
      {"Discard", "1", &F::chkDiscard, nullptr},
      {"NumberToKeep", "100", nullptr, &F::txtNumberToKeep},
      {"MaxMemorySize", "400", nullptr, &F::txtMaxMemorySize},
      {"MaxEventCount", "200", nullptr, &F::txtMaximumEventCount},
  };
  return kSettings;
}

frmOptions::frmOptions(General& general, MainShell& shell, Form& sysTray, const QString& autostartFolder)
    : Form(general.mPlatform.desktop, QStringLiteral("frmOptions")),
      mGeneral(general),
      mShell(shell),
      mSysTray(sysTray),
      mAutostartFolder(autostartFolder) {
  SetCaption(QStringLiteral("Options"));
  chkRunAtStartup.OnClick = [this] { chkRunAtStartup.IsOn() ? RunAtStartUp() : DoNotRunAtStartUp(); };
  chkShowToolBar.OnClick = [this] {
    mShell.SetToolBarVisible(chkShowToolBar.IsOn());
    mShell.ResizeForm();
  };
  chkShowStatusBar.OnClick = [this] {
    mShell.SetStatusBarVisible(chkShowStatusBar.IsOn());
    mShell.ResizeForm();
  };
  chkDisplayInSysTray.OnClick = [this] { DisplayInSysTray(); };
  chkAnimateConnectionDiagram.OnClick = [this] {
    PastFailures([this] { mShell.PlayAnimations(chkAnimateConnectionDiagram.IsOn()); });
  };
  cmdOK.OnClick = [this] {
    SaveSettings();
    Hide();
  };
  cmdCancel.OnClick = [this] {
    ReadSettings();
    Hide();
  };
  SetDefaultButton(cmdOK);
  SetCancelButton(cmdCancel);
}

void frmOptions::RunAtStartUp() {
  PastFailures([this] {
    WriteAutostartEntry(mAutostartFolder, mGeneral.mPlatform.programFolder + QStringLiteral("/Veltrane"));
  });
}

void frmOptions::DoNotRunAtStartUp() {
  PastFailures([this] { RemoveAutostartEntry(mAutostartFolder); });
}

// Reading a value is what loads a form that is not loaded yet; for the reader nothing changes.
frmOptions& frmOptions::Loaded() const {
  auto& self = const_cast<frmOptions&>(*this);
  self.Load();
  return self;
}

void frmOptions::OnLoad() {
  DoNotRunAtStartUp();
  ReadSettings();
}

// Others read the controls as long as the program runs. Closing the window's frame takes back what was not
// confirmed, as the button "Cancel" does. At the end of the program the listener goes before the windows.
bool frmOptions::OnQueryUnload() {
  if (!mGeneral.gobjListening) return true;
  cmdCancel.Click();
  return false;
}

void frmOptions::ReadSettings() {
  for (const Setting& setting : Settings())
    ReadSetting(setting);
}

// One unusable value costs its own control alone.
void frmOptions::ReadSetting(const Setting& setting) {
  const QString key = QLatin1String(setting.key);
  const QString whenMissing = QLatin1String(setting.whenMissing);
  const QString message = QStringLiteral("An error occurred while attempting to load the option ") + key +
                          QStringLiteral(".  The operating system reports: ");
  const bool usable =
      mGeneral.Guard(message, [&] { SetValue(setting, mGeneral.mSettings.Get(kSection, key, whenMissing)); });
  if (!usable) SetValue(setting, whenMissing);
}

void frmOptions::SetValue(const Setting& setting, const QString& text) {
  if (setting.box) {
    (this->*setting.box).SetValue(ToInt32(text));
  } else {
    (this->*setting.text).SetText(text);
  }
}

void frmOptions::SaveSettings() {
  for (const Setting& setting : Settings()) {
    const QString value =
        setting.box ? QString::number((this->*setting.box).Value()) : (this->*setting.text).Text();
    mGeneral.mSettings.Save(kSection, QLatin1String(setting.key), value);
  }
}

void frmOptions::DisplayInSysTray() {
  if (chkDisplayInSysTray.IsOn()) {
    mSysTray.Load();
  } else {
    mSysTray.Unload();
  }
}

}  // namespace veltrane
