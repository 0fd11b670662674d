// Locks for what the process has once. Objects are confined to one thread at a time and need none.
#ifndef ZT_CORE_ZTLOCK_HH
#define ZT_CORE_ZTLOCK_HH

#include <pthread.h>
#include <sys/single_threaded.h>

// One thread may take it several times, since the hooks of classes come back into the engine.
struct ztLock {
  pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

// Holds a lock for as long as the scope lasts. While the process has one thread there is nothing to lock
// out, and the lock is not taken; it is where functions of a host's run, for those may start threads.
class ztLocked {
 public:
  enum Contents { ownCode, hostsCode };

  explicit ztLocked(ztLock &wanted, Contents contents = ownCode)
      : lock(__libc_single_threaded && contents == ownCode ? nullptr : &wanted) {
    if (lock != nullptr) pthread_mutex_lock(&lock->mutex);
  }
  ~ztLocked() {
    if (lock != nullptr) pthread_mutex_unlock(&lock->mutex);
  }
  ztLocked(const ztLocked &) = delete;
  ztLocked &operator=(const ztLocked &) = delete;

 private:
  ztLock *lock;
};

// In the order in which one thread may take several of them.
extern ztLock ztEngineLock;   // the registry, the filling of classes, static properties, property types
extern ztLock ztTablesLock;   // tables that know objects by address or number: leaf of those above
extern ztLock ztMemoryLock;   // the records of the tracking form
extern ztLock ztLogLock;      // the log file
extern ztLock ztIdLock;       // the C library's random numbers, between seeding and drawing
extern ztLock ztThreadsLock;  // the list of what threads own

// Sees to it that a child of `fork` finds every lock free. Called once, when the library is loaded.
void ztKeepLocksAcrossFork();

#endif
