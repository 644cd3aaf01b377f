#include <common/singleapp/qtsingleapplication.h>

#include "peers.h"

#include <QSignalSpy>
#include <QWidget>

namespace
{

const QString appId = "single application";

} // namespace

class TestSingleApplication : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void claimAndMessages();
    void activation();

private:
    QtSingleApplication* const application = static_cast<QtSingleApplication*>(qApp);
};

void TestSingleApplication::claimAndMessages()
{
    QCOMPARE(application->id(), appId);
    QVERIFY2(!SendFromElsewhere(appId, "nobody is the first"), "undecided until asked");
    application->initialize(true);
    QSignalSpy received(application, &QtSingleApplication::messageReceived);
    QVERIFY(SendFromElsewhere(appId, "hello"));
    QVERIFY(!application->isRunning());
    QVERIFY(!application->sendMessage("to nobody"));
    QTRY_COMPARE(received.size(), 1);
    QCOMPARE(received.at(0).at(0).toString(), "hello");
}

// From the task bar and from behind to the front, as large as it was, if that is asked for.
void TestSingleApplication::activation()
{
    QWidget window;
    window.showMaximized();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.showMinimized();
    QWidget other;
    other.resize(300, 200);
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QTRY_VERIFY(window.isMinimized());

    const QSignalSpy received(application, &QtSingleApplication::messageReceived);
    application->setActivationWindow(nullptr, true);
    QVERIFY(SendFromElsewhere(appId, "no window"));
    QTRY_COMPARE(received.size(), 1);
    application->setActivationWindow(&window, false);
    QVERIFY(application->activationWindow() == &window);
    QVERIFY(SendFromElsewhere(appId, "not asked for"));
    QTRY_COMPARE(received.size(), 2);
    QVERIFY(window.isMinimized());

    application->setActivationWindow(&window, true);
    QVERIFY(SendFromElsewhere(appId, "from the task bar"));
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QTRY_VERIFY(!window.isMinimized() && window.isMaximized());
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QVERIFY(SendFromElsewhere(appId, "from behind"));
    QVERIFY(QTest::qWaitForWindowActive(&window));
    application->setActivationWindow(nullptr, false);
}

int main(int argc, char** argv)
{
    const PrivateTemp temp;
    QtSingleApplication application(appId, argc, argv);
    TestSingleApplication test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleapplication.moc"
