#pragma once

/// The system's report of suspend and resume, which goes to tools::powerChangeNotify.
namespace tools::powernotification
{

enum class Result
{
    Done,
    Missing, ///< The system has no such function.
    Refused
};

/// Subscribes; `context` is handed to powerChangeNotify with each event. The first context stays.
Result Register(void* context);

/// Ends the subscription. To be called any number of times, also without one.
Result Unregister();

} // namespace tools::powernotification
