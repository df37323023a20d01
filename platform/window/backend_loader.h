// Where the framework finds its window backend.
#ifndef BRENHOLT_PLATFORM_WINDOW_BACKEND_LOADER_H
#define BRENHOLT_PLATFORM_WINDOW_BACKEND_LOADER_H

#include "platform/window/backend.h"

namespace brenholt {

// The backend, opened at the first call; null when it is not there or is of another build. Any thread.
WindowBackend* GetWindowBackend();
// The system's own: where it is a shared object, from the module's folder. Null as above.
WindowBackend* OpenWindowBackend();

// Puts `backend` in its place, for tests; null brings the usual search back.
void SetWindowBackend(WindowBackend* backend);

}  // namespace brenholt

#endif
