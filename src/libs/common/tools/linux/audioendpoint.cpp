#include "../audioendpoint.h"

#include <QDeadlineTimer>
#include <QLibrary>

#include <chrono>
#include <cstring>
#include <memory>
#include <type_traits>

#include <pulse/pulseaudio.h>

namespace tools
{

namespace
{

/// Timeout of the whole query, because a server may never respond.
constexpr std::chrono::milliseconds answerLimit{900};

/// Name of the sink that PulseAudio creates if there is no device.
constexpr char dummySink[] = "auto_null";

/// The PulseAudio client library. Loaded on demand, because few programs use it and linking to it would slow
/// down the start of every program.
struct PulseAudio
{
    decltype(&pa_mainloop_new) mainloop_new;
    decltype(&pa_mainloop_free) mainloop_free;
    decltype(&pa_mainloop_get_api) mainloop_get_api;
    decltype(&pa_mainloop_prepare) mainloop_prepare;
    decltype(&pa_mainloop_poll) mainloop_poll;
    decltype(&pa_mainloop_dispatch) mainloop_dispatch;
    decltype(&pa_context_new) context_new;
    decltype(&pa_context_connect) context_connect;
    decltype(&pa_context_disconnect) context_disconnect;
    decltype(&pa_context_unref) context_unref;
    decltype(&pa_context_get_state) context_get_state;
    decltype(&pa_context_errno) context_errno;
    decltype(&pa_context_get_server_info) context_get_server_info;
    decltype(&pa_context_get_sink_info_by_name) context_get_sink_info_by_name;
    decltype(&pa_context_get_source_info_by_name) context_get_source_info_by_name;
    decltype(&pa_operation_cancel) operation_cancel;
    decltype(&pa_operation_unref) operation_unref;
    bool isComplete = true;
};

PulseAudio LoadPulseAudio()
{
    QLibrary library(QStringLiteral("pulse"), 0); // The library stays loaded.
    PulseAudio functions{};
    const auto resolve = [&](auto& function, const char* name) {
        function = reinterpret_cast<std::decay_t<decltype(function)>>(library.resolve(name));
        functions.isComplete = functions.isComplete && function != nullptr;
    };
    resolve(functions.mainloop_new, "pa_mainloop_new");
    resolve(functions.mainloop_free, "pa_mainloop_free");
    resolve(functions.mainloop_get_api, "pa_mainloop_get_api");
    resolve(functions.mainloop_prepare, "pa_mainloop_prepare");
    resolve(functions.mainloop_poll, "pa_mainloop_poll");
    resolve(functions.mainloop_dispatch, "pa_mainloop_dispatch");
    resolve(functions.context_new, "pa_context_new");
    resolve(functions.context_connect, "pa_context_connect");
    resolve(functions.context_disconnect, "pa_context_disconnect");
    resolve(functions.context_unref, "pa_context_unref");
    resolve(functions.context_get_state, "pa_context_get_state");
    resolve(functions.context_errno, "pa_context_errno");
    resolve(functions.context_get_server_info, "pa_context_get_server_info");
    resolve(functions.context_get_sink_info_by_name, "pa_context_get_sink_info_by_name");
    resolve(functions.context_get_source_info_by_name, "pa_context_get_source_info_by_name");
    resolve(functions.operation_cancel, "pa_operation_cancel");
    resolve(functions.operation_unref, "pa_operation_unref");
    return functions;
}

const PulseAudio& Pulse()
{
    static const PulseAudio functions = LoadPulseAudio();
    return functions;
}

struct FreeMainLoop
{
    void operator()(pa_mainloop* loop) const { Pulse().mainloop_free(loop); }
};

struct FreeContext
{
    void operator()(pa_context* context) const
    {
        Pulse().context_disconnect(context);
        Pulse().context_unref(context);
    }
};

/// Receives the response of the server.
struct Answer
{
    QString text;
    bool complete = false;
};

template<const char* pa_server_info::*Name>
void TakeName(pa_context* /*context*/, const pa_server_info* info, void* userData)
{
    auto& answer = *static_cast<Answer*>(userData);
    answer.text = info != nullptr ? QString::fromUtf8(info->*Name) : QString();
    answer.complete = true;
}

bool IsDevice(const pa_sink_info& sink)
{
    return std::strcmp(sink.name, dummySink) != 0;
}

/// Returns false for a monitor, which captures the output of a sink.
bool IsDevice(const pa_source_info& source)
{
    return source.monitor_of_sink == PA_INVALID_INDEX;
}

template<typename Info>
void TakeDescription(pa_context* /*context*/, const Info* info, int endOfList, void* userData)
{
    auto& answer = *static_cast<Answer*>(userData);
    if (info != nullptr && IsDevice(*info)) {
        answer.text = QString::fromUtf8(info->description);
    }
    answer.complete = endOfList != 0;
}

/// A connection to the sound server with a separate event loop and a timeout.
class SoundServer
{
public:
    SoundServer()
        : loop(Pulse().mainloop_new())
        , context(loop != nullptr ? Pulse().context_new(Pulse().mainloop_get_api(loop.get()), "vxcommon")
                                  : nullptr)
    {}

