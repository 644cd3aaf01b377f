#include "panels.h"

#include <common/logger/logger.h>

#include <QGridLayout>

#include <utility>

using namespace Qt::StringLiterals;
using namespace common::logger;

namespace
{

/// Creates a toggle button.
QPushButton* CreateSwitch(const QString& text, const QString& symbol, const QString& downSymbol)
{
    QIcon icon = SymbolIcon(symbol, Qt::white);
    icon.addPixmap(SymbolIcon(downSymbol, Qt::white).pixmap(16), QIcon::Normal, QIcon::On);
    auto* const button = new QPushButton(icon, text);
    button->setCheckable(true);
    return button;
}

QWidget* CreateKeypad(Line* tones)
{
    constexpr int columns = 3;
    auto* const keypad = new QWidget;
    auto* const layout = new QGridLayout(keypad);
    layout->setContentsMargins(0, 0, 0, 0);
    const QString keys = u"123456789*0#"_s;
    for (int i = 0; i < keys.size(); ++i) {
        auto* const key = new QPushButton(keys.at(i));
        key->setShortcut(QKeySequence(keys.at(i)));
        layout->addWidget(key, i / columns, i % columns);
        QObject::connect(key, &QPushButton::clicked, tones,
                         [tones, key] { tones->Show(tones->text() + key->text()); });
    }
    layout->addWidget(tones, 0, columns);
    layout->setColumnStretch(columns, 1);
    keypad->hide();
    return keypad;
}

} // namespace

CallBanner::CallBanner(PhoneBook& book_)
    : book(book_)
    , name(new Line)
    , details(new Line)
    , time(new QLabel)
    , nextLine(new Line)
    , tones(new Line)
    , mute(CreateSwitch(tr("M&ute"), u"mic"_s, u"mic-off"_s))
    , hangUp(new QPushButton(SymbolIcon(u"hang-up"_s, Qt::white), tr("Ha&ng up")))
{
    setObjectName(u"banner"_s);
    setAttribute(Qt::WA_StyledBackground);
    hangUp->setObjectName(u"hangUp"_s);
    EnlargeFont(name, 1.3, true);
    EnlargeFont(time, 1.3, true);
    hide();
    auto* const keypad = CreateKeypad(tones);
    auto* const keypadSwitch = CreateSwitch(tr("&Keypad"), u"keypad"_s, u"keypad"_s);
    auto* const layout = new QGridLayout(this);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(4);
    layout->setColumnStretch(0, 1);
    int column = 0;
    for (QWidget* const widget : QWidgetList{name, time, mute, keypadSwitch, hangUp}) {
        layout->addWidget(widget, 0, column++);
    }
    int row = 1;
    for (QWidget* const widget : QWidgetList{details, nextLine, keypad}) {
        layout->addWidget(widget, row++, 0, 1, column);
    }
    connect(&ticker, &QTimer::timeout, this, [this] { time->setText(DurationText(clock.elapsed() / 1000)); });
    connect(keypadSwitch, &QPushButton::toggled, keypad, &QWidget::setVisible);
    connect(hangUp, &QPushButton::clicked, this, &CallBanner::HangUp);
}

void CallBanner::TakeAddress(const QString& link)
{
    constexpr qsizetype maxLength = 2048;
    const QString address = PlainAddress(link.left(maxLength));
    if (address.isEmpty()) {
        return;
    }
    LOG_MESSAGE(Info) << "address to call: " << address;
    if (IsInCall()) {
        Call(address);
    } else {
        Q_EMIT offered(address);
    }
}

void CallBanner::Call(const QString& address)
{
    if (IsInCall()) {
        if (AddressKey(address) != AddressKey(called)) {
            next = address;
            nextLine->Show(tr("Next call: %1").arg(book.NameOf(next)), u"phone"_s);
            nextLine->show();
        }
        return;
    }
    LOG_MESSAGE(Info) << "simulated call to " << address;
    called = address;
    name->Show(book.NameOf(called));
    const QString shown = ReadAddress(called).shown;
    details->Show(name->text() == shown ? tr("Simulated call") : tr("Simulated call · %1").arg(shown));
    nextLine->hide();
    tones->Show(tr("Simulated tones: "));
    mute->setChecked(false);
    time->setText(DurationText(0));
    clock.start();
    ticker.start(1000);
    show();
    hangUp->setFocus();
    Q_EMIT began();
}

void CallBanner::HangUp()
{
    if (IsInCall()) {
        const qint64 seconds = clock.elapsed() / 1000;
        ticker.stop();
        hide();
        book.AddCall({called, QDateTime::currentDateTimeUtc().addSecs(-seconds), static_cast<int>(seconds)});
        Q_EMIT offered(std::exchange(next, QString()));
    }
}
