#include "panels.h"

#include "appearance.h"

#include <QGridLayout>
#include <QPushButton>

namespace vxphone
{

namespace
{

QPushButton* CreateButton(const QString& symbol, const QString& text)
{
    return new QPushButton(SymbolIcon(symbol, Qt::white), text);
}

} // namespace

CallBanner::CallBanner()
    : avatar(new Avatar(48))
    , name(new Line(Tone::Plain, 1.3, true))
    , state(new Line)
    , next(new Line)
    , tones(new Line)
    , mute(CreateButton(QStringLiteral("mic"), tr("M&ute")))
    , keypadButton(CreateButton(QStringLiteral("keypad"), tr("&Keypad")))
    , hangUp(CreateButton(QStringLiteral("hang-up"), tr("Ha&ng up")))
    , keypad(new QWidget)
{
    setObjectName(QStringLiteral("banner"));
    setAttribute(Qt::WA_StyledBackground);
    hangUp->setObjectName(QStringLiteral("hangUp"));
    mute->setCheckable(true);
    keypadButton->setCheckable(true);

    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(4);
    layout->setColumnStretch(1, 1);
    layout->addWidget(avatar, 0, 0, 2, 1);
    layout->addWidget(name, 0, 1);
    layout->addWidget(state, 1, 1);
    layout->addWidget(next, 2, 1);
    int column = 2;
    for (QPushButton* const button : {mute, keypadButton, hangUp}) {
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
        layout->addWidget(button, 0, column++, 2, 1);
    }
    CreateKeypad();
    layout->addWidget(keypad, 3, 0, 1, column);
    hide();

    ticker.setInterval(1000);
    connect(&ticker, &QTimer::timeout, this, &CallBanner::ShowState);
    connect(mute, &QPushButton::toggled, this, [this](bool muted) {
        mute->setIcon(SymbolIcon(muted ? QStringLiteral("mic-off") : QStringLiteral("mic"), Qt::white));
        mute->setText(muted ? tr("&Unmute") : tr("M&ute"));
        ShowState();
    });
    connect(keypadButton, &QPushButton::toggled, keypad, &QWidget::setVisible);
    connect(hangUp, &QPushButton::clicked, this, &CallBanner::HangUp);
}

void CallBanner::CreateKeypad()
{
    constexpr int columns = 3;
    auto* const grid = new QGridLayout(keypad);
    grid->setContentsMargins(0, 0, 0, 0);
    const QString keys = QStringLiteral("123456789*0#");
    for (int i = 0; i < keys.size(); ++i) {
        auto* const key = new QPushButton(keys.at(i));
        key->setShortcut(QKeySequence(keys.at(i)));
        key->setAccessibleName(tr("Tone %1").arg(keys.at(i)));
        grid->addWidget(key, i / columns, i % columns);
        connect(key, &QPushButton::clicked, tones,
                [this, tone = keys.at(i)] { tones->Show(tones->text() + tone); });
    }
    grid->addWidget(tones, grid->rowCount(), 0, 1, columns);
    keypad->hide();
}

void CallBanner::Begin(const QString& name_, const QString& address_)
{
    address = address_;
    avatar->Show(name_);
    name->Show(name_);
    next->hide();
    tones->Show(tr("Simulated tones: "));
    mute->setChecked(false);
    keypadButton->setChecked(false);
    clock.start();
    ticker.start();
    ShowState();
    show();
    hangUp->setFocus();
}

void CallBanner::ShowNext(const QString& name_)
{
    next->Show(tr("Next call: %1").arg(name_), Tone::Plain, QStringLiteral("phone"));
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

void CallBanner::ShowState()
{
    const qint64 seconds = clock.isValid() ? clock.elapsed() / 1000 : 0;
    const QString time =
        QStringLiteral("%1:%2").arg(seconds / 60, 2, 10, QChar(u'0')).arg(seconds % 60, 2, 10, QChar(u'0'));
    const QString text =
        mute->isChecked() ? tr("%1 · Simulated call, muted · %2") : tr("%1 · Simulated call · %2");
    state->Show(text.arg(time, address));
}

} // namespace vxphone
