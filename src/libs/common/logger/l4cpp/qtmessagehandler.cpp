#include "qtmessagehandler.h"

#include "../neverdestroyed.h"

#include <common/logger/logger.h>

#include <QMessageLogContext>
#include <QScopeGuard>

#include <iostream>
#include <optional>

namespace common::logger::l4cpp
{

namespace
{

int LevelOf(QtMsgType type)
{
    switch (type) {
    case QtWarningMsg:
        return Warn;
    case QtCriticalMsg:
        return Error;
    case QtFatalMsg:
        return Crit;
    default:
        return Debug;
    }
}

// Never destroyed, because other threads may still be inside the handler at exit.
NeverDestroyed<QString> qtChannel;

void HandleQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const QByteArray name = qtChannel.value.toUtf8();
    const Channel channel{name.constData()};
    Message(GetLogger(), &channel, LevelOf(type), context.file, context.function, context.line).GetStream()
        << text;
    if (type == QtFatalMsg) {
        std::cout.flush(); // Qt aborts next, and standard output is buffered unless it is a terminal.
    }
}

/// Keeps the handler installed from the time the library is loaded until RestoreQtMessageHandler or exit.
std::optional installation =
    qScopeGuard([previous = qInstallMessageHandler(&HandleQtMessage)] { qInstallMessageHandler(previous); });

} // namespace

void SetQtChannel(const QString& name)
{
    qtChannel.value = name;
}

void RestoreQtMessageHandler()
{
    installation.reset();
}

} // namespace common::logger::l4cpp
