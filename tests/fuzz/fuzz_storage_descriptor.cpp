// Storage device descriptors of any content: nothing is read behind them, and texts are plain.
#include <algorithm>

#include "devices/peripherals/storage_descriptor.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    const vxt::CStorageDescriptor Told = vxt::g_DecodeStorageDescriptor({pData, uSize});
    const auto IsPlain = [](char ch) { return ch >= ' ' && ch <= '~'; };
    for (const std::string_view sText :
         {Told.Vendor.Get(), Told.Product.Get(), Told.Revision.Get(), Told.SerialNumber.Get()})
        if (!std::ranges::all_of(sText, IsPlain) || sText.size() > uSize) __builtin_trap();
    return 0;
}
