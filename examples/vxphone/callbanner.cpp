#include "panels.h"

#include "widgets.h"

#include <QGridLayout>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace
{

/// Creates a button that stays down, with its text in the tool tip.
QPushButton* CreateSwitch(const QString& symbol, const QString& text, const QKeySequence& key)
{
    auto* const button = new QPushButton(SymbolIcon(symbol, Qt::white), QString());
    button->setCheckable(true);
    button->setShortcut(key);
    button->setAccessibleName(text);
    button->setToolTip(u"%1 (%2)"_s.arg(text, key.toString(QKeySequence::NativeText)));
    return button;
}

} // namespace

CallBanner::CallBanner()
    : avatar(new QLabel)
    , name(new Line(1.3, true))
    , details(new Line)
    , time(new QLabel)
    , next(new Line)
    , mute(CreateSwitch(u"mic"_s, tr("Mute"), Qt::ALT | Qt::Key_U))
    , keypadSwitch(CreateSwitch(u"keypad"_s, tr("Keypad"), Qt::ALT | Qt::Key_K))
    , hangUp(new QPushButton(SymbolIcon(u"hang-up"_s, Qt::white), tr("Ha&ng up")))
    , keypad(new QWidget)
    , tones(new Line)
{
    setObjectName(u"banner"_s);
    setAttribute(Qt::WA_StyledBackground);
    hangUp->setObjectName(u"hangUp"_s);
    time->setFont(name->font());
    time->setAccessibleName(tr("Time of the call"));
    CreateKeypad();
    CreateLayout();
    hide();

    ticker.setInterval(1000);
    connect(&ticker, &QTimer::timeout, this, &CallBanner::ShowTime);
    connect(mute, &QPushButton::toggled, this,
            [this](bool muted) { mute->setIcon(SymbolIcon(muted ? u"mic-off"_s : u"mic"_s, Qt::white)); });
    connect(keypadSwitch, &QPushButton::toggled, keypad, &QWidget::setVisible);
    connect(hangUp, &QPushButton::clicked, this, &CallBanner::HangUp);
}

void CallBanner::CreateLayout()
{
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(4);
    layout->setColumnStretch(1, 1);
    layout->addWidget(avatar, 0, 0, 2, 1);
    layout->addWidget(name, 0, 1);
    layout->addWidget(details, 1, 1);
    int column = 2;
    for (QWidget* const widget : QWidgetList{time, mute, keypadSwitch, hangUp}) {
        layout->addWidget(widget, 0, column++, 2, 1, Qt::AlignVCenter);
    }
    layout->addWidget(next, 2, 1, 1, column - 1); // Below the time and the buttons, too.
    layout->addWidget(keypad, 3, 1, 1, column - 1);
}

void CallBanner::CreateKeypad()
{
    constexpr int columns = 3;
    auto* const grid = new QGridLayout(keypad);
    grid->setContentsMargins(0, 0, 0, 0);
    const QString keys = u"123456789*0#"_s;
    for (int i = 0; i < keys.size(); ++i) {
        auto* const key = new QPushButton(keys.at(i));
        key->setShortcut(QKeySequence(keys.at(i)));
        key->setAccessibleName(tr("Tone %1").arg(keys.at(i)));
        grid->addWidget(key, i / columns, i % columns);
        connect(key, &QPushButton::clicked, tones, [this, key] { tones->Show(tones->text() + key->text()); });
    }
    grid->addWidget(tones, 0, columns);
    grid->setColumnStretch(columns, 1);
    keypad->hide();
}

void CallBanner::Begin(const QString& party, const QString& address)
{
    constexpr int pictureSize = 48;
    avatar->setPixmap(Avatar(party, pictureSize));
    name->Show(party);
    details->Show(party == address ? tr("Simulated call") : tr("Simulated call · %1").arg(address));
    next->hide();
    tones->Show(tr("Simulated tones: "));
    mute->setChecked(false);
    keypadSwitch->setChecked(false);
    clock.start();
    ticker.start();
    ShowTime();
    show();
    hangUp->setFocus();
}

void CallBanner::ShowNext(const QString& party)
{
    next->Show(tr("Next call: %1").arg(party), Tone::Plain, u"phone"_s);
    next->show();
}

void CallBanner::HangUp()
{
    if (IsInCall()) {
        const int seconds = static_cast<int>(clock.elapsed() / 1000);
        clock.invalidate();
        ticker.stop();
        hide();
        Q_EMIT ended(seconds);
    }
}

void CallBanner::ShowTime()
{
    time->setText(DurationText(clock.elapsed() / 1000));
}
