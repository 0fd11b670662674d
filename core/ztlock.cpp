#include "core/ztlock.hh"

constinit ztLock ztEngineLock;
constinit ztLock ztTablesLock;
constinit ztLock ztMemoryLock;
constinit ztLock ztLogLock;
constinit ztLock ztIdLock;
constinit ztLock ztThreadsLock;

static ztLock *const inOrder[] = {&ztEngineLock, &ztTablesLock, &ztMemoryLock,
                                  &ztLogLock,    &ztIdLock,     &ztThreadsLock};

static void takeAll() {
  for (ztLock *lock : inOrder) pthread_mutex_lock(&lock->mutex);
}

static void releaseAll() {
  for (ztLock *lock : inOrder) pthread_mutex_unlock(&lock->mutex);
}

// The child has the forking thread alone, under another number: it cannot release what that one took.
static void renewAll() {
  for (ztLock *lock : inOrder) *lock = ztLock();
}

void ztKeepLocksAcrossFork() {
  pthread_atfork(takeAll, releaseAll, renewAll);
}
