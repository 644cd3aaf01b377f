#include "panels.h"

#include "widgets.h"

#include <common/tools/url.h>

#include <QAbstractTextDocumentLayout>
#include <QDesktopServices>
#include <QEvent>
#include <QGridLayout>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextTable>
#include <QTime>
#include <QToolButton>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace
{

/// Returns the text as HTML, with its links as anchors.
QString WithAnchors(const QString& text)
{
    QString html;
    int position = 0;
    const auto ranges = tools::url::FindUrlRanges(text);
    for (const auto& [start, length] : ranges) {
        const QString link = text.mid(start, length);
        const QString target = QUrl::fromUserInput(link).toString(QUrl::FullyEncoded);
        html += text.mid(position, start - position).toHtmlEscaped();
        html += u"<a href=\"%1\">%2</a>"_s.arg(target.toHtmlEscaped(), link.toHtmlEscaped());
        position = start + length;
    }
    return html + text.mid(position).toHtmlEscaped();
}

/// Shows each message as a table of one cell, behind which it paints a bubble.
class ChatView : public QTextBrowser
{
public:
    void Add(const QString& sender, const QString& text, bool isOwn)
    {
        const QString layout = isOwn ? u"align=\"right\" style=\"margin: 0 8px 2px 90px\""_s
                                     : u"align=\"left\" style=\"margin: 0 90px 2px 0\""_s;
        const QString time = QLocale().toString(QTime::currentTime(), QLocale::ShortFormat);
        html += u"<table %1 cellpadding=\"8\" cellspacing=\"0\"><tr><td>"
                "<small><b>%2</b>&nbsp; %3</small><br>%4</td></tr></table>"_s.arg(layout, sender, time,
                                                                                  WithAnchors(text));
        setHtml(html);
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        if (html.isEmpty()) {
            PaintEmptyState(viewport(), u"chat"_s,
                            tr("Say something: the echo answers.\nLinks and numbers such as "
                               "tel:+1-212-555-0100 can be clicked."));
            return;
        }
        PaintBubbles();
        QTextBrowser::paintEvent(event);
    }

    /// The colour of links becomes part of the document.
    void changeEvent(QEvent* event) override
    {
        QTextBrowser::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            setHtml(html);
        }
    }

private:
    void PaintBubbles()
    {
        constexpr int margin = 6; // Between a bubble and its text.
        constexpr int radius = 8;
        QPainter painter(viewport());
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.translate(0, -verticalScrollBar()->value());
        const auto frames = document()->rootFrame()->childFrames();
        for (const QTextFrame* const frame : frames) {
            const bool isOwn = frame->frameFormat().leftMargin() > 0;
            QColor colour = palette().color(isOwn ? QPalette::Highlight : QPalette::Text);
            colour.setAlphaF(isOwn ? 0.25F : 0.09F);
            painter.setBrush(colour);
            const QTextBlock block = frame->firstCursorPosition().block();
            QRectF bubble = document()->documentLayout()->blockBoundingRect(block);
            bubble.adjust(-margin, -margin, margin, margin);
            if (isOwn) {
                bubble.setRight(document()->size().width() - document()->documentMargin());
            }
            painter.drawRoundedRect(bubble, radius, radius);
        }
    }

    QString html;
};

QLayout* CreateHeading(const QList<QAction*>& actions, QWidget* line)
{
    auto* const heading = new QHBoxLayout;
    heading->addWidget(CreateTitle(QTextBrowser::tr("&Messages"), line), 1);
    for (QAction* const action : actions) {
        auto* const button = new QToolButton;
        button->setObjectName(u"action"_s);
        button->setDefaultAction(action);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setFocusPolicy(Qt::TabFocus);
        heading->addWidget(button);
    }
    return heading;
}

void FollowLink(const QUrl& link, const std::function<void(const QString& link)>& call)
{
    if (QStringList{u"tel"_s, u"callto"_s, u"sip"_s, u"sips"_s}.contains(link.scheme())) {
        call(link.toString());
    } else {
        QDesktopServices::openUrl(link);
    }
}

} // namespace

QWidget* CreateChatPanel(const QList<QAction*>& actions, const std::function<void(const QString& link)>& call)
{
    auto* const panel = new QWidget;
    auto* const view = new ChatView;
    auto* const line = new QLineEdit;
    auto* const send = new QPushButton(SymbolIcon(u"send"_s), QTextBrowser::tr("&Send"));
    view->setOpenLinks(false);
    view->setAccessibleName(QTextBrowser::tr("Chat"));
    line->setPlaceholderText(QTextBrowser::tr("Write a message"));

    auto* const layout = new QGridLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(CreateHeading(actions, line), 0, 0, 1, 2);
    layout->addWidget(view, 1, 0, 1, 2);
    layout->addWidget(line, 2, 0);
    layout->addWidget(send, 2, 1);

    QObject::connect(line, &QLineEdit::returnPressed, send, &QPushButton::click);
    QObject::connect(send, &QPushButton::clicked, view, [view, line] {
        const QString text = line->text().trimmed();
        line->clear();
        if (!text.isEmpty()) {
            constexpr int thinkingTime = 600; // Milliseconds.
            view->Add(QTextBrowser::tr("You"), text, true);
            QTimer::singleShot(thinkingTime, view,
                               [view, text] { view->Add(QTextBrowser::tr("Echo"), text, false); });
        }
    });
    QObject::connect(view, &QTextBrowser::anchorClicked, view,
                     [call](const QUrl& link) { FollowLink(link, call); });
    return panel;
}
