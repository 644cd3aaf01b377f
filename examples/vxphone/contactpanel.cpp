#include "panels.h"

#include <common/contact/icontactcontext.h>
#include <common/logger/logger.h>
#include <common/tools/aes.h>
#include <common/tools/jsonfile.h>

#include <QDateTime>
#include <QFile>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone.contacts"};

const QString contactsKey = QStringLiteral("contacts");
const QString nameKey = QStringLiteral("name");
const QString addressKey = QStringLiteral("address");

} // namespace

ContactPanel::ContactPanel(const QString& fileName_)
    : fileName(fileName_)
    , list(new QListWidget)
{
    auto* const title = new QLabel(tr("C&ontacts"));
    auto* const remove = new QPushButton(tr("&Remove"));
    title->setBuddy(list);
    list->setAlternatingRowColors(true);
    list->setTextElideMode(Qt::ElideMiddle);
    remove->setEnabled(false);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(title);
    layout->addWidget(list, 1);
    layout->addWidget(remove);

    connect(list, &QListWidget::itemActivated, this, [this](const QListWidgetItem* item) {
        Q_EMIT chosen(contacts.at(list->row(item))[addressKey].toString());
    });
    connect(list, &QListWidget::currentRowChanged, remove,
            [remove](int row) { remove->setEnabled(row >= 0); });
    connect(remove, &QPushButton::clicked, this, [this] {
        contacts.removeAt(list->currentRow());
        delete list->takeItem(list->currentRow());
        Save();
    });
    new QShortcut(QKeySequence::Delete, list, remove, &QPushButton::click, Qt::WidgetShortcut);
    Load();
}

void ContactPanel::Add(const QString& address)
{
    // Not modal: an address from another process brings the main window to the front, which must take keys
    // then.
    auto* const dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("New contact"));
    dialog->setLabelText(tr("Name for %1:").arg(address));
    connect(dialog, &QInputDialog::textValueSelected, this, [this, address](const QString& name) {
        Insert({{nameKey, name.trimmed()}, {addressKey, address}});
        Save();
    });
    dialog->show();
}

/// Puts a file aside that cannot be read, so that it is not written over.
void ContactPanel::Load()
{
    if (!QFile::exists(fileName)) {
        return;
    }
    using namespace common::logger;
    tools::JsonFile file(fileName, tools::cipher::AES::machineKey());
    // What was enciphered with another key, or is damaged, loads as no document.
    if (file.Load() && file.Document().isObject()) {
        const QJsonArray kept = file.Object().value(contactsKey).toArray();
        for (const auto& contact : kept) {
            Insert(contact.toObject());
        }
        LOG_MESSAGE(Info) << "contacts read: " << list->count();
    } else {
        const QString moment = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
        const QString aside = fileName + u'.' + moment + QStringLiteral(".unreadable");
        saves = QFile::rename(fileName, aside);
        LOG_MESSAGE(Error) << "the contacts cannot be read from " << fileName
                           << (saves ? QStringLiteral("; their file is kept as ") + aside
                                     : QStringLiteral("; what changes is not kept until it is moved away"));
    }
}

void ContactPanel::Save() const
{
    tools::JsonFile file(fileName, QJsonObject{{contactsKey, contacts}}, tools::cipher::AES::machineKey());
    if (!saves || !file.Save()) {
        LOG_MESSAGE(common::logger::Error) << "the contacts cannot be written to " << fileName;
    }
}

void ContactPanel::Insert(const QJsonObject& contact)
{
    const auto party =
        common::contact::CreateInstance(contact[addressKey].toString(), contact[nameKey].toString());
    const QString name = party->DisplayName();
    auto* const item = new QListWidgetItem(name.isEmpty() ? party->DisplayText() : name, list);
    item->setToolTip(party->DisplayText());
    list->sortItems();
    contacts.insert(list->row(item), contact);
}

} // namespace vxphone
