// What the library keeps for the whole process beside its classes.
#ifndef ZT_CORE_ZTCORE_HH
#define ZT_CORE_ZTCORE_HH

// Releases what the hooks of freed classes left or what was made after they ran.
void ztcoreReleaseShared();

#endif
