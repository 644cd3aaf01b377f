#include "panels.h"

#include <common/sip/sipid.h>
#include <common/tools/insertionfixupvalidator.h>

#include <QGridLayout>

using namespace Qt::StringLiterals;

DialPanel::DialPanel(const PhoneBook& book_)
    : book(book_)
    , field(new QLineEdit)
    , call(new QPushButton(SymbolIcon(u"phone"_s, Qt::white), tr("&Call")))
    , add(new QPushButton(SymbolIcon(u"person-add"_s), tr("&Add contact")))
    , reading(new Line)
{
    field->setPlaceholderText(tr("Number or address"));
    field->setAccessibleName(tr("Number or address to call"));
    field->setClearButtonEnabled(true);
    field->setValidator(new tools::CInsertionFixupValidator(tools::sip::SipId::AllSymbolRegExp(), field));
    QFont large = field->font();
    large.setPointSizeF(large.pointSizeF() * 1.4);
    field->setFont(large);
    call->setObjectName(u"call"_s);
    add->setObjectName(u"add"_s);

    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setColumnStretch(0, 1);
    layout->addWidget(field, 0, 0);
    layout->addWidget(call, 0, 1);
    layout->addWidget(add, 0, 2);
    layout->addWidget(reading, 1, 0, 1, 3);

    connect(field, &QLineEdit::textChanged, this, &DialPanel::ShowReading);
    connect(field, &QLineEdit::returnPressed, call, &QPushButton::click);
    connect(call, &QPushButton::clicked, this, [this] { Q_EMIT callAsked(PlainAddress(field->text())); });
    connect(add, &QPushButton::clicked, this, [this] { Q_EMIT addAsked(PlainAddress(field->text())); });
    connect(&book, &PhoneBook::changed, this, &DialPanel::ShowReading);
    setFocusProxy(field);
    ShowReading();
}

void DialPanel::SetAddress(const QString& address)
{
    field->setText(address);
    field->setFocus();
}

void DialPanel::ShowReading()
{
    const QString address = PlainAddress(field->text());
    call->setEnabled(!address.isEmpty());
    add->setEnabled(!address.isEmpty());
    if (address.isEmpty()) {
        reading->Show(tr("Type a number, an address or a link such as tel:+1-212-555-0100"), Tone::Quiet);
        return;
    }
    const Reading read = ReadAddress(address);
    QStringList parts{read.kind, read.shown};
    if (const Contact* const contact = book.Find(address); contact != nullptr) {
        parts.prepend(contact->ShownName());
    }
    reading->Show(parts.join(u" · "_s), Tone::Quiet, read.symbol);
}
