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
    QDir::setCurrent("/proc"); // No disk holds it.
    RecordingLogger log;
    const QString generated = DeviceInfo::GetSerialNumber();
    QCOMPARE(QUuid(generated).toString(), generated);
    QCOMPARE(DeviceInfo::GetSerialNumber(), generated);
    QCOMPARE(log.lines.size(), std::size_t{2});
    QVERIFY(log.lines[0].level == common::logger::Crit && log.lines[0].channel == "common.devinfo");
    QCOMPARE(log.lines[0].text.replace(QRegularExpression("\\(\\d+\\)"), "(N)"),
             "GetPlatformSerialNumber failed. Error: (N), Use Uuid: " + generated);
    DeviceInfo::SetAlternativeDeviceId("id-1");
    QCOMPARE(DeviceInfo::GetSerialNumber(), "id-1");
    QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash("p"), tools::string::converter::ToMD5(QString("pid-1")));
    DeviceInfo::GetAlternativeDeviceId().clear();
    QCOMPARE(DeviceInfo::GetSerialNumber(), generated);
}

void TestDevInfo::withoutServices()
{
    qunsetenv("DISPLAY");
    qputenv("PULSE_SERVER", "unix:/nonexistent/pulse");
    QVERIFY(!tools::Keyboard::IsCapsLock());
    const RecordingLogger log;
    QCOMPARE(tools::AudioDeviceTools::getDefaultDeviceName(true), QString());
    QCOMPARE(tools::AudioDeviceTools::getDefaultDeviceName(false), QString());
    QCOMPARE(log.lines.size(), std::size_t{2});
    QVERIFY(log.lines[0].level == common::logger::Error && log.lines[0].channel.isEmpty());
    const QRegularExpression text(
        "^tools::AudioDeviceTools::getDefaultDeviceName \\w+\\(\\) error -?[1-9]\\d*$");
    QVERIFY2(text.match(log.lines[0].text).hasMatch(), qPrintable(log.lines[0].text));
}

QTEST_GUILESS_MAIN(TestDevInfo)
#include "tst_devinfo.moc"
