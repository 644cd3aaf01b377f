#include <common/tools/keyboard.h>

#include <desktop/xserver.h>

#include <QTest>

using tools::Keyboard;

class TestCapsLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void toggledAndHeld();
};

void TestCapsLock::toggledAndHeld()
{
    const XServer server;
    QVERIFY(server.IsRunning());
    QVERIFY(!Keyboard::IsCapsLock());
    QVERIFY(XServer::Act({"keydown", "Caps_Lock"}));
    QVERIFY2(!Keyboard::IsCapsLock(), "held while it goes on");
    QVERIFY(XServer::Act({"keyup", "Caps_Lock"}));
    QVERIFY(Keyboard::IsCapsLock());
    QVERIFY(XServer::Act({"keydown", "shift"}));
    QVERIFY2(Keyboard::IsCapsLock(), "another key is no matter");
    QVERIFY(XServer::Act({"keyup", "shift"}));
    QVERIFY(XServer::Act({"keydown", "Caps_Lock"}));
    QVERIFY2(!Keyboard::IsCapsLock(), "held while it goes off");
    QVERIFY(XServer::Act({"keyup", "Caps_Lock"}));
    QVERIFY(!Keyboard::IsCapsLock());
}

QTEST_GUILESS_MAIN(TestCapsLock)
#include "tst_capslock.moc"
