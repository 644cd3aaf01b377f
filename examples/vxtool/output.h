#pragma once

#include "command.h"

#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace vxtool
{

void PrintLine(const QString& line);      ///< Prints to standard output, in UTF-8.
void PrintBytes(const QByteArray& bytes); ///< Prints to standard output, verbatim.

/// The option --force of all commands that use PrintBody.
extern const Option forceOption;

/// Prints arbitrary bytes. Refuses to print binary data to a terminal unless --force is set.
bool PrintBody(const QCommandLineParser& parser, const QByteArray& bytes);

/// Prints to standard error, in UTF-8. Replaces control characters other than line breaks and tabs with
/// "\xNN", because a message from a server must not control the terminal.
void PrintError(const QString& line);

/// Sets whether to print only results and errors (--quiet), without progress and summary.
void SetQuiet(bool quiet);
bool IsQuiet();

/// Flushes the output. Returns `exitCode`, or an error code if output was lost or a column is unknown.
int FinishOutput(int exitCode);

/// The result for one input: named values, in order.
using Row = std::vector<std::pair<QString, QJsonValue>>;

/**
 * Prints rows as tab-separated values, as one JSON object per line (--json), or as a table with aligned
 * columns (--table). The destructor prints the table.
 *
 * Without --json, replaces tabs and line breaks in a value with \t, \n and \r, so that each row is one line.
 */
class RowPrinter
{
public:
    /// Returns the options for the format, followed by `more`.
    static vxtool::Options Options(const vxtool::Options& more = {});

    explicit RowPrinter(const QCommandLineParser& parser);
    ~RowPrinter();

    void Print(const Row& row);

private:
    Q_DISABLE_COPY(RowPrinter)

    Row ShownPart(const Row& row) const;

    bool asJson;
    bool asTable;
    QStringList columns; ///< Names of the values to show, in order; empty for all.
    std::vector<Row> tableRows;
};

/// Returns a command that prints the result of `makeRow` for each input. If `good` is given, the command
/// succeeds only if the first value of every row equals it.
Run PrintRows(const std::function<Row(const QString&)>& makeRow, const QJsonValue& good = QJsonValue::Null);

} // namespace vxtool
