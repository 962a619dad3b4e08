// The table of ports: which are listened on, under which protocol. Every change goes straight to the store
// and to the listener; there is nothing to apply. The ports that the proxy opens by itself for a single
// connection are not shown and not touched.
#pragma once

#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/ListView.h"
#include "ui/MainSurroundings.h"

namespace veltrane {

class General;
class MainShell;
class frmPort;

class frmConfigure : public Form, public PortConfiguration {
  Q_OBJECT

 public:
  frmConfigure(General& general, MainShell& shell, frmPort& portDialog);

  void SelectPort(const QString& key) override;

  Label lblPort{*this, QStringLiteral("lblPort")};
  ListView lvwPort{*this, QStringLiteral("lvwPort")};
  CommandButton cmdPortAdd{*this, QStringLiteral("cmdPortAdd")};
  CommandButton cmdDeletePort{*this, QStringLiteral("cmdDeletePort")};
  Label lblProtocol{*this, QStringLiteral("lblProtocol")};
  TickList lstProtocol{*this, QStringLiteral("lstProtocol")};
  CommandButton cmdConfigure{*this, QStringLiteral("cmdConfigure")};
  CommandButton cmdStartListening{*this, QStringLiteral("cmdStartListening")};
  CheckBox chkShowAtStartUp{*this, QStringLiteral("chkShowAtStartUp")};
  CommandButton cmdClose{*this, QStringLiteral("cmdClose")};

 protected:
  void OnLoad() override { LoadAllDetails(); }
  void OnActivate() override;
  void OnUnload() override { Close(); }

 private:
  void LoadAllDetails();
  void LoadPorts();
  void EnableControls();
  void lvwPort_Click();
  void ShowSelectedPort();
  void ShowProtocol(int row);
  void ChooseProtocol();
  void ShowConfigureCaption();
  void ConfigureProtocol();
  void StartListening();
  void DeletePort();
  void DeleteRow(const QString& section, const QString& port);
  void RemoveNode(qint32 port);
  void AddPort();
  void AddNewPort(qint32 port, const QString& description);
  void SaveUnused(const QString& port, const QString& description);
  void Close();
  void SavePorts();
  /// The selected port as text; empty when there is none.
  QString SelectedPort() const;

  General& mGeneral;
  MainShell& mShell;
  frmPort& mPortDialog;
  /// The form itself sets lstProtocol: its events then write nothing.
  bool mblnLoading = false;
  bool mAdding = false;
};

}  // namespace veltrane
