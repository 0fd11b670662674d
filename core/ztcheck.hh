// The checks that the environment switches on.
#ifndef ZT_CORE_ZTCHECK_HH
#define ZT_CORE_ZTCHECK_HH

namespace ztcore {

// True when ZENTOVA_CHECK, a list of words separated by commas, contains "thread". Constant after the library
// is loaded, so every thread may read it.
extern bool checksThreads;

// True where somebody watches emissions: `checksThreads`, or core/zttrack.hh. Constant as well.
extern bool watchesEmissions;

// Checks an object that is about to be released. Called only where `checksThreads` is set. NULL until the first
// object that knows its thread is made.
extern void (*releaseCheck)(void *object);

// Reads the environment. Called once, when the library is loaded.
void readChecks();

}  // namespace ztcore

#endif
