#pragma once

/// Subscription to the system's suspend and resume events, which are forwarded to tools::powerChangeNotify.
namespace tools::powernotification
{

constexpr unsigned long suspendEvent = 4; ///< PBT_APMSUSPEND
constexpr unsigned long resumeEvent = 7;  ///< PBT_APMRESUMESUSPEND

enum class Result
{
    Done,
    Missing, ///< The system lacks the required function.
    Refused
};

/// Subscribes to suspend and resume events. For each event, powerChangeNotify is called with `context`. On
/// Windows, a later call keeps the context of the first one.
Result Register(void* context);

/// Ends the subscription. Can be called repeatedly, even if there is no subscription.
Result Unregister();

} // namespace tools::powernotification
