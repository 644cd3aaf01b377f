#pragma once

#include <QStringList>

#include <functional>

/// System services that vxtool uses directly.
namespace vxtool::platform
{

/// Returns the program's arguments, without its name.
QStringList Arguments(int argc, char** argv);

/// Makes standard input and output pass bytes unchanged. Keeps a stream that was closed at the start
/// unusable, so that the next opened file does not take its place.
void PrepareStandardStreams();

bool IsOutputTerminal(); ///< Returns whether standard output is a terminal.
int TerminalWidth();     ///< Returns the columns of the terminal at standard error; 0 if there is none.

/// Returns why the process cannot be ended; empty if nothing is known to prevent it.
QString TerminationProblem(unsigned long processId);

/// Prepares the thread for calls into the desktop's shell, until the program ends.
void EnterDesktop();

/// Calls `handle` once, on the thread of the event loop, when the user interrupts the program (Ctrl-C). The
/// first interrupt then does not end the program, the second does.
void OnInterrupt(const std::function<void()>& handle);

/// If OnInterrupt has caught an interrupt, ends the program as the interrupt would have. Otherwise returns
/// `exitCode`.
int EndAfterInterrupt(int exitCode);

} // namespace vxtool::platform
