// Which handler serves which row of the port table, and which are offered to the user.
#pragma once

#include <functional>
#include <vector>

#include "engine/ProtocolHandler.h"

namespace veltrane {

/// By the value in section "Protocols".
ProtocolTable AllProtocols();

/// One of each class, in the order of the list of protocols.
std::vector<std::function<ProtocolHandlerRef(General&)>> ListedProtocols();

}  // namespace veltrane
