// How every fuzz target runs, for speed. The environment's ASAN_OPTIONS and flags of the command line win over it.
#include <vector>

extern "C" const char* __asan_default_options();  // NOLINTNEXTLINE(bugprone-reserved-identifier): the sanitizer's name
extern "C" const char* __asan_default_options() {
    // Recording where each block was allocated costs half the speed. A finding is run again with malloc_context_size=30.
    return "malloc_context_size=0:quarantine_size_mb=16:allocator_release_to_os_interval_ms=-1";
}

extern "C" int LLVMFuzzerInitialize(int* pnArguments, char*** pppszArguments);
extern "C" int LLVMFuzzerInitialize(int* pnArguments, char*** pppszArguments) {
    // Weighing inputs by the rarity of what they reach takes longer than running them.
    static char s_szPlain[] = "-entropic=0";
    static std::vector<char*> s_Arguments(*pppszArguments, *pppszArguments + *pnArguments);
    s_Arguments.insert(s_Arguments.begin() + 1, s_szPlain);
    *pnArguments = static_cast<int>(s_Arguments.size());
    s_Arguments.push_back(nullptr);
    *pppszArguments = s_Arguments.data();
    return 0;
}
