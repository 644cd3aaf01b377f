#pragma once

/// The system's notification of suspend and resume, which is forwarded to tools::powerChangeNotify.
namespace tools::powernotification
{

constexpr unsigned long suspendEvent = 4; ///< PBT_APMSUSPEND
constexpr unsigned long resumeEvent = 7;  ///< PBT_APMRESUMESUSPEND

enum class Result
{
    Done,
    Missing, ///< The system has no such function.
    Refused
};

/// Subscribes; `context` is passed to powerChangeNotify with each event. On Windows, a later call keeps the
/// first context.
Result Register(void* context);

/// Ends the subscription. May be called repeatedly, and without a subscription.
Result Unregister();

} // namespace tools::powernotification
