#include "win32/win32_wmi.h"

#include "win32/unique_handle.h"
#include "win32/wide.h"

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

namespace win32 {
namespace {

template <typename Interface>
void ReleaseInterface(Interface* object) noexcept {
    object->Release();
}
template <typename Interface>
using ComPointer = UniqueAny<NullIsEmpty<Interface*, &ReleaseInterface<Interface>>>;
using UniqueBstr = UniqueAny<NullIsEmpty<BSTR, &::SysFreeString>>;

// COM for the calling thread, for the length of one query. A thread that already runs another
// apartment keeps it: the query goes on there, and only a successful initialisation is undone.
class ComApartment {
public:
    ComApartment() : m_result(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {
        if (FAILED(m_result)) {
            ::OutputDebugStringW(L"Failed to initialize COM library. Error code = 0x");
        }
    }
    ~ComApartment() {
        if (SUCCEEDED(m_result)) {
            ::CoUninitialize();
        }
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT m_result;
};

HRESULT Failed(HRESULT result, const wchar_t* message) {
    ::OutputDebugStringW(message);
    return result;
}

// Stores the object's own 32-bit integer properties; true when one was stored.
bool StoreProperties(IWbemClassObject& object, ports::WmiValues& values) {
    bool stored = false;
    object.BeginEnumeration(WBEM_FLAG_LOCAL_ONLY);
    for (;;) {
        BSTR rawName = nullptr;
        VARIANT value;
        ::VariantInit(&value);
        if (object.Next(0, &rawName, &value, nullptr, nullptr) != WBEM_S_NO_ERROR) {
            break;
        }
        const UniqueBstr name(rawName);
        if (value.vt == VT_I4 || value.vt == VT_UI4) {
            values[AsUtf16(name.get())] =
                value.vt == VT_I4 ? static_cast<uint32_t>(value.lVal) : value.ulVal;
            stored = true;
        }
        ::VariantClear(&value);
    }
    object.EndEnumeration();
    return stored;
}

} // namespace

int32_t Win32Wmi::QueryWmiValue(const std::u16string& wql, ports::WmiValues& values) {
    const ComApartment apartment;
    HRESULT result =
        ::CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                               RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (FAILED(result) && result != RPC_E_TOO_LATE) {
        return Failed(result, L"Failed to initialize security. Error code");
    }
    ComPointer<IWbemLocator> locator;
    result = ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                reinterpret_cast<void**>(locator.put()));
    if (FAILED(result)) {
        return Failed(result, L"Failed to create IwbemLocator object");
    }
    const UniqueBstr resource(::SysAllocString(L"ROOT\\CIMV2"));
    const UniqueBstr language(::SysAllocString(L"WQL"));
    const UniqueBstr query(::SysAllocString(AsWide(wql)));
    if (!resource || !language || !query) {
        return E_OUTOFMEMORY;
    }
    // The maximum wait keeps a stalled WMI service from holding the caller for ever.
    ComPointer<IWbemServices> services;
    result = locator.get()->ConnectServer(resource.get(), nullptr, nullptr, nullptr,
                                          WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr,
                                          services.put());
    if (FAILED(result)) {
        return Failed(result, L"Could not connect. Error code = 0x");
    }
    result = ::CoSetProxyBlanket(services.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                 RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                 EOAC_NONE);
    if (FAILED(result)) {
        return Failed(result, L"Could not set proxy blanket. Error code = 0x");
    }
    ComPointer<IEnumWbemClassObject> objects;
    result = services.get()->ExecQuery(language.get(), query.get(),
                                       WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY,
                                       nullptr, objects.put());
    if (FAILED(result)) {
        return Failed(result, L"Query for operating system name failed.");
    }
    for (;;) {
        ComPointer<IWbemClassObject> object;
        ULONG returned = 0;
        objects.get()->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.put(), &returned);
        if (returned == 0 || !object) {
            break;
        }
        if (StoreProperties(*object.get(), values)) {
            result = S_OK;
        }
    }
    return result;
}

} // namespace win32
