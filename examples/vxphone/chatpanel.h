#pragma once

#include <QStringList>
#include <QWidget>

class QLineEdit;
class QTextBrowser;
class QUrl;

namespace vxphone
{

/// A chat with oneself, whose links can be clicked.
class ChatPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ChatPanel(QWidget* parent = nullptr);

Q_SIGNALS:
    void callLinkClicked(const QString& link); ///< A "tel:", "callto:", "sip:" or "sips:" link.

protected:
    void changeEvent(QEvent* event) override; ///< Links take the colour of the palette when they are made.

private:
    void Send();
    void Open(const QUrl& link);

    QStringList lines; ///< As HTML.
    QTextBrowser* view;
    QLineEdit* line;
};

} // namespace vxphone
