// The Qt application that the windows live in.
#ifndef BRENHOLT_PLATFORM_QT_APPLICATION_H
#define BRENHOLT_PLATFORM_QT_APPLICATION_H

namespace brenholt {

// Whether windows can be made on the calling thread. The host's own QApplication is used, on its
// own thread only. Without one, the first call makes one for the calling thread; it is kept until
// the process ends. Says on stderr why not.
bool EnsureApplication();

}  // namespace brenholt

#endif
