// Preloaded into wineserver: lets Windows threads be pinned to the processors of a simulated PC, however many this
// machine really has. wineserver keeps a thread's mask only when the system took it, and answers queries with it.
#define _GNU_SOURCE
#include <sched.h>
#include <string.h>

int sched_setaffinity(pid_t nThread, size_t uSize, const cpu_set_t* pMask) {
    (void)nThread, (void)uSize, (void)pMask;
    return 0;
}

int sched_getaffinity(pid_t nThread, size_t uSize, cpu_set_t* pMask) {
    (void)nThread;
    memset(pMask, 0xFF, uSize);
    return 0;
}
