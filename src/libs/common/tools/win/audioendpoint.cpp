#include "../audioendpoint.h"

#include <qt_windows.h>

#include <mmdeviceapi.h>
#include <objbase.h>
#include <propidl.h>
#include <propsys.h>
#include <wrl/client.h>

namespace tools
{

namespace
{

using Microsoft::WRL::ComPtr;

// The definitions in the SDK headers need a library or an extension that not every compiler provides.
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

/// Queries the name of the default device. Releases all interfaces before it returns.
AudioEndpoint QueryName(bool render, PROPVARIANT& name)
{
    ComPtr<IMMDeviceEnumerator> enumerator;
    HRESULT result =
        CoCreateInstance(deviceEnumeratorClass, nullptr, CLSCTX_INPROC_SERVER, deviceEnumeratorInterface,
                         reinterpret_cast<void**>(enumerator.GetAddressOf()));
    if (FAILED(result)) {
        return Failure("CoCreateInstance()", result);
    }
    ComPtr<IMMDevice> device;
    result =
        enumerator->GetDefaultAudioEndpoint(render ? eRender : eCapture, eConsole, device.GetAddressOf());
    enumerator.Reset();
    if (FAILED(result)) {
        return Failure("GetDefaultAudioEndpoint()", result);
    }
    ComPtr<IPropertyStore> properties;
    result = device->OpenPropertyStore(STGM_READ, properties.GetAddressOf());
    if (FAILED(result)) {
        return Failure("OpenPropertyStore()", result);
    }
    result = properties->GetValue(friendlyNameKey, &name);
    device.Reset(); // Release the device before its property store.
    return FAILED(result) ? Failure("pProps->GetValue()", result) : AudioEndpoint();
}

} // namespace

AudioEndpoint FindDefaultAudioEndpoint(bool render)
{
    const HRESULT result = CoInitialize(nullptr);
    if (result == RPC_E_CHANGED_MODE) {
        return Failure("CoInitialize()", result);
    }
    PROPVARIANT name{};
    AudioEndpoint endpoint = QueryName(render, name);
    CoUninitialize();
    // Kept for compatibility: the string is read after CoUninitialize and never cleared.
    if (endpoint.failedCall == nullptr && name.vt == VT_LPWSTR) {
        endpoint.name = QString::fromWCharArray(name.pwszVal);
    }
    return endpoint;
}

} // namespace tools
