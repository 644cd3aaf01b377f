#pragma once

#include <QStringList>

#include <functional>

/// What vxtool needs of the system itself.
namespace vxtool::platform
{

/// Returns the program's arguments, without its name.
QStringList Arguments(int argc, char** argv);

/// Makes standard input and output carry bytes unchanged. A stream that was closed when the program started
/// stays unusable, instead of being taken for the next file that opens.
void PrepareStandardStreams();

bool IsOutputTerminal(); ///< Returns whether standard output is a terminal.
int TerminalWidth();     ///< Returns the columns of the terminal at standard error; 0 if it is none.

/// Returns why the process cannot be ended; empty if nothing is known to prevent it.
QString TerminationProblem(unsigned long processId);

/// Prepares the thread for calls into the desktop's shell, until the program ends.
void EnterDesktop();

/// Calls `handle` on the thread of the event loop, once, when the user interrupts the program (Ctrl-C), which
/// then does not end on its own. A second interrupt ends it.
void OnInterrupt(const std::function<void()>& handle);

/// Ends the program as the interrupt that OnInterrupt caught would have; without one, returns `exitCode`.
int EndAfterInterrupt(int exitCode);

} // namespace vxtool::platform
