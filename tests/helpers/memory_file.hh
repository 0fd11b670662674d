// A file in memory, opened by a name as any other, so that nothing waits for a disk. For tests and fuzz targets.
#ifndef ZT_TESTS_MEMORY_FILE_HH
#define ZT_TESTS_MEMORY_FILE_HH

#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

class MemoryFile {
 public:
  MemoryFile() : descriptor(memfd_create("zentova", MFD_CLOEXEC)) {
    if (descriptor < 0) abort();
    name = "/proc/self/fd/" + std::to_string(descriptor);
  }
  ~MemoryFile() {
    close(descriptor);
  }
  MemoryFile(const MemoryFile &) = delete;
  MemoryFile &operator=(const MemoryFile &) = delete;

  const char *path() const {
    return name.c_str();
  }

  // All that it holds.
  std::string bytes() const {
    std::string all(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    if (pread(descriptor, all.data(), all.size(), 0) != static_cast<ssize_t>(all.size())) abort();
    return all;
  }
  void hold(std::string_view all) const {
    if (ftruncate(descriptor, 0) != 0) abort();
    if (pwrite(descriptor, all.data(), all.size(), 0) != static_cast<ssize_t>(all.size())) abort();
  }

 private:
  int descriptor;
  std::string name;
};

#endif
