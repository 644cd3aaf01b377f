#include "command.h"
#include "input.h"
#include "output.h"

#include <common/logger/logger.h>
#include <common/singleapp/qtlocalpeer.h>

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>

namespace vxtool
{

namespace
{

constexpr common::logger::Channel logChannel{"vxtool.single"};

const Option timeoutOption{u"timeout"_s, u"Timeout for sending the message, in seconds (default: 5)."_s,
                           u"S"_s};
const Option serveOption{u"serve"_s, u"As the primary instance, print messages for S seconds (default: 0)."_s,
                         u"S"_s};

/// Prints an event and flushes it, so that a waiting reader receives it immediately.
void PrintEvent(RowPrinter& printer, const QString& event, const QString& text)
{
    LOG_MESSAGE(common::logger::Info) << event << ": " << text;
    printer.Print({{u"event"_s, event}, {u"text"_s, text}});
    static_cast<void>(std::fflush(stdout)); // FinishOutput reports lost output.
}

int ServeAsPrimary(RowPrinter& printer, QtLocalPeer& peer, double seconds)
{
    QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer,
                     [&printer](const QString& message) { PrintEvent(printer, u"received"_s, message); });
    PrintEvent(printer, u"first"_s, peer.applicationId());
    if (seconds > 0) {
        QTimer::singleShot(static_cast<int>(seconds * 1000), &peer, &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    return AllValid;
}

int Single(const QCommandLineParser& parser)
{
    const QStringList arguments = parser.positionalArguments();
    double timeout = 5;
    double seconds = 0;
    if (arguments.isEmpty() || arguments.size() > 2) {
        return FailUsage(u"an application id and at most one message are needed, after all options"_s);
    }
    if (!ReadSeconds(parser, timeoutOption, timeout) || !ReadSeconds(parser, serveOption, seconds)) {
        return WrongUsage;
    }
    RowPrinter printer(parser);
    QtLocalPeer peer(nullptr, arguments.first());
    if (!peer.isSecondary()) {
        return ServeAsPrimary(printer, peer, seconds);
    }
    PrintEvent(printer, u"second"_s, peer.applicationId());
    if (arguments.size() == 1) {
        return AllValid;
    }
    if (peer.sendMessage(arguments.last(), static_cast<int>(timeout * 1000))) {
        PrintEvent(printer, u"sent"_s, arguments.last());
        return AllValid;
    }
    // If the primary instance has ended, this process takes its place.
    if (!peer.isSecondary()) {
        return ServeAsPrimary(printer, peer, seconds);
    }
    PrintEvent(printer, u"failed"_s, arguments.last());
    return Fail(u"the primary instance did not accept the message within %1 s"_s.arg(timeout));
}

const CommandRegistration registration([] {
    return CommandList{
        {u"single"_s, u"APPID [MESSAGE]"_s, u"Become the primary instance, or send it a message."_s,
         RowPrinter::Options({timeoutOption, serveOption}), Single,
         u"The primary instance prints \"first\"; any other prints \"second\" and whether MESSAGE was sent. "
         "Put options before APPID: MESSAGE is data, even if it begins with \"-\"."_s,
         u"vxtool single --serve 60 demo"_s, true},
    };
});

} // namespace

} // namespace vxtool
