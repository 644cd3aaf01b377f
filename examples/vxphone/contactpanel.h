#pragma once

#include <QWidget>

class QListWidget;
class QPushButton;

namespace vxphone
{

/// The contacts, kept in an enciphered JSON file.
class ContactPanel : public QWidget
{
    Q_OBJECT

public:
    ContactPanel(const QString& fileName, QWidget* parent = nullptr);

    void Add(const QString& address);

Q_SIGNALS:
    void chosen(const QString& address);

private:
    void Load();
    void PutAside();
    void Save() const;
    void Show(const QString& name, const QString& address);
    void RemoveCurrent();

    QString fileName;
    bool saves = true; ///< Off while a file that cannot be read stands in the way.
    QListWidget* list;
    QPushButton* remove;
};

} // namespace vxphone
