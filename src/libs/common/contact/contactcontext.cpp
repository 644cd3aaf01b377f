#include <common/contact/icontactcontext.h>

#include <common/contact/inumbercontext.h>

#include <utility>

namespace common::contact
{

namespace
{

using number::INumberContext;

class ContactContext : public IContactContext
{
public:
    ContactContext(QSharedPointer<INumberContext> number_, QString name_)
        : number(std::move(number_))
        , name(std::move(name_))
    {}

    void* PassThrough(void* value) override { return value; }
    bool IsMarked() const override { return false; }
    QString DisplayName() const override { return name.isEmpty() || Number() == name ? QString() : name; }
    QString Address() const override { return number->Address(); }
    QString DisplayText() const override { return number->DisplayText(); }
    int Kind() const override { return number->Kind(); }
    QString Name() const override { return name; }
    QString Ringtone() const override { return QStringLiteral(":/ringtones/Ringtone Default.wav"); }
    QString FullAddress() const override { return number->FullAddress(); }
    QString Number() const override { return number->Number(); }
    QString Domain() const override { return number->Domain(); }
    QString Extension() const override { return number->Extension(); }

private:
    QSharedPointer<INumberContext> number; ///< Never null.
    QString name;
};

} // namespace

IContactContext::IContactContext() = default;

IContactContext::~IContactContext() = default;

QSharedPointer<IContactContext> CreateInstance(const QString& number, const QString& domain,
                                               const QString& name, const QString& extension)
{
    return QSharedPointer<ContactContext>::create(number::CreateInstance(number, domain, extension), name);
}

QSharedPointer<IContactContext> CreateInstance(const QString& uri, const QString& name)
{
    return QSharedPointer<ContactContext>::create(number::CreateInstance(uri), name);
}

} // namespace common::contact
