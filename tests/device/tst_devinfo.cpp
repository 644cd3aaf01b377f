#include <common/shell/devinfo.h>
#include <common/tools/audiodevicetools.h>
#include <common/tools/keyboard.h>
#include <common/tools/stringconverter.h>

#include <logger/recordinglogger.h>

#include <QDir>
#include <QRegularExpression>
#include <QTest>
#include <QUuid>

using common::shell::DeviceInfo;

class TestDevInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void identity();
    void withoutServices();
};

void TestDevInfo::identity()
{
    QDir::setCurrent("/proc"); // /proc is not on a disk, so no serial number exists.
    RecordingLogger log;
    const QString generated = DeviceInfo::GetSerialNumber();
    QCOMPARE(QUuid(generated).toString(), generated);
    QCOMPARE(DeviceInfo::GetSerialNumber(), generated);
    QCOMPARE(log.lines[0].text.replace(QRegularExpression("\\(\\d+\\)"), "(N)"),
             "GetPlatformSerialNumber failed. Error: (N), Use Uuid: " + generated);
    DeviceInfo::SetAlternativeDeviceId("id-1");
    QCOMPARE(DeviceInfo::GetSerialNumber(), "id-1");
    QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash("p"), tools::string::converter::ToMD5(QString("pid-1")));
}

void TestDevInfo::withoutServices()
{
    qunsetenv("DISPLAY");
    qputenv("PULSE_SERVER", "unix:/nonexistent/pulse");
    QVERIFY(!tools::Keyboard::IsCapsLock());
    QCOMPARE(tools::AudioDeviceTools::getDefaultDeviceName(true), QString());
}

QTEST_GUILESS_MAIN(TestDevInfo)
#include "tst_devinfo.moc"
