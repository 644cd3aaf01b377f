#include "panels.h"

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

class ChatView : public QTextBrowser
{
public:
    void Add(const QString& line)
    {
        lines += line;
        append(line);
    }

protected:
    /// Links take the colour of the palette when they are made.
    void changeEvent(QEvent* event) override
    {
        QTextBrowser::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            clear();
            for (const QString& line : std::as_const(lines)) {
                append(line);
            }
        }
    }

private:
    QStringList lines; ///< As HTML.
};

} // namespace

QWidget* CreateChatPanel(const std::function<void(const QString& link)>& call)
{
    auto* const panel = new QWidget;
    auto* const title = new QLabel(QTextBrowser::tr("C&hat"));
    auto* const view = new ChatView;
    auto* const line = new QLineEdit;
    auto* const send = new QPushButton(QTextBrowser::tr("&Send"));
    title->setBuddy(line);
    view->setOpenLinks(false);
    view->setTabChangesFocus(true);
    view->setPlaceholderText(QTextBrowser::tr("Links in what you send can be clicked."));
    line->setPlaceholderText(QTextBrowser::tr("Write a message"));

    auto* const entry = new QHBoxLayout;
    entry->addWidget(line, 1);
    entry->addWidget(send);
    auto* const layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(view, 1);
    layout->addLayout(entry);

    QObject::connect(line, &QLineEdit::returnPressed, send, &QPushButton::click);
    QObject::connect(send, &QPushButton::clicked, view, [view, line] {
        if (!line->text().trimmed().isEmpty()) {
            const QString time = QTime::currentTime().toString(QStringLiteral("HH:mm"));
            view->Add(QStringLiteral("<b>%1</b>&nbsp; %2").arg(time, WithAnchors(line->text())));
            line->clear();
        }
    });
    QObject::connect(view, &QTextBrowser::anchorClicked, view, [call](const QUrl& link) {
        const QStringList callSchemes{QStringLiteral("tel"), QStringLiteral("callto"), QStringLiteral("sip"),
                                      QStringLiteral("sips")};
        if (callSchemes.contains(link.scheme())) {
            call(link.toString());
        } else {
            QDesktopServices::openUrl(link);
        }
    });
    return panel;
}

} // namespace vxphone
