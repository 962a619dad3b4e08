// The small modal windows in which the user sets what a handler needs for one listening port. They write
// straight into the settings store; a handler reads it at each connection, so a change holds from the next
// one on. What fails in a page is not caught there.
#pragma once

#include <initializer_list>
#include <vector>

#include "forms/Controls.h"
#include "forms/Form.h"

namespace veltrane {

class General;
class ProtocolHandler;

class PropertyPage : public Form {
  Q_OBJECT

 public:
  // Written before the page is shown.
  qint32 mlngPort = 0;                          // the listening port that is being set up
  const ProtocolHandler* mobjParent = nullptr;  // gives the protocol's name

  CommandButton cmdOK{*this, QStringLiteral("cmdOK")};
  CommandButton Command1{*this, QStringLiteral("Command1")};

 protected:
  /// A text box, the key that keeps its text, and the text for a missing key.
  struct Field {
    TextBox& box;
    QString key;
    QString defaultText;
  };

  /// fields in the order in which they are written.
  PropertyPage(General& general, const QString& name, const QString& caption, std::vector<Field> fields);

  void OnLoad() override;
  /// What OK does; the page is closed when it gives true.
  virtual bool Accept();

  QString Read(const QString& key, const QString& defaultText) const;
  void Write(const QString& key, const QString& text) const;
  void SaveFields() const;
  /// True when the box holds a number. If not, it gets the focus, and the user is told. No other test is
  /// made: a number that is no port passes.
  bool RequireNumber(TextBox& box) const;
  /// The text of HTTPDNSError.txt in the program's folder, each line with CR LF behind it; meant for the key
  /// NoSiteError. Fails with file not found when there is none.
  QString ReadNoSiteErrorFile() const;

 private:
  QString Section() const;

  General& mGeneral;
  const std::vector<Field> mFields;
};

}  // namespace veltrane
