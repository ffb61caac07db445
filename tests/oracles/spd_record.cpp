// vxt_spd FILE...: what the library makes of images of SPD data, a line each.
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "devices/memory/spd_text.h"

int main(int nArguments, char** ppszArguments) {
    for (int i = 1; i < nArguments; ++i) {
        std::ifstream File(ppszArguments[i], std::ios::binary);
        const std::vector<char> Bytes{std::istreambuf_iterator<char>(File), {}};
        const auto* const pucBytes = reinterpret_cast<const uint8_t*>(Bytes.data());
        std::cout << vxttest::g_SpdText(vxt::g_DecodeSpd({pucBytes, Bytes.size()})) << '\n';
    }
    return 0;
}
