// The Qt application of a process whose host has none.
#ifndef BRENHOLT_PLATFORM_QT_APPLICATION_H
#define BRENHOLT_PLATFORM_QT_APPLICATION_H

class QCoreApplication;

namespace brenholt {

// Makes the application, for the calling thread; it is kept until the process ends. False when it
// would find no display.
bool MakeApplication();

// Whether `application` was made here.
bool IsOwn(const QCoreApplication& application);

}  // namespace brenholt

#endif
