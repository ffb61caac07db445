#include <gtest/gtest.h>

#include "installation.h"

int main(int nArguments, char** ppszArguments) {
    if (nArguments == 2)
        if (const auto oExitCode = CSecondHost::Run(ppszArguments[1])) return *oExitCode;
    testing::InitGoogleTest(&nArguments, ppszArguments);
    return RUN_ALL_TESTS();
}
