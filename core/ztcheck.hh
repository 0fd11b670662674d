// What the environment asks the library to check while it runs.
#ifndef ZT_CORE_ZTCHECK_HH
#define ZT_CORE_ZTCHECK_HH

// True when ZENTOVA_CHECK, a list of words with commas between them, contains "thread". Does not change
// once the library is loaded, so every thread may read it.
extern bool ztChecksThreads;

// Reads the environment. Called once, when the library is loaded.
void ztReadChecks();

#endif
