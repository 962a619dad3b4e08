#include "protocols/PropertyPage.h"

#include <QFile>

#include <utility>

#include "base/Failure.h"
#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/PortTable.h"

namespace veltrane {

PropertyPage::PropertyPage(General& general, const QString& name, const QString& caption,
                           std::vector<Field> fields)
    : Form(general.mPlatform.desktop, name), mGeneral(general), mFields(std::move(fields)) {
  SetCaption(caption);
  cmdOK.SetCaption(QStringLiteral("OK"));
  cmdOK.OnClick = [this] {
    if (Accept()) Unload();
  };
  Command1.SetCaption(QStringLiteral("Cancel"));
  Command1.OnClick = [this] { Unload(); };
  SetDefaultButton(cmdOK);
  SetCancelButton(Command1);
}

void PropertyPage::OnLoad() {
  for (const Field& field : mFields)
    field.box.SetText(Read(field.key, field.defaultText));
}

bool PropertyPage::Accept() {
  SaveFields();
  return true;
}

QString PropertyPage::Section() const {
  return PortSection(mobjParent->GetProtocolName(), mlngPort);
}

QString PropertyPage::Read(const QString& key, const QString& defaultText) const {
  return mGeneral.mSettings.Get(Section(), key, defaultText);
}

void PropertyPage::Write(const QString& key, const QString& text) const {
  mGeneral.mSettings.Save(Section(), key, text);
}

void PropertyPage::SaveFields() const {
  for (const Field& field : mFields)
    Write(field.key, field.box.Text());
}

bool PropertyPage::RequireNumber(TextBox& box) const {
  if (IsNumeric(box.Text())) return true;
  box.SetFocus();
  GetDesktop().Ask({QStringLiteral("The port must be numeric and less than 65536"), BoxIcon::kExclamation,
                    BoxButtons::kOk, kApplicationName});
  return false;
}

QString PropertyPage::ReadNoSiteErrorFile() const {
  QFile file(mGeneral.mPlatform.programFolder + QStringLiteral("/HTTPDNSError.txt"));
  if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) throw Failure(FailureNumber::kFileNotFound);
  QString text;
  while (!file.atEnd()) {
    QByteArray line = file.readLine();
    if (line.endsWith('\n')) line.chop(1);
    text += QString::fromLatin1(line) + QStringLiteral("\r\n");
  }
  return text;
}

}  // namespace veltrane
