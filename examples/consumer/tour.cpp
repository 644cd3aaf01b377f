// Uses one feature of each part of the installed library. Usage: tour URL DIRECTORY
// URL refers to a small file on a web server. All files are written below DIRECTORY.

#include <common/clicktocall/clicktocall.h>
#include <common/contact/icontactcontext.h>
#include <common/http/ifiledownload.h>
#include <common/http/ihttprequest.h>
#include <common/idle/idlewatcher.h>
#include <common/logger/logger.h>
#include <common/shell/filecopier.h>
#include <common/shell/shell.h>
#include <common/singleapp/qtsingleapplication.h>
#include <common/tools/datewatcher.h>
#include <common/tools/insertionfixupvalidator.h>
#include <common/tools/jsonfile.h>
#include <common/tools/svgicon.h>
#include <common/tools/url.h>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QLineEdit>
#include <QNetworkAccessManager>

#include <cstdio>

namespace
{

/// Prints the result of a step and returns `good`.
bool Tell(const char* part, bool good, const QString& found)
{
    std::printf("%-8s %-16s %s\n", good ? "ok" : "FAILED", part, qPrintable(found));
    static_cast<void>(std::fflush(stdout));
    return good;
}

QByteArray Contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool Log(const QString& path)
{
    using namespace common::logger;
    SetLogger(GetLog4cpp());
    GetLogger()->Configure(Info, Target::RollingFile, Option::PatternLayout, {}, {}, {}, path, {},
                           1024 * 1024, 2);
    LOG_MESSAGE(Info) << "the tour begins";
    const QByteArray line = Contents(path).trimmed();
    return Tell("logging", line.endsWith("main: the tour begins"), QString::fromUtf8(line));
}

bool ReadAddress()
{
    const auto party = common::contact::CreateInstance(QStringLiteral("skype:Anna"), QString());
    return Tell("addresses", party->DisplayText() == QStringLiteral("skype: anna"), party->DisplayText());
}

bool Request(QNetworkAccessManager& network, const QUrl& url)
{
    using common::http::IHttpRequest;
    IHttpRequest* const request = common::http::CreateHttpRequest(&network, &network);
    request->SetUrl(url);
    request->SetTimeout(5);
    QString body;
    QEventLoop loop;
    QObject::connect(request, &IHttpRequest::requestFinished, &loop, [&](const QString& result) {
        body = result;
        loop.quit();
    });
    QObject::connect(request, &IHttpRequest::requestError, &loop, [&](int error, const QString& text) {
        body = QStringLiteral("error %1: %2").arg(error).arg(text);
        loop.exit(1);
    });
    const bool done = request->Get() && loop.exec() == 0;
    return Tell("HTTP request", done && !body.isEmpty(), body.trimmed());
}

bool Download(QNetworkAccessManager& network, const QUrl& url, const QString& path)
{
    using common::http::IFileDownload;
    IFileDownload* const download = common::http::CreateFileDownload(&network, &network);
    download->SetUrl(url);
    download->SetFilePath(path);
    QString end = QStringLiteral("complete");
    QEventLoop loop;
    QObject::connect(download, &IFileDownload::complete, &loop, &QEventLoop::quit);
    QObject::connect(download, &IFileDownload::failed, &loop, [&](int error, const QString& text) {
        end = QStringLiteral("error %1: %2").arg(error).arg(text);
        loop.exit(1);
    });
    const bool done = download->Start() && loop.exec() == 0;
    return Tell("download", done && !Contents(path).isEmpty(), end);
}

bool KeepSecret(const QString& path)
{
    const QString key = QStringLiteral("a key of at most 32 bytes");
    const QJsonObject secret{{"password", "quoll"}};
    tools::JsonFile written(path, secret, key);
    tools::JsonFile read(path, key);
    const bool kept = written.Save() && read.Load() && read.Object() == secret;
    return Tell("encrypted JSON", kept && !Contents(path).contains("quoll"), path);
}

bool FindLinks()
{
    const QString text = QStringLiteral("see www.example.com, or call tel:+4912345");
    const auto ranges = tools::url::FindUrlRanges(text);
    const QString first = ranges.isEmpty() ? QString() : text.mid(ranges[0].start, ranges[0].length);
    return Tell("links in text", first == QStringLiteral("www.example.com"), first);
}

bool CopyFolder(const QString& source, const QString& destination)
{
    common::FileCopier copier;
    QEventLoop loop;
    QObject::connect(&copier, &common::FileCopier::succesed, &loop, &QEventLoop::quit);
    QObject::connect(&copier, &common::FileCopier::failed, &loop, [&loop] { loop.exit(1); });
    copier.AddDirectory(source, destination);
    const bool done = copier.Copy() && loop.exec() == 0;
    const QStringList copied = common::Shell::ScanFiles(destination, {});
    return Tell("file job", done && !copied.isEmpty(), QStringLiteral("%1 files").arg(copied.size()));
}

bool LookAtDesktop()
{
    const bool found = common::Shell::ProcessExists(QStringLiteral("tour"));
    const QStringList schemes =
        common::ClickToCall::stateOfProtocols(QStringLiteral("tour"), QStringLiteral("example"));
    return Tell("desktop", found && schemes.isEmpty(), common::Shell::applicationDirPath());
}

bool Watch()
{
    const auto idle = common::IdleWatcher::instance();
    const QDate today = tools::DateWatcher::CurrentDate();
    return Tell("watchers", idle && today.isValid(), today.toString(Qt::ISODate));
}

bool UseWidgets(const QString& svgPath)
{
    QLineEdit field;
    field.setValidator(new tools::CInsertionFixupValidator(QRegExp(QStringLiteral("[0-9]*")), &field));
    field.insert(QStringLiteral("1"));
    QFile svg(svgPath);
    const bool drawn =
        svg.open(QIODevice::WriteOnly) &&
        svg.write("<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 8 8'><circle r='4'/></svg>") > 0;
    svg.close();
    const QIcon icon = tools::svg::SvgIcon::CreateFromSvg(svgPath);
    return Tell("widgets", drawn && !icon.isNull() && field.text() == u'1', field.text());
}

} // namespace

int main(int argc, char* argv[])
{
    QtSingleApplication application(QStringLiteral("vxcommon-tour"), argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fprintf(stderr, "usage: tour URL DIRECTORY\n");
        return 2;
    }
    const QUrl url(arguments[1]);
    const QDir folder(arguments[2]);
    QNetworkAccessManager network;

    bool good = Tell("single instance", !application.isRunning(), application.id());
    good &= Log(folder.filePath(QStringLiteral("tour.log")));
    good &= ReadAddress();
    good &= Request(network, url);
    good &= Download(network, url, folder.filePath(QStringLiteral("files/download")));
    good &= KeepSecret(folder.filePath(QStringLiteral("files/secret.json")));
    good &= FindLinks();
    good &= CopyFolder(folder.filePath(QStringLiteral("files")), folder.filePath(QStringLiteral("copy")));
    good &= LookAtDesktop();
    good &= Watch();
    good &= UseWidgets(folder.filePath(QStringLiteral("icon.svg")));
    return good ? 0 : 1;
}
