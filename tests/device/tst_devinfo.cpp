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
#ifndef Q_OS_WIN
    QVERIFY(QDir::setCurrent("/proc")); // No disk holds it.
#endif
    RecordingLogger log;
    const QString generated = DeviceInfo::GetSerialNumber();
    QVERIFY(!QUuid(generated).isNull() && generated.startsWith('{'));
    QCOMPARE(DeviceInfo::GetSerialNumber(), generated);
    QCOMPARE(log.lines.size(), std::size_t{2});
    QCOMPARE(log.lines.front().level, static_cast<int>(common::logger::Crit));
    QCOMPARE(log.lines.front().channel, QByteArray("common.devinfo"));
    const QRegularExpression text("^GetPlatformSerialNumber failed. Error: \\((\\d+)\\), Use Uuid: (.+)$");
    QCOMPARE(text.match(log.lines.front().text).captured(2), generated);
#ifndef Q_OS_WIN
    QCOMPARE(text.match(log.lines.front().text).captured(1).toInt(), ENOENT);
#endif

    DeviceInfo::SetAlternativeDeviceId("id-1");
    QCOMPARE(DeviceInfo::GetSerialNumber(), QString("id-1"));
    QCOMPARE(DeviceInfo::GetSerialNumberMD5Hash("p"), tools::string::converter::ToMD5(QString("pid-1")));
    DeviceInfo::GetAlternativeDeviceId().clear();
    QCOMPARE(DeviceInfo::GetSerialNumber(), generated);
}

void TestDevInfo::withoutServices()
{
    qunsetenv("DISPLAY");
    qputenv("PULSE_SERVER", "unix:/nonexistent/pulse");
    QCOMPARE(tools::Keyboard::IsCapsLock(), false);
    for (const bool render : {true, false}) {
        const RecordingLogger log;
        QCOMPARE(tools::AudioDeviceTools::getDefaultDeviceName(render), QString());
        QCOMPARE(log.lines.size(), std::size_t{1});
        QCOMPARE(log.lines.front().level, static_cast<int>(common::logger::Error));
        QCOMPARE(log.lines.front().channel, QByteArray());
        const QRegularExpression text(
            "^tools::AudioDeviceTools::getDefaultDeviceName \\w+\\(\\) error -?[1-9]\\d*$");
        QVERIFY2(text.match(log.lines.front().text).hasMatch(), qPrintable(log.lines.front().text));
    }
}

QTEST_GUILESS_MAIN(TestDevInfo)
#include "tst_devinfo.moc"
