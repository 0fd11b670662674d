// Files that live in memory, opened by a name as any other.
#ifndef ZT_FUZZ_MEMORYFILE_HH
#define ZT_FUZZ_MEMORYFILE_HH

#include "fuzz/input.hh"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

class MemoryFile {
 public:
  MemoryFile() : descriptor(memfd_create("fuzz", MFD_CLOEXEC)) {
    ZT_REQUIRE(descriptor >= 0);
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

  std::string contents() const {
    struct stat status;
    ZT_REQUIRE(fstat(descriptor, &status) == 0);
    std::string bytes(static_cast<size_t>(status.st_size), '\0');
    ZT_REQUIRE(pread(descriptor, bytes.data(), bytes.size(), 0) == status.st_size);
    return bytes;
  }

  void hold(std::string_view bytes) const {
    ZT_REQUIRE(ftruncate(descriptor, 0) == 0);
    ZT_REQUIRE(pwrite(descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  }

 private:
  int descriptor;
  std::string name;
};

#endif
