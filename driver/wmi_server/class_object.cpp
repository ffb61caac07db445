#include "class_object.h"

#include <algorithm>

using namespace vxtsim;
using vxt::platform::CBstr;
using vxt::platform::CReference;
using vxt::platform::CSafeArray;
using vxt::platform::g_Guarded;

namespace vxtwmi {

namespace {

// {5E3C0F52-0B0B-4B6E-9C57-6A1D3D1B7E11}: how this server finds its own objects again.
constexpr IID kOwnObject = {0x5E3C0F52, 0x0B0B, 0x4B6E, {0x9C, 0x57, 0x6A, 0x1D, 0x3D, 0x1B, 0x7E, 0x11}};

/// Elements one by one, so that the array copies and counts for itself.
template <class TElements, class TPut>
HRESULT g_ToArray(const CWmiValue& rValue, const TElements& rElements, VARIANT& rVariant, TPut Put) {
    const auto usElement = static_cast<VARTYPE>(rValue.usType & VT_TYPEMASK);
    SAFEARRAY* pEmpty = nullptr;
    if (rValue.bNoData && SUCCEEDED(SafeArrayAllocDescriptorEx(usElement, 1, &pEmpty)))
        pEmpty->rgsabound[0].cElements = 16;  // it promises more than it has
    CSafeArray pArray(rValue.bNoData ? pEmpty
                                     : SafeArrayCreateVector(usElement, 0, static_cast<ULONG>(rElements.size())));
    if (!pArray) return E_OUTOFMEMORY;
    for (LONG lIndex = 0; lIndex < static_cast<LONG>(rElements.size()); ++lIndex) {
        const HRESULT lResult = Put(pArray.get(), lIndex, rElements[static_cast<size_t>(lIndex)]);
        if (FAILED(lResult)) return lResult;
    }
    rVariant.vt = rValue.usType;
    rVariant.parray = pArray.release();
    return S_OK;
}

template <class TStored, class TElements, class TConvert>
HRESULT g_FromArray(SAFEARRAY* pArray, TElements& rElements, TConvert Convert) {
    LONG lFirst = 0, lLast = -1;
    if (SafeArrayGetDim(pArray) != 1 || FAILED(SafeArrayGetLBound(pArray, 1, &lFirst)) ||
        FAILED(SafeArrayGetUBound(pArray, 1, &lLast)))
        return kTypeMismatch;
    for (LONG lIndex = lFirst; lIndex <= lLast; ++lIndex) {
        TStored Element{};
        const HRESULT lResult = SafeArrayGetElement(pArray, &lIndex, &Element);
        if (FAILED(lResult)) return lResult;
        rElements.push_back(Convert(Element));
    }
    return S_OK;
}

class CQualifierSet final : public CComObject<IWbemQualifierSet> {
public:
    explicit CQualifierSet(bool bStatic) : m_bStatic(bStatic) {}

    /// A method that is not static does not have the qualifier at all.
    STDMETHODIMP Get(LPCWSTR pszName, LONG lFlags, VARIANT* pValue, LONG* plFlavor) override {
        if (!pszName || lFlags || !pValue) return kInvalidParameter;
        if (!m_bStatic || std::wstring_view(pszName) != L"Static") return kNotFound;
        pValue->vt = VT_BOOL;
        pValue->boolVal = VARIANT_TRUE;
        if (plFlavor) *plFlavor = WBEM_FLAVOR_ORIGIN_LOCAL;
        return WBEM_S_NO_ERROR;
    }
    VXT_REFUSE(Put(LPCWSTR, VARIANT*, LONG))
    VXT_REFUSE(Delete(LPCWSTR))
    VXT_REFUSE(GetNames(LONG, SAFEARRAY**))
    VXT_REFUSE(BeginEnumeration(LONG))
    VXT_REFUSE(Next(LONG, BSTR*, VARIANT*, LONG*))
    VXT_REFUSE(EndEnumeration())

private:
    bool m_bStatic;
};

class CClassObject final : public CRefusingClassObject {
public:
    explicit CClassObject(CWmiObject Value) : m_Value(std::move(Value)) {}
    const CWmiObject& Value() const { return m_Value; }

    STDMETHODIMP QueryInterface(REFIID rId, void** ppObject) override {
        if (rId != kOwnObject) return CComObject::QueryInterface(rId, ppObject);
        *ppObject = this;
        AddRef();
        return S_OK;
    }

