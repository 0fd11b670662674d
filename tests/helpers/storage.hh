// Files of the tests, with what they hold at hand.
#ifndef ZT_TESTS_STORAGE_HH
#define ZT_TESTS_STORAGE_HH

#include "io/ztfile.h"

#include <string>
#include <string_view>

// An open file of its own, empty or with bytes.
class Storage {
 public:
  explicit Storage(ztCtor constructor = ztFile_ctor, std::string_view bytes = "")
      : file(constructor(nullptr, 1)) {
    ztFile_functions()->tmpFile(nullptr, name);
    hold(bytes);
  }
  ~Storage() {
    ztFile_of(file)->unRef(file);
    ztFile_functions()->deleteFile(nullptr, name);
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
    ztFile_of(file)->open(file, name, "w+b");
    if (!bytes.empty()) ztFile_table()->writeBuf(file, static_cast<int32_t>(bytes.size()), bytes.data());
    ztFile_of(file)->goToBegin(file);
  }

  // All bytes of the file, whatever its class; goes to its beginning.
  std::string bytes() const {
    ztFile_of(file)->goToEnd(file);
    std::string all(static_cast<size_t>(ztFile_of(file)->tell(file)), '\0');
    ztFile_of(file)->goToBegin(file);
    if (!all.empty()) ztFile_table()->readBuf(file, static_cast<int32_t>(all.size()), all.data());
    ztFile_of(file)->goToBegin(file);
    return all;
  }

 private:
  void *file;
  char name[L_tmpnam];
};

#endif
