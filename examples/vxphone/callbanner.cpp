#include "panels.h"

#include "appearance.h"

#include <QGridLayout>
#include <QPainter>
#include <QPushButton>

namespace vxphone
{

CallBanner::CallBanner()
    : avatar(new QLabel)
    , name(new Line(Tone::Plain, 1.3, true))
    , details(new Line)
    , time(new QLabel)
    , next(new Line)
    , tones(new Line)
    , mute(new QPushButton)
    , keypadButton(new QPushButton)
    , hangUp(new QPushButton(SymbolIcon(QStringLiteral("hang-up"), Qt::white), tr("Ha&ng up")))
    , keypad(new QWidget)
{
    setObjectName(QStringLiteral("banner"));
    setAttribute(Qt::WA_StyledBackground);
    hangUp->setObjectName(QStringLiteral("hangUp"));
    time->setFont(name->font());
    time->setAccessibleName(tr("Time of the call"));
    CreateSwitches();

    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(12, 12, 12, 12);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(4);
    layout->setColumnStretch(1, 1);
    layout->addWidget(avatar, 0, 0, 2, 1);
    layout->addWidget(name, 0, 1);
    layout->addWidget(details, 1, 1);
    layout->addWidget(next, 2, 1, 1, 5); // Below the time and the buttons, too.
    layout->addWidget(time, 0, 2, 2, 1);
    int column = 3;
    for (QPushButton* const button : {mute, keypadButton, hangUp}) {
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
        layout->addWidget(button, 0, column++, 2, 1);
    }
    CreateKeypad();
    layout->addWidget(keypad, 3, 1, 1, column - 1);
    hide();

    ticker.setInterval(1000);
    connect(&ticker, &QTimer::timeout, this, &CallBanner::ShowTime);
    connect(hangUp, &QPushButton::clicked, this, &CallBanner::HangUp);
}

void CallBanner::CreateSwitches()
{
    mute->setIcon(SymbolIcon(QStringLiteral("mic"), Qt::white));
    mute->setAccessibleName(tr("Mute"));
    keypadButton->setIcon(SymbolIcon(QStringLiteral("keypad"), Qt::white));
    keypadButton->setAccessibleName(tr("Keypad"));
    mute->setShortcut(Qt::ALT | Qt::Key_U);
    keypadButton->setShortcut(Qt::ALT | Qt::Key_K);
    for (QPushButton* const button : {mute, keypadButton}) {
        button->setCheckable(true);
        button->setToolTip(tr("%1 (%2)").arg(button->accessibleName(),
                                             button->shortcut().toString(QKeySequence::NativeText)));
    }
    connect(mute, &QPushButton::toggled, this, [this](bool muted) {
        mute->setIcon(SymbolIcon(muted ? QStringLiteral("mic-off") : QStringLiteral("mic"), Qt::white));
    });
    connect(keypadButton, &QPushButton::toggled, keypad, &QWidget::setVisible);
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
    grid->addWidget(tones, 0, columns);
    grid->setColumnStretch(columns, 1);
    keypad->hide();
}

void CallBanner::Begin(const QString& name_, const QString& address)
{
    constexpr int pictureSize = 48;
    QPixmap picture(QSize(pictureSize, pictureSize) * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    PaintAvatar(painter, QRect(0, 0, pictureSize, pictureSize), name_);
    painter.end();
    avatar->setPixmap(picture);
    name->Show(name_);
    details->Show(name_ == address ? tr("Simulated call") : tr("Simulated call · %1").arg(address));
    next->hide();
    tones->Show(tr("Simulated tones: "));
    mute->setChecked(false);
    keypadButton->setChecked(false);
    clock.start();
    ticker.start();
    ShowTime();
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

void CallBanner::ShowTime()
{
    const qint64 seconds = clock.isValid() ? clock.elapsed() / 1000 : 0;
    time->setText(
        QStringLiteral("%1:%2").arg(seconds / 60, 2, 10, QChar(u'0')).arg(seconds % 60, 2, 10, QChar(u'0')));
}

} // namespace vxphone
