// The data of each thread: results that the next call overwrites, so that threads with different objects do not
// interfere. It holds nothing that belongs to an object, because objects may change threads.
#ifndef ZT_CORE_ZTTHREAD_HH
#define ZT_CORE_ZTTHREAD_HH

#include <stdint.h>

namespace ztcore {

// What a call needs from a container.
enum class PartKind : uint8_t {
  borrowed,  // the container still owns it
  block,     // the container no longer owns it: the last call that needs it frees it
  objects,   // a block of objects that is out of its array during the call
  items,     // items to be deleted, by the container if it is destroyed first
};

// A call under way on a container; see containers/ztuse.hh.
struct Use {
  const void *container;  // NULL once it is destroyed
  void *part;
  uint64_t number;   // unique
  uintptr_t frame;   // of the function that makes the call
  const void *self;  // the address in that frame that identifies the record
  int32_t count;     // objects: their number,
  int32_t stride;    // the distance between them,
  int32_t open;      // and the index of an incomplete one, or -1
  PartKind kind;
  bool isGone;   // the frame is gone; only the part is left
  bool added;    // elements were added meanwhile
  bool removed;  // elements were removed meanwhile
};

struct UseTable {
  static constexpr int32_t firstCapacity = 32;
  void (*release)(UseTable *uses);  // called when the thread ends; NULL until the first call
  Use *records;                     // `first`, or a heap block; NULL until the first call
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

// The scratch string and the buffers of functions whose next call overwrites their result. Allocated on first
// use, because it is too large for static thread space.
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

// At most 256 bytes: the static thread space that any loaded library may use.
struct ThreadState {
  ThreadBlock *block = nullptr;       // NULL until first use
  struct CallTable *calls = nullptr;  // owned by the block
  struct Call *nextCall = nullptr;    // behind the last used entry of `calls`
  struct Call *lastCall = nullptr;    // behind the last entry
  uint64_t callSerial = 0;            // the last one given to a record
  uint64_t indexedCalls = 0;          // records up to this serial number are in the index of `calls`
  uint64_t bytesRead = 0;             // the total of the library's file primitives
  const void *countSource = nullptr;  // the file of the latest `readInt` of the library
  StackBounds ownStack = {};          // given to the thread by the system; see core/ztstack.hh
  StackBounds stack = {};             // the one that `stackLeft` looked up last
  uint32_t number = 0;                // from 1 on; 0 until first use
  uint32_t brokenPaths = 0;           // the number of nodes that were removed from the path of a release
  uint32_t refusedAssignments = 0;    // the number of assignments for which the stack was too small
  uint32_t lostTexts = 0;             // the number of texts that a property did not take
};

static_assert(sizeof(ThreadState) <= 256);

extern constinit thread_local ThreadState thisThread __attribute__((tls_model("initial-exec")));

// Makes the block of this thread; returns a shared one when memory is exhausted.
ThreadBlock *makeThreadBlock();

// Never NULL.
inline ThreadBlock *blockOfThread() {
  return thisThread.block != nullptr ? thisThread.block : makeThreadBlock();
}

// Releases this thread's scratch string; the next use makes a new one.
void releaseScratchString();

// A number that no other thread has.
uint32_t numberOfThread();

// Releases the data of all threads, when the library is unloaded. Threads that end later release nothing.
void releaseThreads();

}  // namespace ztcore

#endif
