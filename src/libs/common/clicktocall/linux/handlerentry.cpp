#include "handlerentry.h"

#include "../../platform/linux/desktopentry.h"

#include <QCryptographicHash>
#include <QFileInfo>

namespace common
{

namespace
{

/// Keeps the whole name below the 255 bytes that file systems allow.
constexpr qsizetype maxPart = 64;
constexpr qsizetype hashDigits = 12;

bool IsSafe(QChar character)
{
    return (character >= u'a' && character <= u'z') || (character >= u'A' && character <= u'Z') ||
           (character >= u'0' && character <= u'9') || character == u'-' || character == u'_';
}

QString SafePart(const QString& name)
{
    QString part = name.left(maxPart);
    for (QChar& character : part) {
        if (!IsSafe(character)) {
            character = u'_';
        }
    }
    return part.isEmpty() ? QStringLiteral("_") : part;
}

} // namespace

QByteArray HandlerEntryId(const QString& application, const QString& organization)
{
    const QString safeOrganization = SafePart(organization);
    const QString safeApplication = SafePart(application);
    QString id = safeOrganization + u'.' + safeApplication;
    if (safeOrganization != organization || safeApplication != application) {
        // What was replaced is told apart by a hash of the true names.
        const QByteArray names = (organization + QChar(u'\0') + application).toUtf8();
        const QByteArray hash = QCryptographicHash::hash(names, QCryptographicHash::Sha256).toHex();
        id += u'-' + QString::fromLatin1(hash.left(hashDigits));
    }
    // Never the name of the menu entry that an installer may have put beside it.
    return id.toLatin1() + "-url-handler.desktop";
}

QByteArray HandlerEntry(const QString& application, const QString& program, const QByteArrayList& types)
{
    const QString name = application.trimmed().isEmpty() ? QFileInfo(program).fileName() : application;
    const QString exec = platform::DesktopExec(program, {QStringLiteral("--callto")}) + QLatin1String(" %u");
    QString text = QStringLiteral("[Desktop Entry]\nType=Application\n");
    text += platform::DesktopEntryLine(QStringLiteral("Name"), name);
    text += platform::DesktopEntryLine(QStringLiteral("Exec"), exec);
    text += QLatin1String("Terminal=false\nNoDisplay=true\n"); // For links, not for the menu.
    text += QLatin1String("MimeType=") + QString::fromLatin1(types.join(';')) + QLatin1String(";\n");
    return text.toUtf8();
}

} // namespace common
