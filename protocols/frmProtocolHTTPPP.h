// The page of an HTTP port: which port of a web server to connect to where the request names none, or which
// other proxy to go through.
#pragma once

#include "protocols/PropertyPage.h"

namespace veltrane {

class frmProtocolHTTPPP : public PropertyPage {
  Q_OBJECT

 public:
  explicit frmProtocolHTTPPP(General& general);

  using PropertyPage::ReadNoSiteErrorFile;

  OptionGroup optPort{*this, QStringLiteral("optPort"), 2};  // 0: the web server itself, 1: another proxy
  TextBox txtSpecificPort{*this, QStringLiteral("txtSpecificPort")};
  Label lblProxyServer{*this, QStringLiteral("lblProxyServer")};
  TextBox txtProxyServer{*this, QStringLiteral("txtProxyServer")};
  Label lblPort{*this, QStringLiteral("lblPort")};
  TextBox txtPort{*this, QStringLiteral("txtPort")};

 protected:
  /// What a page of this kind shows for missing keys.
  struct Defaults {
    QString port;
    QString specificPort;
  };
  frmProtocolHTTPPP(General& general, const QString& name, const QString& caption, const Defaults& defaults);

  void OnLoad() override;
  bool Accept() override;

 private:
  void EnableFields();
};

}  // namespace veltrane
