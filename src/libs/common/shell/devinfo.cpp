#include <common/shell/devinfo.h>

#include <common/logger/logger.h>
#include <common/tools/stringconverter.h>

#include "diskserial.h"

#include <QUuid>

namespace common::shell
{

namespace
{

constexpr logger::Channel logChannel{"common.devinfo"};

QString GeneratedIdentity()
{
    static const QString identity = QUuid::createUuid().toString();
    return identity;
}

} // namespace

QString DeviceInfo::GetSerialNumber()
{
    const DiskSerial serial = ReadDiskSerial();
    if (!serial.text.isEmpty()) {
        return serial.text;
    }
    const QString& alternative = GetAlternativeDeviceId();
    QString identity = alternative.isEmpty() ? GeneratedIdentity() : alternative;
    LOG_MESSAGE(logger::Crit) << "GetPlatformSerialNumber failed. Error: (" << serial.error
                              << "), Use Uuid: " << identity;
    return identity;
}

QString DeviceInfo::GetSerialNumberMD5Hash(const QString& prefix)
{
    return tools::string::converter::ToMD5(prefix + GetSerialNumber());
}

QString& DeviceInfo::GetAlternativeDeviceId()
{
    static QString id;
    return id;
}

void DeviceInfo::SetAlternativeDeviceId(const QString& id)
{
    GetAlternativeDeviceId() = id;
}

} // namespace common::shell
