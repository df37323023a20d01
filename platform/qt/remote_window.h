// A window as the thread that shows it sees it.
#ifndef BRENHOLT_PLATFORM_QT_REMOTE_WINDOW_H
#define BRENHOLT_PLATFORM_QT_REMOTE_WINDOW_H

#include <memory>

#include "platform/window/backend.h"

namespace brenholt {

// A window of `dialog` on the GUI thread: calls go there, events come back from there. Null when
// there can be none.
std::unique_ptr<DialogWindow> MakeRemoteWindow(const DialogTemplate& dialog, DialogEvents& events);

}  // namespace brenholt

#endif
