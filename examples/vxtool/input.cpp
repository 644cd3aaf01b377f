#include "input.h"

#include "output.h"

#include <QFile>

#include <cstdio>

namespace vxtool
{

bool ForEachInput(const QStringList& arguments, const std::function<bool(const QString&)>& handle)
{
    bool allValid = true;
    if (!arguments.isEmpty()) {
        for (const QString& argument : arguments) {
            allValid = handle(argument) && allValid;
        }
        return allValid;
    }
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return false;
    }
    for (QByteArray line = input.readLine(); !line.isEmpty(); line = input.readLine()) {
        if (line.endsWith('\n')) {
            line.chop(1);
        }
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        allValid = handle(QString::fromUtf8(line)) && allValid;
    }
    return allValid;
}

bool ReadInput(const QStringList& arguments, QByteArray& bytes)
{
    QFile input;
    bool isOpen = false;
    if (arguments.isEmpty()) {
        isOpen = input.open(stdin, QIODevice::ReadOnly);
    } else {
        input.setFileName(arguments.constFirst());
        isOpen = input.open(QIODevice::ReadOnly);
    }
    if (isOpen) {
        bytes = input.readAll();
    }
    // At the end of a pipe QFile sees an error on Windows, where the C library sees none.
    const bool isRead = arguments.isEmpty() ? std::ferror(stdin) == 0 : input.error() == QFileDevice::NoError;
    if (!isOpen || !isRead) {
        const QString name = arguments.isEmpty() ? QStringLiteral("standard input") : arguments.constFirst();
        PrintError(QStringLiteral("vxtool: %1 cannot be read: %2").arg(name, input.errorString()));
        return false;
    }
    return true;
}

} // namespace vxtool
