#pragma once

#include <QCommandLineParser>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace vxtool
{

void PrintLine(const QString& line);      ///< To standard output, in UTF-8.
void PrintBytes(const QByteArray& bytes); ///< To standard output, as they are.

/// To standard error, in UTF-8. Control characters other than line breaks and tabs are shown as "\xNN": the
/// text may come from a server, and must not steer the terminal.
void PrintError(const QString& line);

/// Writes out what is still held back. Returns `exitCode`, or another if output was lost or could not be
/// made.
int FinishOutput(int exitCode);

/// What a command found for one input: named values in their order.
using Row = std::vector<std::pair<QString, QJsonValue>>;

/**
 * Prints rows the way the options ask for: values between tabs, one JSON object a line (--json), or, when the
 * rows are complete, a table with aligned columns (--table).
 *
 * Tabs and line breaks inside a value are shown as \t, \n and \r, so that a row stays one line; --json keeps
 * them.
 */
class RowPrinter
{
public:
    static void AddOptions(QCommandLineParser& parser);

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
    QStringList columns; ///< Names of the values to show, in this order; empty for all.
    std::vector<Row> tableRows;
};

} // namespace vxtool
