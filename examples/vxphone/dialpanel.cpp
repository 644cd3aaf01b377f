#include "panels.h"

#include <common/sip/sipid.h>
#include <common/tools/insertionfixupvalidator.h>

#include <QGridLayout>
#include <QLineEdit>
#include <QMessageBox>

using namespace Qt::StringLiterals;

namespace
{

QLineEdit* CreateField()
{
    auto* const field = new QLineEdit;
    field->setPlaceholderText(QWidget::tr("Number or address"));
    field->setAccessibleName(QWidget::tr("Number or address to call"));
    field->setClearButtonEnabled(true);
    field->setMaxLength(2048); // The validator would need seconds to check a pasted document.
    field->setValidator(new tools::CInsertionFixupValidator(tools::sip::SipId::AllSymbolRegExp(), field));
    EnlargeFont(field, 1.4);
    return field;
}

/// Shows a line such as "Front desk · Phone number · +1-212-555-0100".
void ShowReading(Line* line, const PhoneBook& book, const QString& address)
{
    if (address.isEmpty()) {
        line->Show(QWidget::tr("Type a number, an address or a link such as tel:+1-212-555-0100"));
        return;
    }
    const Reading reading = ReadAddress(address);
    QStringList parts{reading.kind, reading.shown};
    if (const Contact* const contact = book.Find(address); contact != nullptr) {
        parts.prepend(contact->name);
    }
    line->Show(parts.join(u" · "_s), reading.symbol);
}

void AddContact(QWidget* window, PhoneBook& book, const QString& address)
{
    const QString title = QWidget::tr("Add contact");
    if (const Contact* const known = book.Find(address); known != nullptr) {
        const QString reason = QWidget::tr("%1 is already in your contacts as %2.");
        QMessageBox::information(window, title, Qt::convertFromPlainText(reason.arg(address, known->name)));
        return;
    }
    const QString question = QWidget::tr("Name for %1:").arg(ReadAddress(address).shown);
    if (const QString name = AskForText(window, title, question); !name.isEmpty()) {
        book.AddContact({name, address});
    }
}

} // namespace

QWidget* CreateDialPanel(PhoneBook& book, CallBanner& banner)
{
    auto* const panel = new QWidget;
    auto* const field = CreateField();
    auto* const call = new QPushButton(SymbolIcon(u"phone"_s, Qt::white), QWidget::tr("&Call"));
    auto* const add = new QPushButton(SymbolIcon(u"person-add"_s), QWidget::tr("&Add contact"));
    auto* const reading = new Line(QPalette::PlaceholderText);
    call->setObjectName(u"call"_s);
    add->setObjectName(u"add"_s);
    panel->setFocusProxy(field);
    auto* const layout = new QGridLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setColumnStretch(0, 1);
    layout->addWidget(field, 0, 0);
    layout->addWidget(call, 0, 1);
    layout->addWidget(add, 0, 2);
    layout->addWidget(reading, 1, 0, 1, 3);

    const auto address = [field] { return PlainAddress(field->text()); };
    const auto read = [=, &book] {
        call->setDisabled(address().isEmpty());
        add->setDisabled(address().isEmpty());
        ShowReading(reading, book, address());
    };
    read();
    QObject::connect(field, &QLineEdit::textChanged, panel, read);
    QObject::connect(&book, &PhoneBook::changed, panel, read);
    QObject::connect(field, &QLineEdit::returnPressed, call, &QPushButton::click);
    QObject::connect(call, &QPushButton::clicked, &banner, [=, &banner] { banner.Call(address()); });
    QObject::connect(add, &QPushButton::clicked, panel, [=, &book] { AddContact(panel, book, address()); });
    QObject::connect(&banner, &CallBanner::began, panel, &QWidget::hide);
    QObject::connect(&banner, &CallBanner::offered, field, &QLineEdit::setText);
    QObject::connect(&banner, &CallBanner::offered, panel, &QWidget::show);
    QObject::connect(&banner, &CallBanner::offered, panel, [panel] { panel->setFocus(); });
    return panel;
}
