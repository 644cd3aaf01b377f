#include "contactpanel.h"

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
#include <QVBoxLayout>

namespace vxphone
{

namespace
{

constexpr common::logger::Channel logChannel{"vxphone.contacts"};

const QString contactsKey = QStringLiteral("contacts");
const QString nameKey = QStringLiteral("name");
const QString addressKey = QStringLiteral("address");

enum Role : int
{
    NameRole = Qt::UserRole,
    AddressRole
};

} // namespace

ContactPanel::ContactPanel(const QString& fileName_, QWidget* parent)
    : QWidget(parent)
    , fileName(fileName_)
    , list(new QListWidget)
    , remove(new QPushButton(tr("&Remove")))
{
    auto* const title = new QLabel(tr("C&ontacts"));
    title->setBuddy(list);
    list->setAlternatingRowColors(true);
    list->setTextElideMode(Qt::ElideMiddle);
    remove->setEnabled(false);

    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(list, 1);
    layout->addWidget(remove);

    connect(list, &QListWidget::itemActivated, this,
            [this](const QListWidgetItem* item) { Q_EMIT chosen(item->data(AddressRole).toString()); });
    connect(list, &QListWidget::currentRowChanged, this, [this](int row) { remove->setEnabled(row >= 0); });
    connect(remove, &QPushButton::clicked, this, &ContactPanel::RemoveCurrent);
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
        Show(name.trimmed(), address);
        Save();
    });
    dialog->setModal(false);
    dialog->show();
}

void ContactPanel::Load()
{
    if (!QFile::exists(fileName)) {
        return;
    }
    tools::JsonFile file(fileName, tools::cipher::AES::machineKey());
    // What was enciphered with another key, or is damaged, loads as no document.
    if (!file.Load() || !file.Document().isObject()) {
        PutAside();
        return;
    }
    const QJsonArray contacts = file.Object().value(contactsKey).toArray();
    for (const QJsonValue& contact : contacts) {
        Show(contact[nameKey].toString(), contact[addressKey].toString());
    }
    LOG_MESSAGE(common::logger::Info) << "contacts read: " << list->count();
}

/// Keeps a file that cannot be read from being written over.
void ContactPanel::PutAside()
{
    const QString moment = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const QString aside = fileName + u'.' + moment + QStringLiteral(".unreadable");
    saves = QFile::rename(fileName, aside);
    if (saves) {
        LOG_MESSAGE(common::logger::Error) << "the contacts cannot be read; their file is kept as " << aside;
    } else {
        LOG_MESSAGE(common::logger::Error) << "the contacts cannot be read from " << fileName
                                           << "; what changes is not kept until that file is moved away";
    }
}

void ContactPanel::Save() const
{
    if (!saves) {
        LOG_MESSAGE(common::logger::Error)
            << "the contacts are not written: " << fileName << " is in the way";
        return;
    }
    QJsonArray contacts;
    for (int row = 0; row < list->count(); ++row) {
        const QListWidgetItem* const item = list->item(row);
        contacts += QJsonObject{{nameKey, item->data(NameRole).toString()},
                                {addressKey, item->data(AddressRole).toString()}};
    }
    tools::JsonFile file(fileName, QJsonObject{{contactsKey, contacts}}, tools::cipher::AES::machineKey());
    if (!file.Save()) {
        LOG_MESSAGE(common::logger::Error) << "the contacts cannot be written to " << fileName;
    }
}

void ContactPanel::Show(const QString& name, const QString& address)
{
    const auto contact = common::contact::CreateInstance(address, name);
    const QString shown = contact->DisplayName().isEmpty() ? contact->DisplayText() : contact->DisplayName();
    auto* const item = new QListWidgetItem(shown, list);
    item->setToolTip(contact->DisplayText());
    item->setData(NameRole, name);
    item->setData(AddressRole, address);
    list->sortItems();
}

void ContactPanel::RemoveCurrent()
{
    delete list->takeItem(list->currentRow());
    Save();
}

} // namespace vxphone
