#include "reading.hpp"

#include <cstdio>
#include <string_view>

static bool store(ztFile *file) {
  if (!ztFile_of(file)->open(file, "readings.bin", "wb")) return false;
  ztFile_of(file)->writeInt(file, 3);
  for (int32_t i = 0; i < 3; ++i) {
    const Reading reading(6 + i, 410.5 + i);  // an object may also be a variable
    ztBaseClass_functions()->classWrite(nullptr, &reading, file);
    reading.write(file);
  }
  return ztFile_of(file)->flush(file) == 0;
}

static bool load(ztFile *file) {
  zt::registerClass<Reading>();  // this process has made none yet
  int32_t count = 0;
  if (!ztFile_of(file)->open(file, "readings.bin", "rb") || !ztFile_of(file)->readInt(file, &count)) {
    return false;
  }
  for (int32_t i = 0; i < count; ++i) {
    const zt::Own<Reading> reading(zt::cast<Reading>(ztOOP_readObject(file)));
    if (!reading) return false;
    std::printf("%02d:00  %.1f cm\n", reading->hour, reading->level);
  }
  return true;
}

int main(int count, char **words) {
  auto file = zt::make<ztFile>();
  const bool stores = count > 1 && std::string_view(words[1]) == "store";
  return (stores ? store(file.get()) : load(file.get())) ? 0 : 1;
}
