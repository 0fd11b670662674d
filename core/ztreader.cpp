#include "core/ztreader.h"
#include "core/ztmem.hh"

#include "core/ztclass.h"
#include "core/ztgrowing.hh"
#include "core/ztkept.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztoop.hh"
#include "core/ztreader.hh"
#include "core/ztsearch.hh"

#include <string.h>

using namespace ztcore;

namespace {

struct Reader {
  const ztClass *klass;
  uint32_t version;
  ztReader read;

  bool isBefore(const ztClass *otherClass, uint32_t otherVersion) const {
    const auto address = reinterpret_cast<uintptr_t>(klass);
    const auto otherAddress = reinterpret_cast<uintptr_t>(otherClass);
    return address < otherAddress || (address == otherAddress && version < otherVersion);
  }
};

}  // namespace

// Ordered by class and version; engineLock guards all of it.
static Reader *readers;  // NULL while there is none
static int32_t readerCount;
static int32_t readerCapacity;

// Of the first reader that is not before the one for this version.
static int32_t placeOf(const ztClass *klass, uint32_t version) {
  return firstNotBefore(0, readerCount,
                        [=](int32_t index) { return readers[index].isBefore(klass, version); });
}

static Reader *findReader(const ztClass *klass, uint32_t version) {
  const int32_t place = placeOf(klass, version);
  if (place == readerCount) return nullptr;
  Reader *reader = &readers[place];
  return reader->klass == klass && reader->version == version ? reader : nullptr;
}

static void releaseReaders() {
  ztm_free(readers);
  readers = nullptr;
  readerCount = 0;
  readerCapacity = 0;
}

static void keepReaders(int32_t count) {
  readerCount = count;
  if (count == 0) releaseReaders();
}

static void forgetReaders(const ztClass *klass) {
  int32_t kept = 0;
  for (int32_t i = 0; i < readerCount; ++i) {
    if (!isWithin(readers[i].klass, klass)) readers[kept++] = readers[i];
  }
  keepReaders(kept);
}

static bool addReader(const Reader &reader) {
  if (readerCount == readerCapacity) {
    auto *grown = hidden(growBlock<Reader>(readers, nullptr, &readerCapacity, readerCount + 1));
    if (grown == nullptr) return false;
    readers = grown;
    keepRegistered(Kept::readers, releaseReaders, forgetReaders);
  }
  Reader *place = &readers[placeOf(reader.klass, reader.version)];
  memmove(place + 1, place, static_cast<size_t>(&readers[readerCount++] - place) * sizeof *place);
  *place = reader;
  return true;
}

static void removeReader(const ztClass *klass, uint32_t version) {
  Reader *reader = findReader(klass, version);
  if (reader == nullptr) return;
  memmove(reader, reader + 1, static_cast<size_t>(&readers[readerCount] - (reader + 1)) * sizeof *reader);
  keepReaders(readerCount - 1);
}

static bool putReader(const Reader &reader) {
  Reader *present = findReader(reader.klass, reader.version);
  if (present == nullptr) return addReader(reader);
  present->read = reader.read;
  return true;
}

// The name of a class is set together with its version.
static bool isEarlier(const ztClass *klass, uint32_t version) {
  if (klass == nullptr || klass->name == nullptr) {
    ztLc_log("ztOOP::ztOOP_setReader - Error, the class is not known yet\n");
    return false;
  }
  if (version < klass->version) return true;
  ztLc_log("ztOOP::ztOOP_setReader - Error, version %u of class '%s' is not earlier than its own, %u\n",
           version, klass->name, klass->version);
  return false;
}

int32_t ztOOP_setReader(ztClass *klass, uint32_t version, ztReader reader) {
  const Locked locked(engineLock);
  if (!isEarlier(klass, version)) return 0;
  if (reader == nullptr) {
    removeReader(klass, version);
    return 1;
  }
  if (putReader({klass, version, reader})) return 1;
  ztLc_log("ztOOP::ztOOP_setReader - Error, no memory for a reader of class '%s'\n", klass->name);
  return 0;
}

ztReader ztOOP_readerOf(const ztClass *klass, uint32_t version) {
  const Locked locked(engineLock);
  const Reader *reader = findReader(klass, version);
  return reader == nullptr ? nullptr : reader->read;
}

// Reading -----------------------------------------------------------------------------------------

void *ztcore::makeReadable(const Identity &identity, const char *function) {
  void *object = ztNewFromName(identity.name);
  if (object == nullptr) {
    // For an unknown class there is a line already.
    if (!ztOOP_isClassRegistered(identity.name)) return nullptr;
    ztLc_log("ztOOP::%s - Error, no memory for an object of class '%s'\n", function, identity.name);
    return nullptr;
  }
  const ztClass *klass = ztOOP_classOf(object);
  const auto version = static_cast<uint32_t>(identity.version);
  if (version == klass->version || ztOOP_readerOf(klass, version) != nullptr) return object;
  ztLc_log("ztOOP::%s - Error, class '%s' of version %u has no reader for version %u\n", function,
           klass->name, klass->version, version);
  ztBaseClass_of(object)->unRef(object);
  return nullptr;
}

bool ztcore::readRecord(void *object, const Identity &identity, void *file) {
  const ztClass *klass = ztOOP_classOf(object);
  const auto version = static_cast<uint32_t>(identity.version);
  if (version == klass->version) return ztBaseClass_of(object)->read(object, file) > 0;
  const ztReader reader = ztOOP_readerOf(klass, version);
  return reader != nullptr && reader(object, file, version) > 0;
}

void *ztOOP_readObject(void *file) {
  static const char function[] = "ztOOP_readObject";
  if (file == nullptr) {
    ztLc_log("ztOOP::%s - Error, the file is NULL\n", function);
    return nullptr;
  }
  Identity identity;
  if (!readIdentity(file, &identity)) {
    ztLc_log("ztOOP::%s - Error, no class identity at this place of the file\n", function);
    return nullptr;
  }
  void *object = makeReadable(identity, function);
  if (object == nullptr || readRecord(object, identity, file)) return object;
  ztLc_log("ztOOP::%s - Error, a record of class '%s', version %u, cannot be read\n", function, identity.name,
           static_cast<uint32_t>(identity.version));
  ztBaseClass_of(object)->unRef(object);
  return nullptr;
}
