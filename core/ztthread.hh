// What each thread has of its own: what one call leaves for the next, so that threads which use different
// objects do not meet. Nothing that belongs to an object is here, since objects may change threads.
#ifndef ZT_CORE_ZTTHREAD_HH
#define ZT_CORE_ZTTHREAD_HH

#include <stdint.h>

namespace ztcore {

// What a call needs of a container.
enum class PartKind : uint8_t {
  borrowed,  // the container has it still
  block,     // the container has given it up: the last call that needs it frees it
  objects,   // a block of objects that is out of its array as long as the call lasts
  items,     // items that are to be deleted, by the container if it ends first
};

// A call on a container that is under way; see containers/ztuse.hh.
struct Use {
  const void *container;  // NULL once it is destroyed
  void *part;
  uint64_t number;   // never given again
  uintptr_t frame;   // of the function that makes the call
  const void *self;  // what in that frame stands for the record
  int32_t count;     // objects: how many there are,
  int32_t stride;    // how far they are apart,
  int32_t open;      // and which one is not whole, or -1
  PartKind kind;
  bool isGone;   // the frame is gone; what is left is the part
  bool added;    // elements came meanwhile
  bool removed;  // elements went meanwhile
};

struct UseTable {
  static constexpr int32_t firstCapacity = 32;
  void (*release)(UseTable *uses);  // at the end of the thread; NULL until the first call
  Use *records;                     // `first`, or a block of its own; NULL until the first call
  int32_t count;
  int32_t capacity;
  uint64_t lastNumber;
  Use first[firstCapacity];
};

struct StackBounds {
  uintptr_t low = 0;
  uintptr_t high = 0;

  bool holds(uintptr_t address) const {
    return low <= address && address < high;
  }
};

// The buffers of the functions whose result the next call overwrites, and the scratch string. Too large for
// the space that threads have for libraries, and so made when a thread first needs one of them.
struct ThreadBlock {
  ThreadBlock *next;        // in the list of all
  void *scratchString;      // of ztString's newString; NULL until it is used; owned
  struct CallTable *calls;  // NULL until the thread needs it; owned
  void (*releaseCalls)(struct CallTable *calls);
  char message[512];     // ztCu_fmtMsg
  char mappedCase[512];  // ztCu_sToLower, ztCu_sToUpper
  char madePath[512];    // ztCu_makePath
  char dirName[512];     // ztDm_getDirName
  char parentPath[512];  // ztDm_extractPath
  char joinedPath[512];  // ztDm_makePath
  char currentDir[512];  // ztDm_getCurrentDir
  UseTable uses;
};

// At most 256 bytes, which any loaded library may take of a thread's static space.
struct ThreadState {
  ThreadBlock *block = nullptr;       // NULL until it is needed
  struct CallTable *calls = nullptr;  // the block's
  struct Call *nextCall = nullptr;    // behind the last entry in use of those
  struct Call *lastCall = nullptr;    // behind the last entry
  uint64_t callSerial = 0;            // the latest that was given to one
  uint64_t bytesRead = 0;             // by the library's own primitives of files, ever
  const void *countSource = nullptr;  // the file whose `readInt` of the library's ran last
  StackBounds ownStack = {};          // that the system gave the thread; see core/ztstack.hh
  StackBounds stack = {};             // the one that was last looked at
  uint32_t number = 0;                // from 1 on; 0 until it is needed
  uint32_t brokenPaths = 0;           // how often a node was taken off the path of a release
  uint32_t refusedAssignments = 0;    // how often the stack was too small for an assignment
};

static_assert(sizeof(ThreadState) <= 256);

extern constinit thread_local ThreadState thisThread __attribute__((tls_model("initial-exec")));

// Makes the block of this thread; one that is shared by all threads that have no memory left.
ThreadBlock *makeThreadBlock();

// The block of this thread, never NULL.
inline ThreadBlock *blockOfThread() {
  return thisThread.block != nullptr ? thisThread.block : makeThreadBlock();
}

// Releases this thread's scratch string, which is made again when it is needed.
void releaseScratchString();

// The number of this thread, by which it can be told from others.
uint32_t numberOfThread();

// Releases what every thread has, at the end of the library. Threads that end later find nothing to do.
void releaseThreads();

}  // namespace ztcore

#endif
