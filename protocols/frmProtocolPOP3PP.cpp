#include "protocols/frmProtocolPOP3PP.h"

namespace veltrane {

frmProtocolPOP3PP::frmProtocolPOP3PP(General& general)
    : PropertyPage(general, QStringLiteral("frmProtocolPOP3PP"), QStringLiteral("POP3 Properties"),
                   {{txtPort, QStringLiteral("Port"), QStringLiteral("110")}}) {
  Label1.SetCaption(QStringLiteral(
      "In configuring your e-mail client, set the name of your POP3 server to the name of this computer.  In "
      "the user name field, change it to your username followed by a '#' followed by the name of your email "
      "server.  "));
  Label2.SetCaption(QStringLiteral(
      "For example, if the name of your email server is mail.example.com and your user name is 'Fred', enter "
      "Fred#mail.example.com as the user name."));
  lblPort.SetCaption(QStringLiteral("POP3 Server Port:"));
  lblUsualPort.SetCaption(QStringLiteral("(This is almost always 110)"));
}

// A port that is rejected closes the page too, and saves nothing.
bool frmProtocolPOP3PP::Accept() {
  return !RequireNumber(txtPort) || PropertyPage::Accept();
}

}  // namespace veltrane
