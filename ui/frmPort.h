// The small modal dialog that picks a new port: from the list of well-known ones, or by hand. It is only
// hidden at its end, so it keeps its texts for the next use, and a cancel for good.
#pragma once

#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/ListView.h"

namespace veltrane {

class General;

class frmPort : public Form {
  Q_OBJECT

 public:
  explicit frmPort(General& general);

  QString mstrDescription;
  /// 32 bits, whatever the name says.
  qint32 mintPort = 0;
  /// "CANCEL" from the first time on that the user has backed out.
  const QString& Tag() const { return mTag; }

  ListView lstDetails{*this, QStringLiteral("lstDetails")};
  TextBox txtPort{*this, QStringLiteral("txtPort")};
  TextBox txtDescription{*this, QStringLiteral("txtDescription")};
  CommandButton cmdOK{*this, QStringLiteral("cmdOK")};
  CommandButton cmdCancel{*this, QStringLiteral("cmdCancel")};

 protected:
  void OnLoad() override;
  void OnResize() override;
  bool OnQueryUnload() override;
  void OnUnload() override { BackOut(); }

 private:
  void LoadWellKnownPorts();
  void TakeItem(const ListItem& item);
  void SortBy(int column);
  void Accept();
  void BackOut();

  General& mGeneral;
  QString mTag;
};

/// What frmPort's Tag holds once the user has backed out.
inline const QString kCancelTag = QStringLiteral("CANCEL");

}  // namespace veltrane
