#include "dialpanel.h"

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

namespace number = common::contact::number;

QString KindText(int kind)
{
    switch (kind) {
    case number::ServiceNumber:
        return DialPanel::tr("Number of the service");
    case number::PhoneNumber:
        return DialPanel::tr("Phone number");
    case number::SipAddress:
        return DialPanel::tr("SIP address");
    default:
        return DialPanel::tr("Skype name");
    }
}

QLabel* ReadingLabel()
{
    auto* const label = new QLabel;
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setTextFormat(Qt::PlainText);
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

} // namespace

DialPanel::DialPanel(QWidget* parent)
    : QWidget(parent)
    , address(new QLineEdit)
    , kind(ReadingLabel())
    , dialled(ReadingLabel())
    , shown(ReadingLabel())
    , call(new QPushButton(tr("&Call")))
    , keep(new QPushButton(tr("&Keep")))
{
    address->setPlaceholderText(tr("Number or address"));
    address->setClearButtonEnabled(true);
    address->setAccessibleName(tr("Number or address"));
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
    line->addWidget(call);
    line->addWidget(keep);
    for (QPushButton* button : {call, keep}) {
        button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    }
    auto* const layout = new QFormLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addRow(title, line);
    layout->addRow(tr("Kind:"), kind);
    layout->addRow(tr("Dialled as:"), dialled);
    layout->addRow(tr("Shown as:"), shown);

    connect(address, &QLineEdit::textChanged, this, &DialPanel::ShowReading);
    connect(address, &QLineEdit::returnPressed, call, &QPushButton::click);
    connect(call, &QPushButton::clicked, this, &DialPanel::ToggleCall);
    connect(keep, &QPushButton::clicked, this, [this] { Q_EMIT keepAsked(address->text()); });
    setFocusProxy(address);
    ShowReading();
}

void DialPanel::SetAddress(const QString& text)
{
    if (inCall) {
        waiting = text; // Shown when this call has ended.
        return;
    }
    QString plain = QUrl::fromPercentEncoding(text.toUtf8()).trimmed();
    for (const QLatin1String scheme : {QLatin1String("callto:"), QLatin1String("tel:")}) {
        if (plain.startsWith(scheme, Qt::CaseInsensitive)) {
            plain = plain.mid(scheme.size());
        }
    }
    while (plain.startsWith(u'/')) {
        plain = plain.mid(1);
    }
    address->setText(plain);
    address->setFocus();
}

void DialPanel::ShowReading()
{
    const bool empty = address->text().isEmpty();
    call->setEnabled(!empty || inCall);
    keep->setEnabled(!empty);
    if (empty) {
        for (QLabel* label : {kind, dialled, shown}) {
            label->setText(tr("–"));
        }
        return;
    }
    const auto reading = number::CreateInstance(address->text());
    kind->setText(KindText(reading->Kind()));
    dialled->setText(reading->Address());
    shown->setText(reading->DisplayText());
}

void DialPanel::ToggleCall()
{
    inCall = !inCall;
    address->setReadOnly(inCall);
    call->setText(inCall ? tr("Ha&ng up") : tr("&Call"));
    ShowReading();
    Q_EMIT callChanged(inCall, shown->text());
    if (!inCall && !waiting.isEmpty()) {
        SetAddress(std::exchange(waiting, QString()));
    }
}

} // namespace vxphone
