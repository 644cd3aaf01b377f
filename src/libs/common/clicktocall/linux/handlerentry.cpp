#include "handlerentry.h"

#include "../../platform/linux/desktopentry.h"

#include <QCryptographicHash>
#include <QFileInfo>

namespace common
{

namespace
{

/// Maximum length of each name in the id, which must fit into the 255 bytes that file systems allow.
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

QByteArray HandlerEntryId(const protocolkeys::Owner& owner)
{
    const QString organization = SafePart(owner.organization);
    const QString application = SafePart(owner.application);
    QString id = organization + u'.' + application;
    if (organization != owner.organization || application != owner.application) {
        // A hash of the original names distinguishes those that became equal.
        const QByteArray names = (owner.organization + QChar(u'\0') + owner.application).toUtf8();
        const QByteArray hash = QCryptographicHash::hash(names, QCryptographicHash::Sha256).toHex();
        id += u'-' + QString::fromLatin1(hash.left(hashDigits));
    }
    // The suffix avoids a clash with a menu entry of an installer.
    return id.toLatin1() + "-url-handler.desktop";
}

QByteArray HandlerEntry(const QString& application, const QString& program, const QByteArrayList& types)
{
    const QString name = application.trimmed().isEmpty() ? QFileInfo(program).fileName() : application;
    const QString exec = platform::DesktopExec(program, {QStringLiteral("--callto")}) + QLatin1String(" %u");
    QString text = QStringLiteral("[Desktop Entry]\nType=Application\n");
    text += platform::DesktopEntryLine(QStringLiteral("Name"), name);
    text += platform::DesktopEntryLine(QStringLiteral("Exec"), exec);
    text += QLatin1String("Terminal=false\nNoDisplay=true\n"); // Not a menu entry.
    text += QLatin1String("MimeType=") + QString::fromLatin1(types.join(';')) + QLatin1String(";\n");
    return text.toUtf8();
}

} // namespace common