    bool Connect()
    {
        if (context == nullptr) { // For example because no descriptor is free.
            return false;
        }
        // Do not start a server: if none runs, there is no device.
        if (Pulse().context_connect(context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            return false;
        }
        return RunUntil([this] { return Pulse().context_get_state(context.get()) == PA_CONTEXT_READY; });
    }

    /// Runs the operation that `start` begins. Returns the response, or an empty string on failure.
    template<typename Start>
    QString Ask(const Start& start)
    {
        Answer answer;
        pa_operation* operation = start(context.get(), &answer);
        if (operation == nullptr) {
            return {};
        }
        if (!RunUntil([&answer] { return answer.complete; })) {
            answer.text.clear();
        }
        // Cancel the operation before `answer` is destroyed.
        Pulse().operation_cancel(operation);
        Pulse().operation_unref(operation);
        return answer.text;
    }

    long Error() const
    {
        if (context == nullptr) {
            return PA_ERR_INTERNAL;
        }
        const int error = timedOut ? PA_ERR_TIMEOUT : Pulse().context_errno(context.get());
        return error != PA_OK ? error : PA_ERR_NOENTITY; // The server has no default device.
    }

private:
    template<typename Condition>
    bool RunUntil(const Condition& condition)
    {
        while (!condition()) {
            const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
                std::chrono::nanoseconds(deadline.remainingTimeNSecs()));
            timedOut = left.count() <= 0;
            if (timedOut || !PA_CONTEXT_IS_GOOD(Pulse().context_get_state(context.get())) ||
                Pulse().mainloop_prepare(loop.get(), static_cast<int>(left.count())) < 0 ||
                Pulse().mainloop_poll(loop.get()) < 0 || Pulse().mainloop_dispatch(loop.get()) < 0) {
                return false;
            }
        }
        return true;
    }

    QDeadlineTimer deadline{answerLimit};
    std::unique_ptr<pa_mainloop, FreeMainLoop> loop;
    std::unique_ptr<pa_context, FreeContext> context;
    bool timedOut = false;
};

} // namespace

AudioEndpoint FindDefaultAudioEndpoint(bool render)
{
    if (!Pulse().isComplete) {
        return {QString(), "QLibrary::resolve()", PA_ERR_NOTSUPPORTED};
    }
    SoundServer server;
    if (!server.Connect()) {
        return {QString(), "pa_context_connect()", server.Error()};
    }
    const auto takeName = render ? TakeName<&pa_server_info::default_sink_name>
                                 : TakeName<&pa_server_info::default_source_name>;
    const auto getServer = [takeName](pa_context* context, Answer* answer) {
        return Pulse().context_get_server_info(context, takeName, answer);
    };
    const QByteArray name = server.Ask(getServer).toUtf8();
    if (name.isEmpty()) {
        return {QString(), "pa_context_get_server_info()", server.Error()};
    }
    const QString description = server.Ask([&](pa_context* context, Answer* answer) {
        return render ? Pulse().context_get_sink_info_by_name(context, name.constData(),
                                                              TakeDescription<pa_sink_info>, answer)
                      : Pulse().context_get_source_info_by_name(context, name.constData(),
                                                                TakeDescription<pa_source_info>, answer);
    });
    if (description.isEmpty()) {
        return {QString(),
                render ? "pa_context_get_sink_info_by_name()" : "pa_context_get_source_info_by_name()",
                server.Error()};
    }
    return {description, nullptr, 0};
}

} // namespace tools
