#include <gtest/gtest.h>

#include <cstring>

#include "installation.h"

int main(int nArguments, char** ppszArguments) {
    if (nArguments == 2 && std::strcmp(ppszArguments[1], "--hold") == 0) return CSecondHost::Hold();
    testing::InitGoogleTest(&nArguments, ppszArguments);
    return RUN_ALL_TESTS();
}
