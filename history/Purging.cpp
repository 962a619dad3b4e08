// The limits of the history. A run looks only at what can be over a limit: dead connections, and those that
// got events since the last run.
#include <cmath>
#include <limits>
#include <optional>

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"
#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "forms/TreeView.h"
#include "history/Logging.h"

namespace veltrane {
namespace {

constexpr double kBytesPerUnit = 1024;

/// The number that the text holds; nothing when it holds none. One beyond all numbers is without limit, or
/// below all.
std::optional<double> NumberIn(const QString& text) {
  if (!IsNumeric(text)) return std::nullopt;
  double number = std::numeric_limits<double>::infinity();
  if (text.trimmed().startsWith(u'-')) number = -number;
  PastFailures([&] { number = ToDouble(text); });
  return number;
}

constexpr char16_t kPortsFailure[] =
    u"An error occurred while attempting to remove the empty Ephemeral ports.  The operating system "
    u"reports: ";

}  // namespace

void Logging::KillDeadSocketConnections() {
  mGeneral.Guard(
      u"An error occurred while attempting to kill the dead socket connections.  The operating system "
      u"reports: ",
      [&] {
        const PurgeOptions& options = *mAround.frmOptions;
        if (!options.Discard()) return;
        RemoveEmptyEphemeralPorts();
        const std::optional<double> numberToKeep = NumberIn(options.NumberToKeep());
        const std::optional<double> memory = NumberIn(options.MaxMemorySize());
        if (!numberToKeep || !memory || *numberToKeep < 0 || *memory < 0) return;
        PurgeByNumber(*numberToKeep);
        PurgeByMemory(*memory);
        TrimEvents(options.MaximumEventCount());
      });
}

// As many turns as there are connections too many, from the oldest on: in each a dead one goes, or a live
// one is passed over and uses up the turn. So all dead ones among the first so many go.
void Logging::PurgeByNumber(double limit) {
  const auto count = static_cast<double>(mobjSocketPairHistory.Count());
  if (limit >= count) return;
  const auto turns = static_cast<qsizetype>(count - std::ceil(limit));
  qsizetype killed = 0;
  while (!mDead.empty()) {
    const SocketPairHistoryRef oldest = mDead.begin()->second;
    const qsizetype position = mobjSocketPairHistory.PositionOf(oldest->mstrSocketPairKey);
    if (position + killed > turns) return;
    KillSocketHistory(position);
    ++killed;
  }
}

void Logging::PurgeByMemory(double limit) {
  while (limit * kBytesPerUnit < static_cast<double>(mlngTotalMemoryAllocated) && !mDead.empty()) {
    KillSocketHistory(mobjSocketPairHistory.PositionOf(mDead.begin()->second->mstrSocketPairKey));
  }
}

void Logging::TrimEvents(const QString& limitText) {
  const std::optional<double> limit = NumberIn(limitText);
  if (!limit) return;
  if (limitText != mLastEventLimit) {
    for (qsizetype i = 1; i <= mobjSocketPairHistory.Count(); ++i) {
      const SocketPairHistoryRef& history = mobjSocketPairHistory.Item(i);
      mGrown.try_emplace(history->mSerial, history);
    }
    mLastEventLimit = limitText;
  }
  // One that fails is looked at again by the next run.
  while (!mGrown.empty()) {
    const SocketPairHistoryRef history = mGrown.begin()->second;
    TrimHistory(*history, *limit);
    mGrown.erase(history->mSerial);
  }
}

void Logging::TrimHistory(SocketPairHistory& history, double limit) {
  EventList& events = history.mobjSocketPairEvents;
  if (static_cast<double>(events.Count()) <= limit) return;
  const QString& key = history.mstrSocketPairKey;
  while (static_cast<double>(events.Count()) > limit) {
    if (TreeNode* node = Tree().Find(key)) {
      if (node->ChildCount() > 0) Tree().Remove(node->Child(0));
      mAround.frmMain->RequestRedraw();
    }
    events.RemoveFirst();
    // What is subtracted is the size of the event that has become the first, not of the one that went: the
    // total runs a little off until the history is killed. It is how the totals are kept; with a limit of 0
    // there is none left, and the run ends here.
    mlngTotalMemoryAllocated -= events.Item(1)->mstrData.Size();
    --mlngTotalEvents;
  }
  if (const TreeNode* node = Tree().Find(key)) RenumberEventNodes(*node, key);
  if (ShowsInDiagram(history)) mAround.frmMain->ConnectionDiagramPurged(history);
}

// So that the keys of the event nodes equal positions again.
void Logging::RenumberEventNodes(const TreeNode& node, const QString& key) {
  for (qsizetype i = 0; i < node.ChildCount(); ++i) {
    const QString nodeKey = key + u'-' + QString::number(i + 1);
    node.Child(i).SetKey(nodeKey);
    node.Child(i).SetTag(nodeKey);
  }
}

void Logging::KillSocketHistory(qsizetype position) {
  mGeneral.Guard(
      u"An error occurred while attempting to kill the socket history.  The operating system reports: ", [&] {
        const SocketPairHistoryRef history = mobjSocketPairHistory.Item(position);
        const QString& key = history->mstrSocketPairKey;
        mlngTotalMemoryAllocated -= history->mlngMemoryAllocated;
        mlngTotalEvents -= history->mobjSocketPairEvents.Count();
        // Whatever fails from here on, the history is not looked at by a purge again.
        mDead.erase(history->mSerial);
        mGrown.erase(history->mSerial);
        mByPort.erase({history->mlngWasListeningOnPort, history->mSerial});
        Listener().mobjSocketPairs.Remove(key);
        if (TreeNode* node = Tree().Find(key)) {
          Tree().Remove(*node);
          Tree().Refresh();
        }
        ListView& grid = mAround.frmMain->DetailsGrid();
        if (grid.Contains(key)) grid.Remove(key);
        mobjSocketPairHistory.Remove(position);
      });
}

Listening& Logging::Listener() const {
  if (!mGeneral.gobjListening) throw Failure(FailureNumber::kObjectNotSet);
  return *mGeneral.gobjListening;
}

void Logging::RemoveEmptyEphemeralPorts() {
  mGeneral.Guard(kPortsFailure, [&] {
    for (const auto& [port, description] : mGeneral.mSettings.All(kPortsInUse)) {
      // Written just so: a port of the user's own may well be described in similar words.
      if (description.contains(kDynamicallyAllocated)) TryEphemeralPort(port);
    }
  });
}

// A row that fails does not stop those behind it. Each run tries it again, but only the first one reports it:
// there are two runs a second.
void Logging::TryEphemeralPort(const QString& port) {
  const auto remove = [&] { RemoveEmptyEphemeralPort(port); };
  if (mReportedPorts.contains(port)) {
    PastFailures(remove);
  } else if (!mGeneral.Guard(kPortsFailure, remove)) {
    mReportedPorts.insert(port);
  }
}

void Logging::RemoveEmptyEphemeralPort(const QString& port) {
  const qint32 number = ToInt32(port);
  Socket* const* listener = Listener().mcolListeningSocket.Find(ListeningSocketKey(number));
  if (listener && (*listener)->State() == SocketState::kListening) {
    mReportedPorts.remove(port);
    return;
  }
  // The first connection that came through this port decides, also when a later one lives.
  const auto first = mByPort.lower_bound({number, 0});
  if (first == mByPort.end() || first->first.first != number) {
    DeletePort(port);
    return;
  }
  const SocketPairHistoryRef history = first->second;
  if (!history->mblnDead || !mAround.frmOptions->RemoveEphemeralPortReferences()) return;
  DeletePort(port);
  KillSocketHistory(mobjSocketPairHistory.PositionOf(history->mstrSocketPairKey));
}

void Logging::DeletePort(const QString& port) {
  // A number that is too large for a port of the program's own fails before anything goes.
  const qint16 number = ToInt16(port);
  if (TreeNode* node = Tree().Find(ProtocolNodeKey(number))) {
    Tree().Remove(*node);
    Tree().Refresh();
  }
  const bool deleted = mReportedPorts.contains(port) ? PastFailures([&] { mGeneral.DeletePortRows(number); })
                                                     : mGeneral.DeleteEphemeralPortReferences(number);
  if (deleted) {
    mReportedPorts.remove(port);
  } else {
    mReportedPorts.insert(port);
  }
}

void Logging::ClearAllData() {
  mGeneral.Guard(
      u"An error occurred while attempting to clear all of the data.  The operating system reports: ", [&] {
        qsizetype position = 1;
        for (qsizetype turns = mobjSocketPairHistory.Count(); turns > 0; --turns) {
          if (mobjSocketPairHistory.Item(position)->mblnDead) {
            KillSocketHistory(position);
          } else {
            ++position;
          }
        }
        RemoveEmptyEphemeralPorts();
        mAround.frmMain->tvwSockets_NodeClick(Tree().Node(QStringLiteral("ROOT")));
        mAround.frmMain->RealTimeText().SetText(QString());
      });
}

}  // namespace veltrane
