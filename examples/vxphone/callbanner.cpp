#include "panels.h"

#include <QGridLayout>

using namespace Qt::StringLiterals;

namespace
{

/// Creates a button that stays down, with its text in the tool tip.
QPushButton* CreateSwitch(const QString& symbol, const QString& downSymbol, const QString& text,
                          const QKeySequence& key)
{
    QIcon icon = SymbolIcon(symbol, Qt::white);
    icon.addPixmap(Symbol(downSymbol, Qt::white), QIcon::Normal, QIcon::On);
    auto* const button = new QPushButton(icon, QString());
    button->setCheckable(true);
    button->setShortcut(key);
    button->setAccessibleName(text);
    button->setToolTip(u"%1 (%2)"_s.arg(text, key.toString(QKeySequence::NativeText)));
    return button;
}

} // namespace

CallBanner::CallBanner()
    : name(new Line(1.3, true))
    , details(new Line)
    , time(new QLabel)
    , next(new Line)
    , mute(CreateSwitch(u"mic"_s, u"mic-off"_s, tr("Mute"), Qt::ALT | Qt::Key_U))
    , keypadSwitch(CreateSwitch(u"keypad"_s, u"keypad"_s, tr("Keypad"), Qt::ALT | Qt::Key_K))
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
    connect(&ticker, &QTimer::timeout, this, [this] { time->setText(DurationText(clock.elapsed() / 1000)); });
    connect(keypadSwitch, &QPushButton::toggled, keypad, &QWidget::setVisible);
    connect(hangUp, &QPushButton::clicked, this, &CallBanner::HangUp);
}

void CallBanner::CreateLayout()
{
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(4);
    layout->setColumnStretch(0, 1);
    int column = 0;
    for (QWidget* const widget : QWidgetList{name, time, mute, keypadSwitch, hangUp}) {
        layout->addWidget(widget, 0, column++);
    }
    int row = 1;
    for (QWidget* const widget : QWidgetList{details, next, keypad}) {
        layout->addWidget(widget, row++, 0, 1, column);
    }
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
        grid->addWidget(key, i / columns, i % columns);
        connect(key, &QPushButton::clicked, tones, [this, key] { tones->Show(tones->text() + key->text()); });
    }
    grid->addWidget(tones, 0, columns);
    grid->setColumnStretch(columns, 1);
    keypad->hide();
}

void CallBanner::Begin(const QString& party, const QString& address)
{
    name->Show(party);
    details->Show(party == address ? tr("Simulated call") : tr("Simulated call · %1").arg(address));
    next->hide();
    tones->Show(tr("Simulated tones: "));
    mute->setChecked(false);
    keypadSwitch->setChecked(false);
    clock.start();
    ticker.start();
    time->setText(DurationText(0));
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
