// What the load and unload hooks need of the registry beyond its public interface.
#ifndef ZT_CORE_ZTOOP_HH
#define ZT_CORE_ZTOOP_HH

// Releases what was registered or opened while the engine was stopped, since ztOOP_CleanUp will not.
void ztOOP_releaseAfterStop();

#endif
