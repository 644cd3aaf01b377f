#pragma once

#include "panels.h"

#include <QDir>
#include <QMainWindow>
#include <QSettings>

class TransferPanel;

/// The window: contacts and recent calls on the left; call, chat and transfers on the right.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// @param dataFolder the directory in which the program stores its data
    MainWindow(const QDir& dataFolder, QWidget* logPane);

    void TakeAddress(const QString& link) { banner->TakeAddress(link); } ///< @see CallBanner

protected:
    void closeEvent(QCloseEvent* event) override; ///< Cancels all transfers and closes once they have ended.

private:
    void CreateContents(QWidget* people, QWidget* logPane);
    void CreateMenus(const QList<QAction*>& editActions, QWidget* logPane);
    void AskForDownload();
    void AskForFolder();

    QSettings settings;
    PhoneBook book;
    CallBanner* banner;
    TransferPanel* transfers;
};
