#include "tools/panel/unit.h"

#include <system_error>
#include <utility>

#include "tools/panel/beacon.h"
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

std::uint32_t AddressOf(const PanelSettings& settings) {
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
    panel.SetBlockObserver(std::move(settings.block_observer));
}

void Unit::Open() {
    Descriptor commands = BindUdp(command);
    side_socket = BindUdp({command.ip, 0});
    side = LocalEndpoint(side_socket);
    command_socket = std::move(commands);
}

void Unit::Close() {
    command_socket = Descriptor();
    side_socket = Descriptor();
}

Bytes Unit::BeaconBytes() const {
    return beacon.raw ? *beacon.raw : MakeBeacon(DescriptorText(panel.identity()));
}

}  // namespace tavrin
