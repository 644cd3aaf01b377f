#include "panels.h"

#include <common/contact/inumbercontext.h>
#include <common/sip/sipid.h>
#include <common/tools/insertionfixupvalidator.h>

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QUrl>

#include <utility>

namespace vxphone
{

namespace
{

QString KindText(int kind)
{
    using namespace common::contact::number;
    return kind == ServiceNumber ? DialPanel::tr("Number of the service")
           : kind == PhoneNumber ? DialPanel::tr("Phone number")
           : kind == SipAddress  ? DialPanel::tr("SIP address")
                                 : DialPanel::tr("Skype name");
}

/// What is left of a link when its scheme is gone.
QString PlainAddress(const QString& text)
{
    QString plain = QUrl::fromPercentEncoding(text.toUtf8()).trimmed();
    for (const QLatin1String scheme : {QLatin1String("callto:"), QLatin1String("tel:")}) {
        if (plain.startsWith(scheme, Qt::CaseInsensitive)) {
            plain = plain.mid(scheme.size());
        }
    }
    while (plain.startsWith(u'/')) {
        plain = plain.mid(1);
    }
    return plain;
}

} // namespace

DialPanel::DialPanel()
    : address(new QLineEdit)
    , kind(new QLabel)
    , dialled(new QLabel)
    , shown(new QLabel)
    , call(new QPushButton(tr("&Call")))
    , keep(new QPushButton(tr("&Keep")))
{
    address->setPlaceholderText(tr("Number or address"));
    address->setClearButtonEnabled(true);
    address->setValidator(new tools::CInsertionFixupValidator(tools::sip::SipId::AllSymbolRegExp(), address));
    QFont large = address->font();
    large.setPointSizeF(large.pointSizeF() * 1.4);
    address->setFont(large);
    call->setDefault(true);
    keep->setToolTip(tr("Keep the address as a contact"));

    auto* const title = new QLabel(tr("Nu&mber:"));
    title->setBuddy(address);
    auto* const line = new QHBoxLayout;
    line->addWidget(address, 1);
    for (QPushButton* const button : {call, keep}) {
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
        line->addWidget(button);
    }
    for (QLabel* const label : {kind, dialled, shown}) {
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setTextFormat(Qt::PlainText);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
    auto* const layout = new QFormLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addRow(title, line);
    layout->addRow(tr("Kind:"), kind);
    layout->addRow(tr("Dialled as:"), dialled);
    layout->addRow(tr("Shown as:"), shown);

    connect(address, &QLineEdit::textChanged, this, &DialPanel::ShowReading);
    connect(address, &QLineEdit::returnPressed, this, [this] {
        if (!inCall) {
            call->click();
        }
    });
    connect(call, &QPushButton::clicked, this, &DialPanel::ToggleCall);
    connect(keep, &QPushButton::clicked, this, [this] { Q_EMIT keepAsked(address->text()); });
    setFocusProxy(address);
    ShowReading();
}

void DialPanel::SetAddress(const QString& text)
{
    const QString plain = PlainAddress(text);
    if (inCall) {
        waiting = plain;
        Q_EMIT addressWaits(plain);
        return;
    }
    address->setText(plain);
    address->setFocus();
}

void DialPanel::ShowReading()
{
    const QString text = address->text();
    call->setEnabled(!text.isEmpty());
    keep->setEnabled(!text.isEmpty());
    const auto reading = common::contact::number::CreateInstance(text);
    kind->setText(text.isEmpty() ? tr("–") : KindText(reading->Kind()));
    dialled->setText(text.isEmpty() ? tr("–") : reading->Address());
    shown->setText(text.isEmpty() ? tr("–") : reading->DisplayText());
}

void DialPanel::ToggleCall()
{
    inCall = !inCall;
    address->setReadOnly(inCall);
    call->setText(inCall ? tr("Ha&ng up") : tr("&Call"));
    Q_EMIT callChanged(inCall, shown->text());
    if (!inCall && !waiting.isEmpty()) {
        SetAddress(std::exchange(waiting, QString()));
    }
}

} // namespace vxphone
