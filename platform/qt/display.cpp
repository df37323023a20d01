#include "platform/qt/display.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QPluginLoader>
#include <QStringList>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace brenholt {
namespace {

bool HasKey(const QPluginLoader& plugin, const QString& key) {
    const QJsonArray keys = plugin.metaData()["MetaData"].toObject()["Keys"].toArray();
    for (const auto& value : keys) {
        if (value.toString().compare(key, Qt::CaseInsensitive) == 0) {
            return true;
        }
    }
    return false;
}

// Loads the plug-in as Qt will: one that is there may still lack a library. It stays loaded.
bool LoadPlatformPlugin(const QString& key) {
    QStringList folders;
    if (qEnvironmentVariableIsSet("QT_QPA_PLATFORM_PLUGIN_PATH")) {
        folders << qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH");
    }
    for (const QString& path : QCoreApplication::libraryPaths()) {
        folders << path + "/platforms";
    }
    for (const QString& folder : std::as_const(folders)) {
        const QDir dir(folder);
        for (const QString& file : dir.entryList(QDir::Files)) {
            QPluginLoader plugin(dir.filePath(file));
            if (HasKey(plugin, key) && plugin.load()) {
                return true;
            }
        }
    }
    return false;
}

bool WaylandAnswers() {
    if (qEnvironmentVariableIsSet("WAYLAND_SOCKET")) {
        return true;  // already connected by whoever started the process
    }
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    const QByteArray file = name.isEmpty() ? QByteArray("wayland-0") : name;
    const QByteArray path = file.startsWith('/') ? file : qgetenv("XDG_RUNTIME_DIR") + '/' + file;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<size_t>(path.size()) >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.constData(), static_cast<size_t>(path.size()));
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return false;
    }
    const bool answers =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return answers;
}

std::optional<Display> Probe(const QByteArray& platform) {
    const QString key = QString::fromLocal8Bit(platform.split(':').first()).toLower();
    Display display{platform, nullptr};
    if (key == "xcb") {
        display.connection.reset(xcb_connect(nullptr, nullptr));
        if (xcb_connection_has_error(display.connection.get()) != 0) {
            return std::nullopt;
        }
    } else if (key.startsWith("wayland")) {
        if (!WaylandAnswers()) {
            return std::nullopt;
        }
    } else if (key != "offscreen" && key != "minimal" && key != "vnc") {
        return std::nullopt;
    }
    if (!LoadPlatformPlugin(key)) {
        return std::nullopt;
    }
    return display;
}

}  // namespace

std::optional<Display> FindDisplay() {
    const QByteArray wanted = qgetenv("QT_QPA_PLATFORM");
    for (const QByteArray& platform : (wanted.isEmpty() ? "xcb;wayland" : wanted).split(';')) {
        if (auto display = Probe(platform)) {
            return display;
        }
    }
    return std::nullopt;
}

bool DisplayAnswers() {
    const QString platform = QGuiApplication::platformName();
    if (platform != "xcb") {
        return !platform.startsWith("wayland") || WaylandAnswers();
    }
    xcb_connection_t* connection =
        qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    if (xcb_connection_has_error(connection) != 0) {
        return false;
    }
    // Its end may not have been noticed yet.
    auto* reply = xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr);
    std::free(reply);
    return reply != nullptr;
}

}  // namespace brenholt
