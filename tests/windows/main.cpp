#include <gtest/gtest.h>

#include <cstring>

#include "installation.h"
#include "tuning_host.h"

// Alone, an argument names what a second process of a test does. Behind options of the test framework --rounds=N chooses
// how often processes start against each other.
int main(int nArguments, char** ppszArguments) {
    if (nArguments == 2) {
        if (const auto oExitCode = CSecondHost::Run(ppszArguments[1])) return *oExitCode;
        if (const auto oExitCode = g_RunTuningHost(ppszArguments[1])) return *oExitCode;
    }
    testing::InitGoogleTest(&nArguments, ppszArguments);
    for (int i = 1; i < nArguments; ++i)
        if (const std::string sArgument = ppszArguments[i]; sArgument.starts_with(CSecondHost::kStartAndStop))
            g_nStartRounds = std::stoi(sArgument.substr(std::strlen(CSecondHost::kStartAndStop)));
    return RUN_ALL_TESTS();
}
