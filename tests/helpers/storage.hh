// An open file of the library's, of any class, with what it holds at hand.
#ifndef ZT_TESTS_STORAGE_HH
#define ZT_TESTS_STORAGE_HH

#include "io/ztfile.h"
#include "tests/helpers/memory_file.hh"

class Storage {
 public:
  explicit Storage(ztCtor constructor = ztFile_ctor, std::string_view bytes = "")
      : file(constructor(nullptr, 1)) {
    hold(bytes);
  }
  ~Storage() {
    ztFile_of(file)->unRef(file);
  }
  Storage(const Storage &) = delete;
  Storage &operator=(const Storage &) = delete;

  operator void *() const {
    return file;
  }
  const ztFileMethods *operator->() const {
    return ztFile_of(file);
  }

  // Replaces what the file holds and goes to its beginning.
  void hold(std::string_view bytes) const {
    memory.hold(bytes);
    if (!ztFile_of(file)->open(file, memory.path(), "r+b")) abort();
  }
  void rewind() const {
    if (ztFile_table()->goToBegin(file) != 0) abort();
  }
  // All bytes of the file; goes to its beginning.
  std::string bytes() const {
    rewind();
    return memory.bytes();
  }

 private:
  MemoryFile memory;
  void *file;
};

#endif
