// The thread that Qt lives on, and the turns that it takes with a thread that shows dialogs.
#ifndef BRENHOLT_PLATFORM_QT_GUI_SESSION_H
#define BRENHOLT_PLATFORM_QT_GUI_SESSION_H

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

namespace brenholt {

// The time in which the calling thread, its caller, may have windows. Sessions of one thread nest;
// meanwhile no other thread gets one.
//
// The GUI thread is the one of the host's Qt application. Without one it is a thread of our own,
// made at the first session and kept, as is the application on it. Between sessions that thread
// does not look at the display: Qt ends the process when it finds that its display has gone.
class GuiSession {
 public:
    GuiSession();
    ~GuiSession();
    GuiSession(const GuiSession&) = delete;
    GuiSession& operator=(const GuiSession&) = delete;

    // False when there can be no windows: no display, the host's application is not a QApplication
    // or does not run its event loop, or another thread has a session.
    explicit operator bool() const { return m_open; }

 private:
    bool m_open;
};

// Runs `body` on the GUI thread, or on the session's caller. Called from the other one of the two,
// which in the meantime runs what that side asks of it: the calls of both nest as if on one stack, and
// one thread runs at a time. What `body` throws is rethrown here.
void RunOnGuiThread(const std::function<void()>& body);
void RunOnCaller(const std::function<void()>& body);

// As RunOnGuiThread; gives what `body` gives.
template <class Body>
auto OnGuiThread(const Body& body) {
    if constexpr (std::is_void_v<decltype(body())>) {
        RunOnGuiThread(std::cref(body));
    } else {
        std::optional<decltype(body())> result;
        RunOnGuiThread([&] { result.emplace(body()); });
        return std::move(*result);
    }
}

}  // namespace brenholt

#endif
