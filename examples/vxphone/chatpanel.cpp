#include "panels.h"

#include <common/tools/url.h>

#include <QGridLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <QTime>
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

void AddBubble(QVBoxLayout* messages, const QString& sender, const QString& text, bool isOwn)
{
    const QString time = QLocale().toString(QTime::currentTime(), QLocale::ShortFormat);
    auto* const bubble =
        new QLabel(u"<small><b>%1</b>&nbsp; %2</small><br>%3"_s.arg(sender, time, WithAnchors(text)));
    bubble->setObjectName(isOwn ? u"ownBubble"_s : u"bubble"_s);
    constexpr int lineLength = 45;
    if (text.size() > lineLength) { // A label that wraps takes as little width as it can.
        bubble->setWordWrap(true);
        bubble->setMinimumWidth(lineLength * bubble->fontMetrics().averageCharWidth());
    }
    bubble->setTextInteractionFlags(Qt::TextBrowserInteraction);
    bubble->setOpenExternalLinks(true);
    auto* const row = new QHBoxLayout;
    row->addWidget(bubble);
    row->insertStretch(isOwn ? 0 : 1);
    messages->insertLayout(messages->count() - 1, row); // Above the stretch.
}

QScrollArea* CreateView(QVBoxLayout* messages)
{
    auto* const view = new QScrollArea;
    auto* const contents = new QWidget;
    messages->addStretch();
    contents->setLayout(messages);
    contents->setObjectName(u"messages"_s);
    view->setWidget(contents);
    view->setWidgetResizable(true);
    view->setAccessibleName(QScrollArea::tr("Chat"));
    QScrollBar* const bar = view->verticalScrollBar();
    QObject::connect(bar, &QScrollBar::rangeChanged, bar, [bar](int, int end) { bar->setValue(end); });
    return view;
}

} // namespace

QWidget* CreateChatPanel()
{
    auto* const panel = new QWidget;
    auto* const messages = new QVBoxLayout;
    QScrollArea* const view = CreateView(messages);
    QLabel* const explanation =
        CreateExplanation(QScrollArea::tr("Say something: the echo answers.\nLinks and numbers such as "
                                          "tel:+1-212-555-0100 can be clicked."),
                          view);
    auto* const line = new QLineEdit;
    line->setPlaceholderText(QScrollArea::tr("Write a message"));
    auto* const send = new QPushButton(SymbolIcon(u"send"_s), QScrollArea::tr("&Send"));

    auto* const layout = new QGridLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(CreateTitle(QScrollArea::tr("&Messages"), line), 0, 0);
    layout->addWidget(view, 1, 0, 1, 2);
    layout->addWidget(line, 2, 0);
    layout->addWidget(send, 2, 1);

    QObject::connect(line, &QLineEdit::returnPressed, send, &QPushButton::click);
    QObject::connect(send, &QPushButton::clicked, view, [messages, line, explanation] {
        const QString text = line->text().trimmed();
        line->clear();
        if (!text.isEmpty()) {
            explanation->hide();
            AddBubble(messages, QScrollArea::tr("You"), text, true);
            AddBubble(messages, QScrollArea::tr("Echo"), text, false);
        }
    });
    return panel;
}
