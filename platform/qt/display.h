// Finds out whether Qt can reach a display, before Qt tries: where it cannot, it aborts the
// process.
#ifndef BRENHOLT_PLATFORM_QT_DISPLAY_H
#define BRENHOLT_PLATFORM_QT_DISPLAY_H

#include <xcb/xcb.h>

#include <QByteArray>
#include <memory>
#include <optional>

namespace brenholt {

struct XcbDisconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

// A platform that answered. `connection` is null unless it is an X server; hold it until Qt has its
// own: a server may end or reset itself when its last client leaves.
struct Display {
    QByteArray platform;  // as the option -platform takes it
    std::unique_ptr<xcb_connection_t, XcbDisconnect> connection;
};

// The first platform that can be used of those that QT_QPA_PLATFORM names, else of xcb and wayland.
// Platforms that cannot be probed count as absent.
std::optional<Display> FindDisplay();

// Whether the display of the Qt application that runs is still there.
bool DisplayAnswers();

}  // namespace brenholt

#endif
