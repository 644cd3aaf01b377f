#include "chatpanel.h"

#include <common/tools/url.h>

#include <QDesktopServices>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QTime>
#include <QUrl>
#include <QVBoxLayout>

#include <utility>

namespace vxphone
{

namespace
{

/// The text as HTML, with its links as anchors.
QString WithAnchors(const QString& text)
{
    QString html;
    int position = 0;
    const auto ranges = tools::url::FindUrlRanges(text);
    for (const auto& [start, length] : ranges) {
        const QString link = text.mid(start, length);
        const QString target = QUrl::fromUserInput(link).toString(QUrl::FullyEncoded);
        html += text.mid(position, start - position).toHtmlEscaped();
        html += QStringLiteral("<a href=\"%1\">%2</a>").arg(target.toHtmlEscaped(), link.toHtmlEscaped());
        position = start + length;
    }
    return html + text.mid(position).toHtmlEscaped();
}

} // namespace

ChatPanel::ChatPanel(QWidget* parent)
    : QWidget(parent)
    , view(new QTextBrowser)
    , line(new QLineEdit)
{
    auto* const title = new QLabel(tr("C&hat"));
    title->setBuddy(line);
    auto* const send = new QPushButton(tr("&Send"));
    view->setOpenLinks(false);
    view->setTabChangesFocus(true);
    view->setPlaceholderText(tr("Links in what you send can be clicked."));
    line->setPlaceholderText(tr("Write a message"));

    auto* const entry = new QHBoxLayout;
    entry->addWidget(line, 1);
    entry->addWidget(send);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(view, 1);
    layout->addLayout(entry);

    connect(line, &QLineEdit::returnPressed, this, &ChatPanel::Send);
    connect(send, &QPushButton::clicked, this, &ChatPanel::Send);
    connect(view, &QTextBrowser::anchorClicked, this, &ChatPanel::Open);
}

void ChatPanel::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        view->clear();
        for (const QString& html : std::as_const(lines)) {
            view->append(html);
        }
    }
}

void ChatPanel::Send()
{
    if (line->text().trimmed().isEmpty()) {
        return;
    }
    lines += QStringLiteral("<b>%1</b>&nbsp; %2")
                 .arg(QTime::currentTime().toString(QStringLiteral("HH:mm")), WithAnchors(line->text()));
    view->append(lines.last());
    line->clear();
}

void ChatPanel::Open(const QUrl& link)
{
    const QStringList callSchemes{QStringLiteral("tel"), QStringLiteral("callto"), QStringLiteral("sip"),
                                  QStringLiteral("sips")};
    if (callSchemes.contains(link.scheme())) {
        Q_EMIT callLinkClicked(link.toString());
    } else {
        QDesktopServices::openUrl(link);
    }
}

} // namespace vxphone