    STDMETHODIMP Get(LPCWSTR pszName, LONG lFlags, VARIANT* pValue, CIMTYPE* pType, LONG* plFlavor) override {
        if (!pszName || lFlags || !pValue) return kInvalidParameter;
        if (pType || plFlavor) return kNotSupported;
        return g_Guarded([&]() -> HRESULT {
            const auto it = m_Value.Properties.find(g_Narrow(pszName).value_or(""));
            if (it == m_Value.Properties.end()) return kNotFound;
            return g_ToVariant(it->second, *pValue);
        });
    }

    /// The property has to be there, with a value of the same type or none so far.
    STDMETHODIMP Put(LPCWSTR pszName, LONG lFlags, VARIANT* pValue, CIMTYPE Type) override {
        if (!pszName || lFlags || !pValue) return kInvalidParameter;
        if (Type) return kNotSupported;  // a new property
        return g_Guarded([&]() -> HRESULT {
            const auto it = m_Value.Properties.find(g_Narrow(pszName).value_or(""));
            if (it == m_Value.Properties.end()) return kNotFound;
            CWmiValue Value;
            const HRESULT lResult = g_FromVariant(*pValue, Value);
            if (FAILED(lResult)) return lResult;
            const uint16_t usOld = it->second.usType;
            if (usOld != CWmiValue::kEmpty && usOld != CWmiValue::kNull && usOld != Value.usType) return kTypeMismatch;
            it->second = std::move(Value);
            return WBEM_S_NO_ERROR;
        });
    }

    STDMETHODIMP SpawnInstance(LONG lFlags, IWbemClassObject** ppInstance) override {
        if (lFlags || !ppInstance) return kInvalidParameter;
        return g_Guarded([&] {
            *ppInstance = new CClassObject(m_Value);
            return HRESULT{WBEM_S_NO_ERROR};
        });
    }

    STDMETHODIMP GetMethod(LPCWSTR pszName, LONG lFlags, IWbemClassObject** ppIn, IWbemClassObject** ppOut) override {
        if (ppIn) *ppIn = nullptr;
        if (ppOut) *ppOut = nullptr;  // nobody asks what a method answers before it does
        if (lFlags) return kInvalidParameter;
        return _WithMethod(pszName, [&](CWmiMethod& rMethod) {
            if (ppIn && rMethod.oInput) *ppIn = new CClassObject(std::move(*rMethod.oInput));
        });
    }
    STDMETHODIMP GetMethodQualifierSet(LPCWSTR pszMethod, IWbemQualifierSet** ppSet) override {
        if (!ppSet) return kInvalidParameter;
        *ppSet = nullptr;
        return _WithMethod(pszMethod, [&](const CWmiMethod& rMethod) { *ppSet = new CQualifierSet(rMethod.bStatic); });
    }

private:
    /// Methods are the class definition's to tell: an instance, whose path has keys, refuses.
    template <class TAction> HRESULT _WithMethod(const wchar_t* pszName, TAction Action) const {
        if (!pszName) return kInvalidParameter;
        return g_Guarded([&]() -> HRESULT {
            const auto itPath = m_Value.Properties.find("__PATH");
            if (itPath != m_Value.Properties.end() && itPath->second.sText.find('=') != std::string::npos)
                return kIllegalOperation;
            auto Method = g_GetWmi().GetMethod(kNamespace, m_Value.sClass, g_Narrow(pszName).value_or(""));
            if (!Method) return kNotFound;
            Action(*Method);
            return WBEM_S_NO_ERROR;
        });
    }

    CWmiObject m_Value;
};

class CEnumerator final : public CComObject<IEnumWbemClassObject> {
public:
    explicit CEnumerator(std::vector<CWmiObject> Objects) : m_Objects(std::move(Objects)) {}

