#include <common/singleapp/qtsingleapplication.h>

#include "peers.h"

#ifndef Q_OS_WIN
#include "desktop/xserver.h"
#endif

#include <QScopeGuard>
#include <QSignalSpy>
#include <QWidget>
#include <QWindow>

namespace
{

const QString appId = "single application";

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
    bool Send(const QString& text);

    QtSingleApplication* const application = static_cast<QtSingleApplication*>(qApp);
    QSignalSpy received{application, &QtSingleApplication::messageReceived};
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

bool TestSingleApplication::Send(const QString& text)
{
    received.clear();
    return SendFromElsewhere(appId, text) &&
           QTest::qWaitFor([&] { return received.size() == 1 && received.at(0).at(0) == text; });
}

void TestSingleApplication::claimAndMessages()
{
    QCOMPARE(application->id(), appId);
    QVERIFY2(!SendFromElsewhere(appId, "no claim yet"), "no claim before the first call");
    application->initialize(true);
    QVERIFY(Send("hello"));
    QVERIFY(!application->isRunning());
    QVERIFY(!application->sendMessage("to no process"));
}

void TestSingleApplication::activationConnections()
{
    application->setActivationWindow(nullptr, true);
    QVERIFY2(Send("x"), "there is no window");

    auto window = std::make_unique<QWidget>();
    window->setWindowState(Qt::WindowMinimized | Qt::WindowMaximized);
    // Record the first change only: the window system may change the state again.
    const QSignalSpy states(window->windowHandle(), &QWindow::windowStateChanged);
    application->setActivationWindow(window.get(), false);
    QCOMPARE(application->activationWindow(), window.get());
    QVERIFY(Send("x"));
    QVERIFY(states.isEmpty());
    application->setActivationWindow(window.get(), true);
    QVERIFY(Send("x"));
    QCOMPARE(states.value(0).value(0).value<Qt::WindowState>(), Qt::WindowMaximized);
    window.reset();
    QCOMPARE(application->activationWindow(), nullptr);
    QVERIFY2(Send("x"), "the window is deleted");
    application->setActivationWindow(nullptr, false);
}

// A message raises a window that is in the background or minimised.
void TestSingleApplication::activation()
{
    QWidget window;
    window.resize(300, 200);
    application->setActivationWindow(&window, true);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QWidget other;
    other.resize(300, 200);
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QVERIFY(SendFromElsewhere(appId, "from behind"));
    QVERIFY(QTest::qWaitForWindowActive(&window));

    window.showMinimized();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QTRY_VERIFY(window.isMinimized());
    QVERIFY(SendFromElsewhere(appId, "from the task bar"));
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTRY_VERIFY(!window.isMinimized());
    application->setActivationWindow(nullptr, false);
}

int main(int argc, char** argv)
{
    const PrivateTemp temp;
#ifndef Q_OS_WIN
    // Start a display and a window manager. Windows provides both.
    const XServer display;
    qputenv("QT_QPA_PLATFORM", "xcb");
    // Without this address, libdbus would search for a session bus and leak memory.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    QProcess manager;
    manager.start("openbox", {"--sm-disable", "--startup", "echo ready"});
    if (!manager.waitForReadyRead(30000)) {
        qFatal("Xvfb and openbox are needed");
    }
    const auto end = qScopeGuard([&manager] {
        manager.kill();
        manager.waitForFinished();
    });
#endif
    QtSingleApplication application(appId, argc, argv);
    TestSingleApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleapplication.moc"
