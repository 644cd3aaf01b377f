#include "output.h"

#include "input.h"
#include "platform.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

#include <algorithm>
#include <cstdio>

namespace vxtool
{

namespace
{

const Option jsonOption{u"json"_s, u"Print one JSON object per line."_s};
const Option tableOption{u"table"_s, u"Print a table with aligned columns; long cells are shortened."_s};
const Option columnsOption{
    u"columns"_s, u"Print only the values in LIST: names as in --json, separated by commas."_s, u"LIST"_s};

/// Maximum width of a table cell, so that a very long value does not push the other columns off the screen.
constexpr qsizetype maxCellWidth = 44;

/// Error while writing to standard output, such as a full disk; empty if there was none.
QString outputError;

bool quiet = false;

/// A name in --columns that is missing from the rows; empty if there is none.
QString unknownColumn;

void Print(std::FILE* file, const QByteArray& bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, file) != size && file == stdout && outputError.isEmpty()) {
        outputError = qt_error_string();
    }
}

QString CellText(const QJsonValue& value)
{
    QString text = value.toVariant().toString();
    text.replace(u'\t', QLatin1String("\\t"));
    text.replace(u'\n', QLatin1String("\\n"));
    text.replace(u'\r', QLatin1String("\\r"));
    return text;
}

QString WithoutControls(const QString& text)
{
    QString shown;
    for (const QChar character : text) {
        const bool harmless =
            character.category() != QChar::Other_Control || character == u'\n' || character == u'\t';
        shown += harmless ? QString(character) : u"\\x%1"_s.arg(character.unicode(), 2, 16, QLatin1Char('0'));
    }
    return shown;
}

/// Returns JSON with the values in the order of the row; QJsonObject would sort them.
QString JsonText(const Row& row)
{
    QStringList members;
    for (const auto& [name, value] : row) {
        const QByteArray member = QJsonDocument(QJsonObject{{name, value}}).toJson(QJsonDocument::Compact);
        members += QString::fromUtf8(member.mid(1, member.size() - 2));
    }
    return u'{' + members.join(u',') + u'}';
}

QStringList Cells(const Row& row, QString (*textOf)(const QJsonValue&))
{
    QStringList cells;
    for (const auto& [name, value] : row) {
        cells += textOf(value);
    }
    return cells;
}

QString TableCellText(const QJsonValue& value)
{
    QString text = CellText(value);
    if (text.size() <= maxCellWidth) {
        return text;
    }
    const bool insidePair = text.at(maxCellWidth - 2).isHighSurrogate();
    return text.left(maxCellWidth - (insidePair ? 2 : 1)) + QChar(0x2026);
}

void PrintTable(const std::vector<Row>& rows)
{
    QList<QStringList> lines(1);
    for (const auto& [name, value] : rows.front()) {
        lines.front() += name;
    }
    for (const Row& row : rows) {
        lines += Cells(row, TableCellText);
    }
    QList<qsizetype> widths(lines.front().size());
    for (const QStringList& line : lines) {
        for (qsizetype column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], line[column].size());
        }
    }
    for (const QStringList& line : lines) {
        QString text;
        for (qsizetype column = 0; column < widths.size(); ++column) {
            text += line[column].leftJustified(widths[column] + 2);
        }
        while (text.endsWith(u' ')) {
            text.chop(1);
        }
        PrintLine(text);
    }
}

} // namespace

void PrintLine(const QString& line)
{
    Print(stdout, line.toUtf8() + '\n');
}

void PrintBytes(const QByteArray& bytes)
{
    Print(stdout, bytes);
}

const Option forceOption{u"force"_s, u"Print binary data even to a terminal."_s};

bool PrintBody(const QCommandLineParser& parser, const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(bytes);
    const bool isBinary = decoder.hasError() || text.contains(QChar::Null);
    if (isBinary && platform::IsOutputTerminal() && !parser.isSet(forceOption)) {
        return Complain(u"binary data is not printed to a terminal; redirect it, or use --force"_s);
    }
    PrintBytes(bytes);
    return true;
}

void SetQuiet(bool isQuiet)
{
    quiet = isQuiet;
}

bool IsQuiet()
{
    return quiet;
}

void PrintError(const QString& line)
{
    Print(stderr, WithoutControls(line).toUtf8() + '\n');
}

int FinishOutput(int exitCode)
{
    if (!unknownColumn.isEmpty()) {
        return FailUsage(u"--columns: unknown name \"%1\""_s.arg(unknownColumn));
    }
    if (std::fflush(stdout) != 0 && outputError.isEmpty()) {
        outputError = qt_error_string();
    }
    return outputError.isEmpty() ? exitCode : Fail(u"cannot write standard output: "_s + outputError);
}

vxtool::Options RowPrinter::Options(const vxtool::Options& more)
{
    return vxtool::Options{jsonOption, tableOption, columnsOption} + more;
}

RowPrinter::RowPrinter(const QCommandLineParser& parser)
    : asJson(parser.isSet(jsonOption))
    , asTable(!asJson && parser.isSet(tableOption))
    , columns(parser.value(columnsOption).split(u',', Qt::SkipEmptyParts))
{}

RowPrinter::~RowPrinter()
{
    if (!tableRows.empty()) {
        PrintTable(tableRows);
    }
}

void RowPrinter::Print(const Row& row)
{
    const Row shown = ShownPart(row);
    if (!unknownColumn.isEmpty()) {
        return;
    }
    if (asTable) {
        tableRows.push_back(shown);
    } else {
        PrintLine(asJson ? JsonText(shown) : Cells(shown, CellText).join(u'\t'));
    }
}

Row RowPrinter::ShownPart(const Row& row) const
{
    if (columns.isEmpty()) {
        return row;
    }
    Row shown;
    for (const QString& column : columns) {
        const auto value = std::find_if(
            row.begin(), row.end(), [&column](const auto& candidate) { return candidate.first == column; });
        if (value != row.end()) {
            shown.push_back(*value);
        } else {
            unknownColumn = column;
        }
    }
    return shown;
}

Run PrintRows(const std::function<Row(const QString&)>& makeRow, const QJsonValue& good)
{
    return [makeRow, good](const QCommandLineParser& parser) {
        RowPrinter printer(parser);
        return ExitCodeOf(ForEachInput(parser.positionalArguments(), [&](const QString& input) {
            const Row row = makeRow(input);
            printer.Print(row);
            return good.isNull() || row.front().second == good;
        }));
    };
}

} // namespace vxtool
