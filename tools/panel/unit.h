// One panel with its sockets, as a server runs it.
#ifndef BRENHOLT_TOOLS_PANEL_UNIT_H
#define BRENHOLT_TOOLS_PANEL_UNIT_H

#include "tools/panel/descriptor.h"
#include "tools/panel/endpoint.h"
#include "tools/panel/fault_plan.h"
#include "tools/panel/panel.h"
#include "tools/panel/settings.h"

namespace tavrin {

struct Unit {
    // Throws ServerError for an address that is none or a folder that cannot be opened.
    explicit Unit(PanelSettings settings);

    // Binds both sockets; throws ServerError and leaves none.
    void Open();
    void Close();
    Bytes BeaconBytes() const;

    Panel panel;
    FaultPlan plan;
    BeaconSettings beacon;
    Endpoint command;  // ADDRESS:10251
    Endpoint side;     // same address, any port: beacons, and replies from another port
    Descriptor commandSocket;
    Descriptor sideSocket;
    Time nextBeacon{0};
    bool paused = false;
};

}  // namespace tavrin

#endif
