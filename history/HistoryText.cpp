#include "history/HistoryText.h"

#include <algorithm>

namespace veltrane {

bool ListsConnections(const QString& image) {
  return image == u"AllActivity" || image == u"Protocol" || image == u"Connection";
}

QString ConnectionNodeKey(qint32 port, const QString& client, const QString& server) {
  return QStringLiteral("CON") + QString::number(port) + client + server;
}

QString AwaitingNodeKey(const SocketPairHistory& history) {
  return ConnectionNodeKey(history.mlngLocalServerPort, history.mstrRemoteClientIP, QString());
}

QString ConnectionNodeKey(const SocketPairHistory& history) {
  return ConnectionNodeKey(history.mlngLocalServerPort, history.mstrRemoteClientIP,
                           history.mstrRemoteServerIP);
}

QString ShownName(const QString& name) {
  constexpr qsizetype kLongestName = 253;
  QString shown = name.first(std::min(name.size(), kLongestName));
  for (QChar& character : shown) {
    const bool endsLine = character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
    if (!character.isPrint() || endsLine) character = u'.';
  }
  if (name.size() > kLongestName) shown += QStringLiteral("...");
  return shown;
}

QString Address(const QString& address, qint32 port) {
  return address + u':' + QString::number(port);
}

QString Bracketed(const QString& name) {
  return QStringLiteral(" (") + name + u')';
}

QString InBrackets(const QString& name) {
  return name.isEmpty() ? QString() : Bracketed(name);
}

QString ServerText(const SocketPairHistory& history) {
  if (history.mstrRemoteServerName.isEmpty() && history.mstrRemoteServerIP.isEmpty()) return kNotAvailable;
  return Address(history.mstrRemoteServerIP, history.mlngRemoteServerPort) +
         InBrackets(history.mstrRemoteServerName);
}

QString SocketNodeText(const SocketPairHistory& history) {
  if (!history.mblnDead) return kAliveText;
  const QString state =
      history.mlngErrorNumber != 0 ? QStringLiteral("Dead With Error (") : QStringLiteral("Dead (");
  return state + history.mstrTimeOfDeath + u')';
}

}  // namespace veltrane
