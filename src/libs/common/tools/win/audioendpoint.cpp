#include "../audioendpoint.h"

#include <qt_windows.h>

#include <mmdeviceapi.h>
#include <objbase.h>
#include <propidl.h>
#include <propsys.h>

namespace tools
{

namespace
{

// Definitions of the system headers that need a library or an extension which not every compiler has.
constexpr CLSID deviceEnumeratorClass{
    0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
constexpr IID deviceEnumeratorInterface{
    0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
constexpr PROPERTYKEY friendlyNameKey{
    {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 14};

AudioEndpoint Failure(const char* call, HRESULT result)
{
    return {QString(), call, static_cast<long>(result)};
}

} // namespace

AudioEndpoint FindDefaultAudioEndpoint(bool render)
{
    HRESULT result = CoInitialize(nullptr);
    if (result == RPC_E_CHANGED_MODE) {
        return Failure("CoInitialize()", result);
    }
    IMMDeviceEnumerator* enumerator = nullptr;
    result = CoCreateInstance(deviceEnumeratorClass, nullptr, CLSCTX_INPROC_SERVER, deviceEnumeratorInterface,
                              reinterpret_cast<void**>(&enumerator));
    if (FAILED(result)) {
        CoUninitialize();
        return Failure("CoCreateInstance()", result);
    }
    IMMDevice* device = nullptr;
    result = enumerator->GetDefaultAudioEndpoint(render ? eRender : eCapture, eConsole, &device);
    enumerator->Release();
    if (FAILED(result)) {
        CoUninitialize();
        return Failure("GetDefaultAudioEndpoint()", result);
    }
    IPropertyStore* properties = nullptr;
    result = device->OpenPropertyStore(STGM_READ, &properties);
    if (FAILED(result)) {
        device->Release();
        CoUninitialize();
        return Failure("OpenPropertyStore()", result);
    }
    PROPVARIANT name{};
    result = properties->GetValue(friendlyNameKey, &name);
    device->Release();
    properties->Release();
    CoUninitialize();
    if (FAILED(result)) {
        return Failure("pProps->GetValue()", result);
    }
    // The text is read after CoUninitialize and never cleared; both are meant.
    return {name.vt == VT_LPWSTR ? QString::fromWCharArray(name.pwszVal) : QString(), nullptr, 0};
}

} // namespace tools
