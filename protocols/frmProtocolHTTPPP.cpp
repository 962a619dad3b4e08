#include "protocols/frmProtocolHTTPPP.h"

#include <array>

#include "base/Numbers.h"
#include "engine/PortTable.h"

namespace veltrane {
namespace {

/// An option, by its index in optPort, and the key that keeps it.
struct OptionKey {
  const char16_t* key;
  bool defaultValue;
};

constexpr std::array kOptionKeys{OptionKey{u"ConnectToPort", true}, OptionKey{u"ConnectToProxy", false}};

}  // namespace

frmProtocolHTTPPP::frmProtocolHTTPPP(General& general)
    : frmProtocolHTTPPP(general, QStringLiteral("frmProtocolHTTPPP"), QStringLiteral("HTTP Properties"),
                        {QStringLiteral("8080"), QStringLiteral("80")}) {}

frmProtocolHTTPPP::frmProtocolHTTPPP(General& general, const QString& name, const QString& caption,
                                     const Defaults& defaults)
    : PropertyPage(general, name, caption,
                   {{txtPort, QStringLiteral("Port"), defaults.port},
                    {txtProxyServer, QStringLiteral("Proxy"), kProxyPlaceholder},
                    {txtSpecificPort, QStringLiteral("SpecificPort"), defaults.specificPort}}) {
  lblProxyServer.SetCaption(QStringLiteral("Proxy server:"));
  lblPort.SetCaption(QStringLiteral("Port:"));
  optPort.OnClick = [this](int) { EnableFields(); };
}

// A store that holds neither option leaves none set.
void frmProtocolHTTPPP::OnLoad() {
  PropertyPage::OnLoad();
  for (int i = 0; i < optPort.Count(); ++i) {
    const OptionKey& option = kOptionKeys.at(static_cast<std::size_t>(i));
    optPort.SetValue(i, ToBoolean(Read(QString::fromUtf16(option.key), BooleanText(option.defaultValue))));
  }
  EnableFields();
}

void frmProtocolHTTPPP::EnableFields() {
  const bool proxy = !optPort.Value(0);
  txtPort.SetEnabled(proxy);
  txtProxyServer.SetEnabled(proxy);
}

// Only the field in use is checked; all are stored.
bool frmProtocolHTTPPP::Accept() {
  if (optPort.Value(1) && !RequireNumber(txtPort)) return false;
  if (optPort.Value(0) && !RequireNumber(txtSpecificPort)) return false;
  for (int i = 0; i < optPort.Count(); ++i) {
    const OptionKey& option = kOptionKeys.at(static_cast<std::size_t>(i));
    Write(QString::fromUtf16(option.key), BooleanText(optPort.Value(i)));
  }
  return PropertyPage::Accept();
}

}  // namespace veltrane
