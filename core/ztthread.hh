// What each thread has of its own: what one call leaves for the next, so that threads which use different
// objects do not meet. Nothing that belongs to an object is here, since objects may change threads.
#ifndef ZT_CORE_ZTTHREAD_HH
#define ZT_CORE_ZTTHREAD_HH

#include <stdint.h>

// The buffers of the functions whose result the next call overwrites, and the scratch string. Too large for
// the space that threads have for libraries, and so made when a thread first needs one of them.
struct ztThreadBlock {
  ztThreadBlock *next;  // in the list of all
  void *scratchString;  // of ztString's newString; NULL until it is used; owned
  char logText[512];
  char message[512];     // ztCu_fmtMsg
  char mappedCase[512];  // ztCu_sToLower, ztCu_sToUpper
  char madePath[512];    // ztCu_makePath
  char dirName[512];     // ztDm_getDirName
  char parentPath[512];  // ztDm_extractPath
  char joinedPath[512];  // ztDm_makePath
  char currentDir[512];  // ztDm_getCurrentDir
};

// At most 256 bytes, which any loaded library may take of a thread's static space.
struct ztThread {
  ztThreadBlock *block;     // NULL until it is needed
  uint64_t bytesRead;       // by the library's own primitives of files, ever
  const void *countSource;  // the file whose `readInt` of the library's ran last
};

static_assert(sizeof(ztThread) <= 256);

extern constinit thread_local ztThread ztThisThread __attribute__((tls_model("initial-exec")));

// Makes the block of this thread; one that is shared by all threads that have no memory left.
ztThreadBlock *ztMakeThreadBlock();

// The block of this thread, never NULL.
inline ztThreadBlock *ztBlockOfThread() {
  return ztThisThread.block != nullptr ? ztThisThread.block : ztMakeThreadBlock();
}

// Releases what every thread has, at the end of the library. Threads that end later find nothing to do.
void ztReleaseThreads();

#endif
