#include "tests/helpers/trial.hh"

#include "core/ztbasec.h"

#include <sys/mman.h>
#include <unistd.h>

MemoryFile::MemoryFile()
    : descriptor(memfd_create("fault", 0)), name("/proc/self/fd/" + std::to_string(descriptor)) {}

MemoryFile::~MemoryFile() {
  close(descriptor);
}

std::string MemoryFile::bytes() const {
  std::string all(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
  EXPECT_EQ(pread(descriptor, all.data(), all.size(), 0), static_cast<ssize_t>(all.size()));
  return all;
}

void releaseIfMade(void *object) {
  if (object != nullptr) ztBaseClass_of(object)->unRef(object);
}

// As a constructor does, but for the result of `create`.
static void *makeComplete(ztCtor constructor) {
  void *object = constructor(nullptr, 0);
  if (object == nullptr || ztBaseClass_of(object)->create(object)) return object;
  releaseIfMade(object);
  return nullptr;
}

void *Trial::make(ztCtor constructor, std::source_location where) {
  return need([=] { return makeComplete(constructor); }, where);
}

void *Trial::makeByName(const char *name, std::source_location where) {
  return need(
      [=, this] {
        const int before = struck();
        void *object = ztNewFromName(name);
        // It does not tell whether the object is complete.
        if (struck() == before) return object;
        releaseIfMade(object);
        return static_cast<void *>(nullptr);
      },
      where);
}
