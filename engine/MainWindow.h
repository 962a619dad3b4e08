// What the engine tells the main window. ui/frmMain keeps it.
#pragma once

#include <memory>

namespace veltrane {

class TreeNode;
class TreeView;

class MainWindow {
 public:
  virtual ~MainWindow() = default;

  virtual TreeView& SocketTree() = 0;
  /// What the user selected last, which may have been removed from the tree since. Null before the first.
  virtual std::shared_ptr<TreeNode> SelectedNode() const = 0;
  virtual bool KeepOnTop() const = 0;
  virtual void RefreshPaneTitles() = 0;
  /// Lets the working animation play while a connection lives.
  virtual void CheckAnimation() = 0;
  virtual void RepaintWindow() = 0;
};

}  // namespace veltrane
