#include "panels.h"

#include <common/tools/url.h>

#include <QDesktopServices>
#include <QGridLayout>
#include <QLineEdit>
#include <QLocale>
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
        html += text.mid(position, start - position).toHtmlEscaped();
        html += u"<a href=\"%1\">%1</a>"_s.arg(link.toHtmlEscaped());
        position = start + length;
    }
    return html + text.mid(position).toHtmlEscaped();
}

void AddBubble(QVBoxLayout* messages, CallBanner& banner, const QString& text, bool isOwn)
{
    const QString sender = isOwn ? QWidget::tr("You") : QWidget::tr("Echo");
    const QString time = QLocale().toString(QTime::currentTime(), QLocale::ShortFormat);
    auto* const bubble =
        new QLabel(u"<small><b>%1</b>&nbsp; %2</small><br>%3"_s.arg(sender, time, WithAnchors(text)));
    bubble->setObjectName(isOwn ? u"own"_s : u"echo"_s);
    constexpr int lineLength = 45;
    if (text.size() > lineLength) { // By default, a label with word wrap is very narrow.
        bubble->setWordWrap(true);
        bubble->setMinimumWidth(lineLength * bubble->fontMetrics().averageCharWidth());
    }
    bubble->setTextInteractionFlags(Qt::TextBrowserInteraction);
    QObject::connect(bubble, &QLabel::linkActivated, &banner, [&banner](const QString& link) {
        if (IsCallLink(link)) {
            banner.TakeAddress(link);
        } else {
            QDesktopServices::openUrl(QUrl::fromUserInput(link));
        }
    });
    auto* const row = new QHBoxLayout;
    row->addWidget(bubble);
    row->insertStretch(isOwn ? 0 : 1);
    messages->insertLayout(messages->count() - 1, row); // Above the stretch.
}

QScrollArea* CreateView(QVBoxLayout* messages)
{
    auto* const view = new QScrollArea;
    auto* const contents = new QWidget;
    contents->setObjectName(u"messages"_s);
    contents->setLayout(messages);
    messages->addStretch();
    view->setWidget(contents);
    view->setWidgetResizable(true);
    view->setAccessibleName(QWidget::tr("Chat"));
    QScrollBar* const bar = view->verticalScrollBar();
    QObject::connect(bar, &QScrollBar::rangeChanged, bar, [bar](int, int end) { bar->setValue(end); });
    return view;
}

} // namespace

QWidget* CreateChatPanel(CallBanner& banner)
{
    auto* const panel = new QWidget;
    auto* const messages = new QVBoxLayout;
    QScrollArea* const view = CreateView(messages);
    const QString hint = QWidget::tr("Every message you send is echoed.\nLinks in messages can be clicked.");
    QLabel* const explanation = CreateExplanation(hint, view);
    auto* const line = new QLineEdit;
    line->setPlaceholderText(QWidget::tr("Write a message"));
    auto* const send = new QPushButton(SymbolIcon(u"send"_s), QWidget::tr("&Send"));

    auto* const layout = new QGridLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(CreateTitle(QWidget::tr("&Messages"), line), 0, 0);
    layout->addWidget(view, 1, 0, 1, 2);
    layout->addWidget(line, 2, 0);
    layout->addWidget(send, 2, 1);

    QObject::connect(line, &QLineEdit::returnPressed, send, &QPushButton::click);
    QObject::connect(send, &QPushButton::clicked, view, [messages, line, explanation, &banner] {
        const QString text = line->text().trimmed();
        line->clear();
        if (!text.isEmpty()) {
            explanation->hide();
            AddBubble(messages, banner, text, true);
            AddBubble(messages, banner, text, false);
        }
    });
    return panel;
}
