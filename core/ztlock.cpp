#include "core/ztlock.hh"

using namespace ztcore;

constinit thread_local const char ztcore::lockHolder = 0;

constinit Lock ztcore::engineLock;
constinit Lock ztcore::tablesLock;
constinit Lock ztcore::memoryLock;
constinit Lock ztcore::logLock;
constinit Lock ztcore::idLock;
constinit Lock ztcore::threadsLock;
constinit Lock ztcore::blocksLock;

static Lock *const inOrder[] = {&engineLock, &tablesLock,  &memoryLock, &logLock,
                                &idLock,     &threadsLock, &blocksLock};

static void takeAll() {
  for (Lock *lock : inOrder) pthread_mutex_lock(&lock->mutex);
}

static void releaseAll() {
  for (Lock *lock : inOrder) pthread_mutex_unlock(&lock->mutex);
}

// The child has only the forking thread, with another number, so it cannot release these locks.
static void renewAll() {
  for (Lock *lock : inOrder) *lock = Lock();
}

void ztcore::keepLocksAcrossFork() {
  pthread_atfork(takeAll, releaseAll, renewAll);
}
