#pragma once

#include <QObject>
#include <QStringList>
#include <QThreadPool>

namespace vxphone
{

/// Makes the program the handler of call links, and no longer. Works in the background: the desktop may be
/// slow.
class SchemeRegistration : public QObject
{
    Q_OBJECT

public:
    explicit SchemeRegistration(QObject* parent);
    ~SchemeRegistration() override;

    void Register();
    void Unregister();
    void Refresh(); ///< Only looks.

Q_SIGNALS:
    void stateFound(const QStringList& schemes); ///< What the program is the handler of.

private:
    enum class Task
    {
        Look,
        Register,
        Unregister
    };

    void Run(Task task);

    QThreadPool worker; ///< Of one thread, so that tasks come one after the other.
};

} // namespace vxphone
