#include "input.h"

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

} // namespace vxtool
