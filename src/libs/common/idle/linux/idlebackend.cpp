#include "../idlebackend.h"

#include "../../platform/linux/busconnection.h"
#include "../../platform/linux/xdisplay.h"
#include "idleunit.h"

#include <common/logger/logger.h>

#include <QElapsedTimer>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include <xcb/screensaver.h>

namespace common
{

namespace
{

constexpr logger::Channel logChannel{"common.idle"};

using std::chrono::milliseconds;

/// Timeout of a D-Bus call. Desktops reply immediately; a longer wait would freeze the user interface.
constexpr milliseconds replyTimeout{500};

int ToSeconds(std::optional<milliseconds> idleTime)
{
    if (!idleTime.has_value()) {
        LOG_MESSAGE(logger::Error) << "GetLastInputInfo returned not ok";
        return 0;
    }
    constexpr qint64 most = std::numeric_limits<int>::max();
    return static_cast<int>(
        std::min<qint64>(std::chrono::floor<std::chrono::seconds>(*idleTime).count(), most));
}

/// Reads the idle time from the MIT-SCREEN-SAVER extension of the X server.
class ScreenSaverExtensionBackend : public IIdleBackend
{
public:
    ScreenSaverExtensionBackend()
        : connection(platform::ConnectToX(&screenNumber))
    {
        if (connection == nullptr) {
            return;
        }
        auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
        for (int i = 0; i < screenNumber && screen.rem > 1; ++i) {
            xcb_screen_next(&screen);
        }
        const auto* extension = xcb_get_extension_data(connection.get(), &xcb_screensaver_id);
        if (screen.rem > 0 && extension != nullptr && extension->present != 0) {
            root = screen.data->root;
        }
    }

    bool IsUsable() const { return root != XCB_NONE; }

    int getSeconds() override
    {
        const auto cookie = xcb_screensaver_query_info(connection.get(), root);
        const platform::XReply<xcb_screensaver_query_info_reply_t> reply(
            xcb_screensaver_query_info_reply(connection.get(), cookie, nullptr));
        return ToSeconds(reply != nullptr ? std::optional(milliseconds(reply->ms_since_user_input))
                                          : std::nullopt);
    }

private:
    int screenNumber = 0;
    platform::XConnection connection;
    xcb_window_t root = XCB_NONE;
};

/// A method of a service on the session bus that takes no arguments and returns the idle time.
struct IdleService
{
    const char* service;
    const char* path;
    const char* interface;
    const char* method;
};

constexpr IdleService mutterIdleMonitor{"org.gnome.Mutter.IdleMonitor", "/org/gnome/Mutter/IdleMonitor/Core",
                                        "org.gnome.Mutter.IdleMonitor", "GetIdletime"};
constexpr IdleService screenSaver{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                                  "org.freedesktop.ScreenSaver", "GetSessionIdleTime"};

std::optional<quint64> Query(platform::BusConnection& bus, const IdleService& service)
{
    const auto call =
        QDBusMessage::createMethodCall(QLatin1String(service.service), QLatin1String(service.path),
                                       QLatin1String(service.interface), QLatin1String(service.method));
    const QDBusMessage reply = bus.Call(call, QDeadlineTimer(replyTimeout));
    bool ok = false;
    const quint64 number = reply.arguments().value(0).toULongLong(&ok);
    return reply.type() == QDBusMessage::ReplyMessage && ok ? std::optional(number) : std::nullopt;
}

using Bus = std::unique_ptr<platform::BusConnection>;

class MutterBackend : public IIdleBackend
{
public:
    explicit MutterBackend(Bus bus_)
        : bus(std::move(bus_))
    {}

    int getSeconds() override
    {
        const std::optional<quint64> number = Query(*bus, mutterIdleMonitor);
        return ToSeconds(number ? std::optional(milliseconds(*number)) : std::nullopt);
    }

private:
    Bus bus;
};

/// Reports the user as active until the unit of the replies is known.
class ScreenSaverServiceBackend : public IIdleBackend
{
public:
    explicit ScreenSaverServiceBackend(Bus bus_)
        : bus(std::move(bus_))
    {
        clock.start();
    }

    int getSeconds() override
    {
        const std::optional<quint64> number = Query(*bus, screenSaver);
        if (!number.has_value()) {
            return ToSeconds(std::nullopt);
        }
        constexpr quint64 most = std::numeric_limits<quint32>::max();
        const auto reply = static_cast<quint32>(std::min(*number, most));
        return ToSeconds(
            unit.ToIdleTime(reply, milliseconds(clock.elapsed())).value_or(milliseconds::zero()));
    }

private:
    Bus bus;
    IdleUnit unit;
    QElapsedTimer clock;
};

std::unique_ptr<IIdleBackend> CreateServiceBackend()
{
    auto bus = std::make_unique<platform::BusConnection>(platform::BusConnection::SessionBusAddress(),
                                                         QDeadlineTimer(replyTimeout));
    if (!bus->IsOpen()) {
        return nullptr;
    }
    if (Query(*bus, mutterIdleMonitor).has_value()) {
        return std::make_unique<MutterBackend>(std::move(bus));
    }
    if (Query(*bus, screenSaver).has_value()) {
        return std::make_unique<ScreenSaverServiceBackend>(std::move(bus));
    }
    return nullptr;
}

std::unique_ptr<IIdleBackend> CreateExtensionBackend()
{
    auto backend = std::make_unique<ScreenSaverExtensionBackend>();
    return backend->IsUsable() ? std::move(backend) : nullptr;
}

} // namespace

std::unique_ptr<IIdleBackend> createIdleBackend()
{
    const bool wayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    std::unique_ptr<IIdleBackend> backend = wayland ? CreateServiceBackend() : CreateExtensionBackend();
    if (backend == nullptr) {
        backend = wayland ? CreateExtensionBackend() : CreateServiceBackend();
    }
    if (backend == nullptr) {
        LOG_MESSAGE(logger::Error) << "cant resolve GetLastInputInfo Or IdleUIGetLastInputTime";
    }
    return backend;
}

} // namespace common
