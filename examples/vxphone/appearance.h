#pragma once

#include <QIcon>
#include <QList>
#include <QObject>
#include <QTimer>

namespace vxphone
{

/// Dresses the whole program in light or dark colours.
void ApplyColours(bool dark);

/// The program's icon, which fades from the colour of rest to that of a call and back.
class CallIcon : public QObject
{
    Q_OBJECT

public:
    explicit CallIcon(QObject* parent);

    QIcon Current() const { return frames.at(frame); }
    void SetInCall(bool inCall);

Q_SIGNALS:
    void changed(const QIcon& icon);

private:
    void Step();

    QList<QIcon> frames;
    qsizetype frame = 0;
    bool inCall = false;
    QTimer timer;
};

} // namespace vxphone
