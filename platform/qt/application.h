// The Qt application that the windows live in.
#ifndef BRENHOLT_PLATFORM_QT_APPLICATION_H
#define BRENHOLT_PLATFORM_QT_APPLICATION_H

#include <string>

namespace brenholt {

// Whether windows can be made on the calling thread. The host's own QApplication is used, on its
// own thread only. Without one, the first call makes one for the calling thread; it is kept until
// the process ends. Says on stderr why not.
bool EnsureApplication();

// Puts the process's locale back: Qt sets it when its application is made and when the first key is
// pressed, and it is the host's to choose. Does nothing where the application is the host's own.
class LocaleKeeper {
 public:
    LocaleKeeper();
    ~LocaleKeeper();
    LocaleKeeper(const LocaleKeeper&) = delete;
    LocaleKeeper& operator=(const LocaleKeeper&) = delete;

 private:
    std::string m_locale;
};

}  // namespace brenholt

#endif
