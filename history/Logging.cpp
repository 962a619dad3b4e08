#include "history/Logging.h"

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/MainWindow.h"
#include "engine/PortTable.h"
#include "forms/TreeView.h"

namespace veltrane {

void Logging::Dead(SocketPair& objSocketPair) {
  objSocketPair.Terminate();
}

void Logging::LoadAllProtocols(const Listening& mobjListening) {
  mGeneral.Guard(
      u"An error occurred while attempting to load all of the protocols.  The operating system reports: ",
      [&] {
        TreeView& tree = mGeneral.frmMain->SocketTree();
        for (const auto& [key, description] : mGeneral.mSettings.All(kPortsInUse)) {
          const qint32 port = ToInt32(key);
          Socket* const* socket = mobjListening.mcolListeningSocket.Find(ListeningSocketKey(port));
          const bool listening = socket && (*socket)->State() == SocketState::kListening;
          TreeNode& node = tree.Add(QStringLiteral("ROOT"), ProtocolNodeKey(port),
                                    PortNodeText(description, port, listening), QStringLiteral("Protocol"));
          node.SetTag(key);
        }
        tree.SetSelectedItem(tree.First());
        mGeneral.frmMain->RefreshPaneTitles();
        tree.Refresh();
      });
}

}  // namespace veltrane
