#include "../diskserial.h"

#include "../../platform/win/uniquehandle.h"

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <qt_windows.h>
#include <winioctl.h>

namespace common::shell
{

using platform::UniqueHandle;

namespace
{

constexpr std::size_t descriptorSize = 10000; // In bytes; larger than any disk's descriptor.

/// Opens a device without any access right, which is enough for queries and allowed for every user.
UniqueHandle OpenDevice(const std::wstring& name)
{
    return UniqueHandle(
        CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
}

bool Query(const UniqueHandle& device, DWORD code, void* input, DWORD inputSize, void* output,
           DWORD outputSize)
{
    DWORD returned = 0;
    return DeviceIoControl(device.Get(), code, input, inputSize, output, outputSize, &returned, nullptr) != 0;
}

/// Returns the number of the disk that contains the current directory; 0 on failure.
DWORD DiskNumber()
{
    std::array<wchar_t, MAX_PATH> path{};
    GetVolumePathNameW(L".", path.data(), MAX_PATH);
    std::wstring volume(path.data());
    if (!volume.empty()) {
        volume.pop_back(); // The closing backslash.
    }
    const UniqueHandle device = OpenDevice(L"\\\\.\\" + volume);
    VOLUME_DISK_EXTENTS extents{};
    if (device.IsOpen() &&
        Query(device, IOCTL_VOLUME_GET_VOLUME_DISK_EXTENTS, nullptr, 0, &extents, sizeof(extents)) &&
        extents.NumberOfDiskExtents > 0) {
        return extents.Extents[0].DiskNumber;
    }
    return 0;
}

} // namespace

DiskSerial ReadDiskSerial()
{
    const UniqueHandle device = OpenDevice(L"\\\\.\\PhysicalDrive" + std::to_wstring(DiskNumber()));
    if (!device.IsOpen()) {
        return {GetLastError(), QString()};
    }
    STORAGE_PROPERTY_QUERY query{};
    query.PropertyId = StorageDeviceProperty;
    query.QueryType = PropertyStandardQuery;
    STORAGE_DESCRIPTOR_HEADER header{};
    if (!Query(device, IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof(query), &header, sizeof(header))) {
        return {GetLastError(), QString()};
    }
    // One byte more than the call may fill, so that the string is always terminated.
    std::vector<char> buffer(descriptorSize + 1);
    if (!Query(device, IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof(query), buffer.data(), descriptorSize)) {
        return {GetLastError(), QString()};
    }
    STORAGE_DEVICE_DESCRIPTOR descriptor{};
    std::memcpy(&descriptor, buffer.data(), sizeof(descriptor));
    const DWORD offset = descriptor.SerialNumberOffset;
    if (offset == 0 || offset >= descriptorSize) {
        return {};
    }
    return {0, QString::fromLocal8Bit(buffer.data() + offset).trimmed()};
}

} // namespace common::shell
