#include "tools/panel/unit.h"

#include <system_error>
#include <utility>

#include "tools/panel/beacon.h"
#include "tools/panel/server_error.h"
#include "tools/panel/udp.h"

namespace tavrin {
namespace {

Panel MakePanel(const PanelSettings& settings) {
    try {
        return Panel(settings.root, settings.identity);
    } catch (const std::system_error& error) {
        throw ServerError("cannot open folder " + settings.root.string() + ": " +
                          error.code().message());
    }
}

uint32_t AddressOf(const PanelSettings& settings) {
    const auto ip = ParseIp(settings.address);
    if (!ip) {
        throw ServerError("not an IPv4 address: '" + settings.address + "'");
    }
    return *ip;
}

}  // namespace

Unit::Unit(PanelSettings settings)
    : panel(MakePanel(settings)),
      plan(settings.faults),
      beacon(std::move(settings.beacon)),
      command{AddressOf(settings), kPanelPort},
      side{command.ip, 0} {
    panel.SetHook(std::move(settings.hook));
    panel.SetBlockObserver(std::move(settings.blockObserver));
}

void Unit::Open() {
    Descriptor commands = BindUdp(command);
    sideSocket = BindUdp({command.ip, 0});
    side = LocalEndpoint(sideSocket);
    commandSocket = std::move(commands);
}

void Unit::Close() {
    commandSocket = Descriptor();
    sideSocket = Descriptor();
}

Bytes Unit::BeaconBytes() const {
    return beacon.raw ? *beacon.raw : MakeBeacon(DescriptorText(panel.identity()));
}

}  // namespace tavrin
