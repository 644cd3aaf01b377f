#include "../audioendpoint.h"

#include <QDeadlineTimer>

#include <chrono>
#include <memory>

#include <pulse/pulseaudio.h>

namespace tools
{

namespace
{

/// The whole question, so that a server that keeps silent is not felt for long.
constexpr std::chrono::milliseconds answerLimit{900};

struct FreeMainLoop
{
    void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
};

struct FreeContext
{
    void operator()(pa_context* context) const
    {
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
};

/// What the server's answers are written to.
struct Answer
{
    QString text;
    bool complete = false;
};

void TakeDefaultSink(pa_context* /*context*/, const pa_server_info* info, void* userData)
{
    auto& answer = *static_cast<Answer*>(userData);
    answer.text = info != nullptr ? QString::fromUtf8(info->default_sink_name) : QString();
    answer.complete = true;
}

void TakeDefaultSource(pa_context* /*context*/, const pa_server_info* info, void* userData)
{
    auto& answer = *static_cast<Answer*>(userData);
    answer.text = info != nullptr ? QString::fromUtf8(info->default_source_name) : QString();
    answer.complete = true;
}

template<typename Info>
void TakeDescription(pa_context* /*context*/, const Info* info, int endOfList, void* userData)
{
    auto& answer = *static_cast<Answer*>(userData);
    if (info != nullptr) {
        answer.text = QString::fromUtf8(info->description);
    }
    answer.complete = endOfList != 0;
}

/// A conversation with the sound server on a loop of its own, with a limit in time.
class SoundServer
{
public:
    SoundServer()
        : loop(pa_mainloop_new())
        , context(loop != nullptr ? pa_context_new(pa_mainloop_get_api(loop.get()), "vxcommon") : nullptr)
    {}

    bool Connect()
    {
        if (context == nullptr) { // As when the process has no descriptor left.
            return false;
        }
        // No server is started: without one there is no device to be asked for.
        if (pa_context_connect(context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            return false;
        }
        return RunUntil([this] { return pa_context_get_state(context.get()) == PA_CONTEXT_READY; });
    }

    /// `Start` starts an operation that fills in an answer; nothing comes if it fails.
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
        // The operation must not find the answer when it is gone.
        pa_operation_cancel(operation);
        pa_operation_unref(operation);
        return answer.text;
    }

    long Error() const
    {
        if (context == nullptr) {
            return PA_ERR_INTERNAL;
        }
        const int error = timedOut ? PA_ERR_TIMEOUT : pa_context_errno(context.get());
        return error != PA_OK ? error : PA_ERR_NOENTITY; // All went well, but there is no such device.
    }

private:
    template<typename Condition>
    bool RunUntil(const Condition& condition)
    {
        while (!condition()) {
            const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
                std::chrono::nanoseconds(deadline.remainingTimeNSecs()));
            timedOut = left.count() <= 0;
            if (timedOut || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context.get())) ||
                pa_mainloop_prepare(loop.get(), static_cast<int>(left.count())) < 0 ||
                pa_mainloop_poll(loop.get()) < 0 || pa_mainloop_dispatch(loop.get()) < 0) {
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
    SoundServer server;
    if (!server.Connect()) {
        return {QString(), "pa_context_connect()", server.Error()};
    }
    const QByteArray name = server
                                .Ask([render](pa_context* context, Answer* answer) {
                                    return pa_context_get_server_info(
                                        context, render ? TakeDefaultSink : TakeDefaultSource, answer);
                                })
                                .toUtf8();
    if (name.isEmpty()) {
        return {QString(), "pa_context_get_server_info()", server.Error()};
    }
    const QString description = server.Ask([&](pa_context* context, Answer* answer) {
        return render ? pa_context_get_sink_info_by_name(context, name.constData(),
                                                         TakeDescription<pa_sink_info>, answer)
                      : pa_context_get_source_info_by_name(context, name.constData(),
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
