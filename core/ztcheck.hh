// What the environment asks the library to check while it runs.
#ifndef ZT_CORE_ZTCHECK_HH
#define ZT_CORE_ZTCHECK_HH

namespace ztcore {

// True when ZENTOVA_CHECK, a list of words with commas between them, contains "thread". Does not change
// once the library is loaded, so every thread may read it.
extern bool checksThreads;

// Looks at an object that is about to be released; called only where threads are checked. NULL until there are
// objects that know their thread.
extern void (*releaseCheck)(void *object);

// Reads the environment. Called once, when the library is loaded.
void readChecks();

}  // namespace ztcore

#endif
