#include "command.h"
#include "output.h"

#include <common/logger/logger.h>
#include <common/singleapp/qtlocalpeer.h>

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <optional>

namespace vxtool
{

namespace
{

constexpr common::logger::Channel logChannel{"vxtool.single"};

const QString timeoutOption = QStringLiteral("timeout");
const QString serveOption = QStringLiteral("serve");

void AddOptions(QCommandLineParser& parser)
{
    RowPrinter::AddOptions(parser);
    parser.addOption({timeoutOption, QStringLiteral("How long to try to hand over the message."),
                      QStringLiteral("MS"), QStringLiteral("5000")});
    parser.addOption({serveOption,
                      QStringLiteral("As the first process, print the messages of others for so long."),
                      QStringLiteral("S"), QStringLiteral("0")});
}

/// A number that is not negative; nothing for any other text.
std::optional<int> ValueOf(const QCommandLineParser& parser, const QString& option, int limit)
{
    bool ok = false;
    const int value = parser.value(option).toInt(&ok);
    return ok && value >= 0 && value <= limit ? std::optional<int>(value) : std::nullopt;
}

/// Prints what happened at once, for a reader that waits for it.
void PrintEvent(RowPrinter& printer, const QString& event, const QString& text)
{
    LOG_MESSAGE(common::logger::Info) << event << ": " << text;
    printer.Print({{QStringLiteral("event"), event}, {QStringLiteral("text"), text}});
    static_cast<void>(std::fflush(stdout)); // What is lost is told when the program ends.
}

/// The work of the first process.
int Serve(RowPrinter& printer, QtLocalPeer& peer, int seconds)
{
    QObject::connect(&peer, &QtLocalPeer::messageReceived, &peer, [&printer](const QString& message) {
        PrintEvent(printer, QStringLiteral("received"), message);
    });
    PrintEvent(printer, QStringLiteral("first"), peer.applicationId());
    if (seconds > 0) {
        QTimer::singleShot(seconds * 1000, &peer, &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    return AllValid;
}

int Single(const QCommandLineParser& parser)
{
    constexpr int maxSeconds = 24 * 60 * 60;
    const QStringList arguments = parser.positionalArguments();
    const std::optional<int> timeout = ValueOf(parser, timeoutOption, maxSeconds * 1000);
    const std::optional<int> seconds = ValueOf(parser, serveOption, maxSeconds);
    if (arguments.isEmpty() || arguments.size() > 2) {
        return FailUsage(QStringLiteral("an application id and at most one message are needed"),
                         QStringLiteral("single"));
    }
    if (!timeout || !seconds) {
        return FailUsage(
            QStringLiteral("--timeout and --serve take numbers of milliseconds and of seconds, a "
                           "day at most"),
            QStringLiteral("single"));
    }
    RowPrinter printer(parser);
    QtLocalPeer peer(nullptr, arguments.first());
    if (!peer.isSecondary()) {
        return Serve(printer, peer, *seconds);
    }
    PrintEvent(printer, QStringLiteral("second"), peer.applicationId());
    if (arguments.size() == 1) {
        return AllValid;
    }
    if (peer.sendMessage(arguments.last(), *timeout)) {
        PrintEvent(printer, QStringLiteral("sent"), arguments.last());
        return AllValid;
    }
    // The first process may have died; then this one takes its place.
    if (!peer.isSecondary()) {
        return Serve(printer, peer, *seconds);
    }
    PrintEvent(printer, QStringLiteral("failed"), arguments.last());
    return SomeFailed;
}

const CommandRegistration registration{
    {QStringLiteral("single"), QStringLiteral("APPID [MESSAGE]"),
     QStringLiteral("Be the first process of an application, or hand a message to the one that is."),
     AddOptions, Single},
};

} // namespace

} // namespace vxtool
