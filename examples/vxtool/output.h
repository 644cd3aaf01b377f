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

/// The option --force of the commands that print a body with PrintBody.
extern const Option forceOption;

/// Prints arbitrary bytes. Refuses to print binary data to a terminal unless --force is set.
bool PrintBody(const QCommandLineParser& parser, const QByteArray& bytes);

/// Prints to standard error, in UTF-8. Control characters other than line breaks and tabs are shown as
/// "\xNN": the text may come from a server, and must not control the terminal.
void PrintError(const QString& line);

/// Sets whether to print only results and errors (--quiet), without progress and summary.
void SetQuiet(bool quiet);
bool IsQuiet();

/// Flushes the output. Returns `exitCode`, or another code if output was lost or could not be produced.
int FinishOutput(int exitCode);

/// The result for one input: named values in their order.
using Row = std::vector<std::pair<QString, QJsonValue>>;

/**
 * Prints rows in the format of the options: values separated by tabs, one JSON object per line (--json), or,
 * when the rows are complete, a table with aligned columns (--table).
 *
 * Tabs and line breaks inside a value are shown as \t, \n and \r, so that a row stays one line; --json keeps
 * them.
 */
class RowPrinter
{
public:
    /// Returns the options for the format, and `more` after them.
    static vxtool::Options Options(const vxtool::Options& more = {});

    explicit RowPrinter(const QCommandLineParser& parser);
    ~RowPrinter();

    void Print(const Row& row);

private:
    Q_DISABLE_COPY(RowPrinter)

    enum class Style
    {
        Tabs,
        Json,
        Table
    };

    Row ShownPart(const Row& row) const;

    Style style;
    QStringList columns; ///< Names of the values to show, in order; empty for all.
    std::vector<Row> tableRows;
};

/// Returns a command that prints the row that `makeRow` returns for each input. Succeeds if the first value
/// of each row is `good`, if that is given.
Run PrintRows(const std::function<Row(const QString&)>& makeRow, const QJsonValue& good = QJsonValue::Null);

} // namespace vxtool
