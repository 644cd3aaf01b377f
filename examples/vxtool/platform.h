#pragma once

#include <QStringList>

#include <functional>

/// System services that vxtool uses directly.
namespace vxtool::platform
{

/// Returns the program's arguments without the program name.
QStringList Arguments(int argc, char** argv);

/// Makes the standard streams pass bytes unchanged. Occupies the descriptor of a stream that was closed at
/// start-up, so that no opened file receives it.
void PrepareStandardStreams();

bool IsOutputTerminal(); ///< Returns whether standard output is a terminal.
int TerminalWidth();     ///< Returns the number of columns of standard error; 0 if it is not a terminal.

/// Returns why the process cannot be terminated; empty if no reason is found.
QString TerminationProblem(unsigned long processId);

/// Prepares the calling thread for functions of the desktop's shell.
void EnterDesktop();

/// Calls `handle` once, on the thread of the event loop, when the user interrupts the program (Ctrl-C). The
/// first interrupt does not end the program; a second one does.
void OnInterrupt(const std::function<void()>& handle);

/// If OnInterrupt has caught an interrupt, ends the program as the interrupt would have. Otherwise returns
/// `exitCode`.
int EndAfterInterrupt(int exitCode);

} // namespace vxtool::platform
