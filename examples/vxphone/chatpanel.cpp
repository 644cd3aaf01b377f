#include "panels.h"

#include "appearance.h"

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

#include <utility>

namespace vxphone
{

namespace
{

struct Message
{
    bool isOwn;
    QString time;
    QString text;
};

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
        html += QStringLiteral("<a href=\"%1\">%2</a>").arg(target.toHtmlEscaped(), link.toHtmlEscaped());
        position = start + length;
    }
    return html + text.mid(position).toHtmlEscaped();
}

/// Shows each message as a table of one cell, behind which it paints a bubble.
class ChatView : public QTextBrowser
{
public:
    void Add(const Message& message)
    {
        messages += message;
        Append(message);
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        if (messages.isEmpty()) {
            PaintEmptyState(viewport(), QStringLiteral("chat"),
                            tr("Say something: the echo answers.\nLinks and numbers such as "
                               "tel:+1-212-555-0100 can be clicked."));
            return;
        }
        constexpr int radius = 8;
        QPainter painter(viewport());
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.translate(-horizontalScrollBar()->value(), -verticalScrollBar()->value());
        const QColor base = palette().color(QPalette::Base);
        const QColor own = Mix(base, palette().color(QPalette::Highlight), 0.25);
        const QColor other = Mix(base, palette().color(QPalette::Text), 0.09);
        const auto frames = document()->rootFrame()->childFrames();
        for (qsizetype i = 0; i < frames.size(); ++i) {
            const QTextBlock block = frames.at(i)->firstCursorPosition().block();
            QRectF bubble = document()->documentLayout()->blockBoundingRect(block);
            bubble.adjust(-padding, 2 - padding, padding, padding - 2);
            if (messages.at(i).isOwn) {
                bubble.setRight(document()->size().width() - document()->documentMargin());
            }
            painter.setBrush(messages.at(i).isOwn ? own : other);
            painter.drawRoundedRect(bubble, radius, radius);
        }
        painter.end();
        QTextBrowser::paintEvent(event);
    }

    /// Colours become part of the document when a message is added.
    void changeEvent(QEvent* event) override
    {
        QTextBrowser::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            clear();
            for (const Message& message : std::as_const(messages)) {
                Append(message);
            }
        }
    }

private:
    void Append(const Message& message)
    {
        constexpr int wideMargin = 90;
        QTextTableFormat format;
        format.setAlignment(message.isOwn ? Qt::AlignRight : Qt::AlignLeft);
        format.setLeftMargin(message.isOwn ? wideMargin : 0);
        format.setRightMargin(message.isOwn ? 0 : wideMargin);
        format.setBorder(0);
        format.setCellPadding(padding);
        format.setCellSpacing(0);
        QTextCursor cursor(document());
        cursor.movePosition(QTextCursor::End);
        const QTextTable* const table = cursor.insertTable(1, 1, format);
        const QString quiet = ToneColour(palette(), Tone::Quiet).name();
        table->cellAt(0, 0).firstCursorPosition().insertHtml(
            QStringLiteral("<span style=\"color:%1\"><b>%2</b>&nbsp; %3</span><br>%4")
                .arg(quiet, message.isOwn ? tr("You") : tr("Echo"), message.time, WithAnchors(message.text)));
        QTextBlockFormat gap;
        gap.setLineHeight(6, QTextBlockFormat::FixedHeight);
        cursor.movePosition(QTextCursor::End);
        cursor.setBlockFormat(gap);
    }

    static constexpr int padding = 8; ///< Between a bubble and its text.
    QList<Message> messages;
};

QLayout* CreateHeading(const QList<QAction*>& actions, QWidget* line)
{
    auto* const title = new QLabel(QTextBrowser::tr("&Messages"));
    title->setObjectName(QStringLiteral("title"));
    title->setBuddy(line);
    auto* const heading = new QHBoxLayout;
    heading->addWidget(title, 1);
    for (QAction* const action : actions) {
        auto* const button = new QToolButton;
        button->setObjectName(QStringLiteral("action"));
        button->setDefaultAction(action);
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        button->setFocusPolicy(Qt::TabFocus);
        heading->addWidget(button);
    }
    return heading;
}

void FollowLink(const QUrl& link, const std::function<void(const QString& link)>& call)
{
    const QStringList callSchemes{QStringLiteral("tel"), QStringLiteral("callto"), QStringLiteral("sip"),
                                  QStringLiteral("sips")};
    if (callSchemes.contains(link.scheme())) {
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
    auto* const send = new QPushButton(SymbolIcon(QStringLiteral("send")), QTextBrowser::tr("&Send"));
    view->setOpenLinks(false);
    view->setAccessibleName(QTextBrowser::tr("Chat"));
    line->setPlaceholderText(QTextBrowser::tr("Write a message"));
    line->setAccessibleName(QTextBrowser::tr("Message"));

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
            const QString time = QLocale().toString(QTime::currentTime(), QLocale::ShortFormat);
            view->Add({true, time, text});
            constexpr int thinkingTime = 600; // Milliseconds.
            QTimer::singleShot(thinkingTime, view, [view, time, text] { view->Add({false, time, text}); });
        }
    });
    QObject::connect(view, &QTextBrowser::anchorClicked, view,
                     [call](const QUrl& link) { FollowLink(link, call); });
    return panel;
}

} // namespace vxphone
