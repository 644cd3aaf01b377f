#include <common/singleapp/qtsingleapplication.h>

#include "peers.h"

#include <QMetaMethod>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QWidget>

namespace
{

const QString appId = "single application";

/// Keeps the states that it was given, in their order.
class Window : public QWidget
{
public:
    QList<Qt::WindowStates> states;

protected:
    void changeEvent(QEvent* event) override
    {
        if (event->type() == QEvent::WindowStateChange) {
            states += windowState();
        }
        QWidget::changeEvent(event);
    }
};

} // namespace

class TestSingleApplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void methodOrder();
    void claimAndMessages();
    void activationConnections();
    void activation();

private:
    QtSingleApplication* const application = static_cast<QtSingleApplication*>(qApp);
};

void TestSingleApplication::methodOrder()
{
    const QMetaObject& meta = QtSingleApplication::staticMetaObject;
    QByteArrayList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        methods += meta.method(i).methodSignature();
    }
    QCOMPARE(methods, QByteArrayList({"messageReceived(QString)", "sendMessage(QString,int)",
                                      "sendMessage(QString)", "activateWindow()"}));
}

void TestSingleApplication::claimAndMessages()
{
    QCOMPARE(application->id(), appId);
    QVERIFY2(!IsTaken(appId), "undecided until asked");
    QVERIFY(!application->isRunning());
    application->initialize(true);
    QVERIFY(!application->isRunning());
    QVERIFY(!application->sendMessage("to nobody"));
    QSignalSpy received(application, &QtSingleApplication::messageReceived);
    QVERIFY(SendFromElsewhere(appId, "hello"));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "hello");
}

void TestSingleApplication::activationConnections()
{
    QSignalSpy received(application, &QtSingleApplication::messageReceived);
    application->setActivationWindow(nullptr, true);
    QVERIFY(SendFromElsewhere(appId, "nothing to do"));
    QTRY_COMPARE(received.size(), 1);

    Window window;
    window.setWindowState(Qt::WindowMinimized | Qt::WindowMaximized);
    window.states.clear();
    application->setActivationWindow(&window, false);
    QVERIFY(application->activationWindow() == &window);
    QVERIFY(SendFromElsewhere(appId, "not activated"));
    QTRY_COMPARE(received.size(), 2);
    QVERIFY(window.states.isEmpty());

    application->setActivationWindow(&window, true);
    QVERIFY(SendFromElsewhere(appId, "activated"));
    QTRY_COMPARE(received.size(), 3);
    // What the window system makes of it comes later.
    QCOMPARE(window.states.value(0), Qt::WindowStates(Qt::WindowMaximized));
    application->setActivationWindow(nullptr, false);
}

// The real thing, where there is a window manager: from behind and from the task bar to the front.
void TestSingleApplication::activation()
{
    Window window;
    window.resize(300, 200);
    application->setActivationWindow(&window, true);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QWidget other;
    other.resize(300, 200);
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));

    QVERIFY(SendFromElsewhere(appId, "come to the front"));
    QVERIFY(QTest::qWaitForWindowActive(&window));

    window.showMinimized();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QTRY_VERIFY(window.isMinimized());
    QVERIFY(SendFromElsewhere(appId, "and from the task bar"));
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTRY_VERIFY(!window.isMinimized());
    application->setActivationWindow(nullptr, false);
}

/// A display with a window manager of its own, as long as it lives; none on Windows, which has both.
class Desktop
{
public:
    bool Start()
    {
        display.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp"});
        if (!display.waitForReadyRead(30000)) {
            return false;
        }
        qputenv("DISPLAY", ":" + display.readLine().trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
        // Otherwise libdbus looks for a session, and what it loses on the way is not for us to mend.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        manager.start("openbox", {"--sm-disable", "--startup", "echo ready"});
        return manager.waitForReadyRead(30000);
    }

    ~Desktop()
    {
        for (QProcess* process : {&manager, &display}) {
            process->kill();
            process->waitForFinished();
        }
    }

private:
    QProcess display;
    QProcess manager;
};

int main(int argc, char** argv)
{
    const PrivateTemp temp;
#ifndef Q_OS_WIN
    Desktop desktop;
    if (!desktop.Start()) {
        qFatal("Xvfb and openbox are needed");
    }
#endif
    QtSingleApplication application(appId, argc, argv);
    TestSingleApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleapplication.moc"
