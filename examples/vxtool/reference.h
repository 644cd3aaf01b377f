#pragma once

#include "command.h"

/// Generates help, manual page and completion from the table of commands.
namespace vxtool::reference
{

Options GlobalOptions();  ///< Returns the options allowed before and after every command.
Options ProgramOptions(); ///< Returns the options without a command, such as --version.

QString MainHelp();
QString CommandHelp(const Command& command);

/// Returns the commands whose first word is `word`, one per line; empty if there is none.
QString GroupHelp(const QString& word);

/// Returns the entry of `names` that is closest to `mistyped`; empty if none is close enough.
QString ClosestTo(const QString& mistyped, const QStringList& names);

/// Returns the manual page ("man") with the given date, such as 2026-01-31, or the completion for "bash" or
/// "zsh". Returns an empty string for any other kind.
QString Page(const QString& kind, const QString& date);

} // namespace vxtool::reference
