#include <common/singleapp/qtsingleapplication.h>

#include "thread.h"

#include <common/singleapp/qtlocalpeer.h>

#include <QMetaMethod>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

namespace
{

const QString appId = "single application";

bool SendFromElsewhere(const QString& text)
{
    bool sent = false;
    const auto thread = StartThread([&] { sent = QtLocalPeer(nullptr, appId).sendMessage(text, 20000); });
    while (!thread->wait(1)) {
        QCoreApplication::processEvents();
    }
    return sent;
}

/// Counts how often it is brought to the front.
class Window : public QWidget
{
public:
    int shownNormal = 0;

protected:
    void changeEvent(QEvent* event) override
    {
        if (event->type() == QEvent::WindowStateChange && !isMinimized()) {
            ++shownNormal;
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
    auto* const application = static_cast<QtSingleApplication*>(qApp);
    QCOMPARE(application->id(), appId);
    bool secondary = true;
    StartThread([&] { secondary = QtLocalPeer(nullptr, appId).isSecondary(); })->wait();
    QVERIFY2(!secondary, "undecided until asked");
    QVERIFY(!application->isRunning());
    QVERIFY(!application->isRunning());
    application->initialize(true);
    QVERIFY(!application->sendMessage("to nobody"));
    QSignalSpy received(application, &QtSingleApplication::messageReceived);
    QVERIFY(SendFromElsewhere("hello"));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "hello");
}

void TestSingleApplication::activationConnections()
{
    auto* const application = static_cast<QtSingleApplication*>(qApp);
    QSignalSpy received(application, &QtSingleApplication::messageReceived);
    application->setActivationWindow(nullptr, true);
    QVERIFY(SendFromElsewhere("nothing to do"));
    QTRY_COMPARE(received.size(), 1);
    QVERIFY(application->activationWindow() == nullptr);

    Window window;
    window.showMinimized();
    window.shownNormal = 0;
    application->setActivationWindow(&window, true);
    application->setActivationWindow(&window, false);
    QVERIFY(SendFromElsewhere("not activated"));
    QTRY_COMPARE(received.size(), 2);
    QVERIFY(window.isMinimized());
    QVERIFY(application->activationWindow() == &window);
    application->setActivationWindow(nullptr, false);
}

// The real thing, where there is a window manager: from behind and from the task bar to the front.
void TestSingleApplication::activation()
{
    auto* const application = static_cast<QtSingleApplication*>(qApp);
    Window window;
    window.setWindowTitle("activated");
    window.resize(300, 200);
    application->setActivationWindow(&window, true);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QWidget other;
    other.resize(300, 200);
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));

    QVERIFY(SendFromElsewhere("come to the front"));
    QVERIFY(QTest::qWaitForWindowActive(&window));

    window.showMinimized();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QVERIFY(SendFromElsewhere("and from the task bar"));
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
        const QString server = QStandardPaths::findExecutable("Xvfb");
        const QString windowManager = QStandardPaths::findExecutable("openbox");
        if (server.isEmpty() || windowManager.isEmpty()) {
            return false;
        }
        display.start(server, {"-displayfd", "1", "-screen", "0", "1024x768x24", "-nolisten", "tcp"});
        if (!display.waitForReadyRead(30000)) {
            return false;
        }
        qputenv("DISPLAY", ":" + display.readLine().trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
        // Otherwise libdbus looks for a session, and what it loses on the way is not for us to mend.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        manager.start(windowManager, {"--sm-disable", "--startup", "echo ready"});
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
    const QTemporaryDir dir;
    for (const char* variable : {"TMPDIR", "TMP", "TEMP"}) {
        qputenv(variable, dir.path().toLocal8Bit());
    }
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
