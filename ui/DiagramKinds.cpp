#include "ui/DiagramKinds.h"

#include <iterator>

namespace veltrane {
namespace {

using enum DiagramArray;

constexpr char kOn[] = "ComputerOn.avi";
constexpr char kComingOn[] = "ComputerComingOn.avi";
constexpr char kGoingOff[] = "ComputerGoingOff.avi";
constexpr char kBolt[] = "LightningBolt.avi";
constexpr char kBoltX[] = "LightningBoltX.avi";
constexpr char kBoltGrey[] = "LightningBoltGrey.avi";

// By kind, from 0. Left to right is the order of drawing.
constexpr DiagramKind kKinds[] = {
    /* accepted */ {{aniClient, kComingOn}, {{aniClient2VLT, kBolt}, {aniVLT, kOn}}},
    /* rejected */ {{aniClient, kComingOn}, {{aniClient2VLT, kBoltX}, {aniVLT, kOn}}},
    /* attempt */ {{aniVLT, kOn}, {{aniVLT2Server, kBoltGrey}, {pctInternet, "Cloud.bmp"}}},
    /* attempt failed */ {{aniVLT, kOn}, {{aniVLT2Server, kBoltGrey}, {aniServer, kFailedPicture}}},
    /* attempt successful */ {{aniVLT, kOn}, {{aniVLT2Server, kBolt}, {aniServer, kOn}}},
    /* remote server gone */ {{aniVLT, kOn}, {{aniVLT2Server, kBoltGrey}, {aniServer, kGoingOff}}},
    /* left the client */ {{aniVLT, kGoingOff}, {{aniClient2VLT, kBoltGrey}, {aniClient, kOn}}},
    /* remote client gone */ {{aniVLT, kOn}, {{aniClient2VLT, kBoltGrey}, {aniClient, kGoingOff}}},
    /* left the server */ {{aniVLT, kGoingOff}, {{aniVLT2Server, kBoltGrey}, {aniServer, kOn}}},
    /* from the server */ {{aniVLT, kOn}, {{aniVLT2Server, "S2CData.avi"}, {aniServer, kOn}}},
    /* buffered */ {{aniVLT, kOn}, {{aniVLT2Server, "C2SBuffer.avi"}, {}}},
    /* buffered, dangling */ {{aniVLT, kOn}, {{aniVLT2Server, "C2SDangleBuffer.avi"}, {}}},
    /* buffered */ {{aniVLT, kOn}, {{aniClient2VLT, "S2CBuffer.avi"}, {}}},
    /* buffered, dangling */ {{aniVLT, kOn}, {{aniClient2VLT, "S2CDangleBuffer.avi"}, {}}},
    /* to the client */ {{aniVLT, kOn}, {{aniClient, kOn}, {aniClient2VLT, "S2CData.avi"}}},
    /* the same, throttled */ {{aniVLT, kOn}, {{aniClient, kOn}, {aniClient2VLT, "S2CThrottle.avi"}}},
    /* from the client */ {{aniClient, kOn}, {{aniClient2VLT, "C2SData.avi"}, {aniVLT, kOn}}},
    /* to the server */ {{aniVLT, kOn}, {{aniVLT2Server, "C2SData.avi"}, {aniServer, kOn}}},
    /* the same, throttled */ {{aniVLT, kOn}, {{aniVLT2Server, "C2SThrottle.avi"}, {aniServer, kOn}}},
    /* client side broken */ {{aniVLT, kOn}, {{aniClient2VLT, ""}, {aniClient, kFailedPicture}}},
    /* server side broken */ {{aniVLT, kOn}, {{aniVLT2Server, ""}, {aniServer, kFailedPicture}}},
    /* server dangles */ {{aniVLT, kOn}, {{aniVLT2Server, "DangleStart.avi"}, {}}},
    /* client dangles */ {{aniVLT, kOn}, {{aniClient2VLT, "DangleStart.avi"}, {}}},
    /* server goes on */ {{aniVLT, kOn}, {{aniVLT2Server, "DangleStop.avi"}, {}}},
    /* client goes on */ {{aniVLT, kOn}, {{aniClient2VLT, "DangleStop.avi"}, {}}},
};
static_assert(std::size(kKinds) == kSocketEventTypes);

}  // namespace

const DiagramKind* DrawingOf(SocketEventType kind) {
  return kind >= 0 && kind < kSocketEventTypes ? &kKinds[kind] : nullptr;
}

}  // namespace veltrane
