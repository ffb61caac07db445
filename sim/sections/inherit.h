// How a machine takes over what its base says, for kinds of sections that are alike in this.
#pragma once

#include <algorithm>

#include "../machine_file.h"

namespace vxtsim {

/// Of a map: entries that the machine does not have itself.
template <auto pMember> void g_InheritEntries(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    (rMachine.*pMember).insert((rBase.*pMember).begin(), (rBase.*pMember).end());
}

/// Of a list: elements of which the machine has none of the same key take the places they have in the base; its own of a
/// known key stand where the base's first one stood, the others behind.
template <class TElement, class TKey>
void g_InheritElements(std::vector<TElement>& rOwn, const std::vector<TElement>& rBase, TKey KeyOf) {
    std::vector<TElement> Result;
    const auto TakeOwn = [&](const auto& rKey) {
        const size_t uBefore = rOwn.size();
        for (TElement& rElement : rOwn)
            if (KeyOf(rElement) == rKey) Result.push_back(rElement);
        std::erase_if(rOwn, [&](const TElement& rElement) { return KeyOf(rElement) == rKey; });
        return rOwn.size() != uBefore;
    };
    std::vector<std::decay_t<decltype(KeyOf(rBase.front()))>> Replaced;
    for (const TElement& rElement : rBase) {
        const auto Key = KeyOf(rElement);
        if (TakeOwn(Key)) Replaced.push_back(Key);
        if (std::ranges::find(Replaced, Key) == Replaced.end()) Result.push_back(rElement);
    }
    Result.insert(Result.end(), rOwn.begin(), rOwn.end());
    rOwn = std::move(Result);
}

/// Forgets all of a map or list. There is no naming a part of it.
template <auto pMember> bool g_ForgetAll(CMachineDescription& rMachine, std::string_view sArgument) {
    if (!sArgument.empty() || (rMachine.*pMember).empty()) return false;
    (rMachine.*pMember).clear();
    return true;
}

/// Forgets the entry of a map that the argument names, all of them without one. `ReadKey` answers an optional.
template <auto pMember, auto ReadKey> bool g_ForgetEntry(CMachineDescription& rMachine, std::string_view sArgument) {
    if (sArgument.empty()) return g_ForgetAll<pMember>(rMachine, sArgument);
    const auto oKey = ReadKey(sArgument);
    return oKey && (rMachine.*pMember).erase(*oKey) != 0;
}

}  // namespace vxtsim