    STDMETHODIMP Next(LONG, ULONG ulCount, IWbemClassObject** ppObjects, ULONG* pulReturned) override {
        if (!ppObjects || !pulReturned) return kInvalidParameter;
        *pulReturned = 0;
        return g_Guarded([&]() -> HRESULT {
            for (; *pulReturned < ulCount && m_uNext < m_Objects.size(); ++m_uNext, ++*pulReturned)
                ppObjects[*pulReturned] = new CClassObject(m_Objects[m_uNext]);
            return *pulReturned == ulCount ? WBEM_S_NO_ERROR : WBEM_S_FALSE;
        });
    }
    STDMETHODIMP Reset() override { return kInvalidOperation; }  // it goes forward only
    VXT_REFUSE(NextAsync(ULONG, IWbemObjectSink*))
    VXT_REFUSE(Clone(IEnumWbemClassObject**))
    VXT_REFUSE(Skip(LONG, ULONG))

private:
    std::vector<CWmiObject> m_Objects;
    size_t m_uNext = 0;
};

}  // namespace

std::wstring g_Widen(std::string_view sText) {
    std::wstring sWide(sText.size(), L'\0');
    std::ranges::transform(sText, sWide.begin(), [](char c) { return wchar_t{static_cast<unsigned char>(c)}; });
    return sWide;
}

std::optional<std::string> g_Narrow(const wchar_t* pszText) {
    const std::wstring_view sWide = pszText ? pszText : L"";
    if (!pszText || std::ranges::any_of(sWide, [](wchar_t c) { return c > 0xFF; })) return std::nullopt;
    std::string sText(sWide.size(), '\0');
    std::ranges::transform(sWide, sText.begin(), [](wchar_t c) { return static_cast<char>(c); });
    return sText;
}

HRESULT g_ToVariant(const CWmiValue& rValue, VARIANT& rVariant) {
    VariantInit(&rVariant);
    switch (rValue.bNullArray ? CWmiValue::kNull : rValue.usType) {
        case CWmiValue::kInteger:
            rVariant.lVal = rValue.nNumber;
            break;
        case CWmiValue::kBoolean:
            rVariant.boolVal = rValue.nNumber ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case CWmiValue::kText:
            rVariant.bstrVal = CBstr(g_Widen(rValue.sText)).Detach();
            break;
        case CWmiValue::kObject:
            rVariant.punkVal = rValue.pObject ? g_NewClassObject(*rValue.pObject) : nullptr;
            break;
        case CWmiValue::kIntegers:
            return g_ToArray(rValue, rValue.Integers, rVariant, [](SAFEARRAY* pArray, LONG lIndex, int32_t nValue) {
                return SafeArrayPutElement(pArray, &lIndex, &nValue);
            });
        case CWmiValue::kBytes:
            return g_ToArray(rValue, rValue.Bytes, rVariant, [](SAFEARRAY* pArray, LONG lIndex, uint8_t ucValue) {
                return SafeArrayPutElement(pArray, &lIndex, &ucValue);
            });
        case CWmiValue::kTexts:
            return g_ToArray(rValue, rValue.Texts, rVariant, [](SAFEARRAY* pArray, LONG lIndex, const std::string& rs) {
                return SafeArrayPutElement(pArray, &lIndex, CBstr(g_Widen(rs)));
            });
        default:
            break;  // the type alone, its value all zeros
    }
    rVariant.vt = rValue.usType;
    return S_OK;
}

HRESULT g_FromVariant(const VARIANT& rVariant, CWmiValue& rValue) {
    rValue = {};
    rValue.usType = rVariant.vt;
    switch (rVariant.vt) {
        case CWmiValue::kEmpty:
        case CWmiValue::kNull:
            return S_OK;
        case CWmiValue::kInteger:
            rValue.nNumber = rVariant.lVal;
            return S_OK;
        case CWmiValue::kBoolean:
            rValue.nNumber = rVariant.boolVal != VARIANT_FALSE;
            return S_OK;
        case CWmiValue::kText: {
            auto Text = g_Narrow(rVariant.bstrVal);
            if (!Text) return kInvalidParameter;
            rValue.sText = std::move(*Text);
            return S_OK;
        }
        case CWmiValue::kObject: {
            const CWmiObject* const pObject = g_Look(rVariant.punkVal);
            if (!pObject) return kInvalidParameter;
            rValue = CWmiValue::Object(*pObject);
            return S_OK;
        }
        case CWmiValue::kIntegers:
            return g_FromArray<LONG>(rVariant.parray, rValue.Integers, [](LONG l) { return l; });
        case CWmiValue::kBytes:
            return g_FromArray<BYTE>(rVariant.parray, rValue.Bytes, [](BYTE uc) { return uc; });
        case CWmiValue::kTexts:
            return g_FromArray<BSTR>(rVariant.parray, rValue.Texts, [](BSTR pszCopy) {
                const std::string sText = g_Narrow(pszCopy ? pszCopy : L"").value_or("?");
                SysFreeString(pszCopy);
                return sText;
            });
        default:
            return kTypeMismatch;
    }
}

IWbemClassObject* g_NewClassObject(CWmiObject Value) { return new CClassObject(std::move(Value)); }
IEnumWbemClassObject* g_NewEnumerator(std::vector<CWmiObject> Objects) { return new CEnumerator(std::move(Objects)); }

const CWmiObject* g_Look(IUnknown* pObject) {
    CReference<CClassObject> pOwn;
    if (!pObject || FAILED(pObject->QueryInterface(kOwnObject, reinterpret_cast<void**>(pOwn.Receive()))))
        return nullptr;
    return &pOwn->Value();  // the caller's reference keeps it
}

}  // namespace vxtwmi
