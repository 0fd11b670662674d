// Stored objects of every registered class, damaged in every way, are read back, used and stored again.
//
// An input says how the file is read and what is read from it, and then what the file holds: class
// identities and records that are whole, parts of them, and bytes that are neither.
#include "fuzz/blocks.hh"
#include "fuzz/objects.hh"
#include "tests/helpers/memory_file.hh"
#include "zentova.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

struct NamedClass {
  std::string name;
  ztCtor ctor;
};

// Every class of the registry, in the order of their names.
std::vector<NamedClass> classes;

const MemoryFile *stored;   // what an input holds
const MemoryFile *storage;  // where objects are stored again

// Whether an allocation is to fail: what then comes out is anything that can be released.
bool hasFault;

// Whether the file is one that cannot seek.
bool isStream;

using File = Owned<ztFile, ztFileMethods>;

// An open file of one of the two kinds.
File openFile(bool asText, const char *path, const char *mode) {
  const NoFaults meanwhile;
  File file(asText ? ztTextFile_ctor : ztFile_ctor);
  ZT_REQUIRE(file != nullptr && file->open(file, path, mode) != 0);
  return file;
}

// Storing and comparing ---------------------------------------------------------------------------

std::string recordOf(const void *object, bool asText) {
  {
    const File file = openFile(asText, storage->path(), "w+b");
    ztBaseClass_of(object)->write(object, file);
  }
  return storage->bytes();
}

bool isOneOf(const std::string &name, std::initializer_list<const char *> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Whether objects of the class read back from a binary file what they wrote.
bool comesBack(const void *object) {
  return isOneOf(ztOOP_classNameOf(object),
                 {"ztCharArray", "ztFloatArray", "ztFloatTag", "ztIntArray", "ztIntTag", "ztLink",
                  "ztLinkArray", "ztPropertyPtrArray", "ztPtrArray", "ztRoot", "ztTag"});
}

void *newOfSameClass(const void *object) {
  void *fresh = static_cast<const ztClassFunctions *>(ztOOP_classOf(object)->classTable)->newop();
  if (fresh != nullptr) ztBaseClass_of(fresh)->create(fresh);
  return fresh;
}

void compareStored(const void *object) {
  const NoFaults meanwhile;
  const std::string record = recordOf(object, false);
  const Owned again(newOfSameClass(object));
  ZT_REQUIRE(again != nullptr);
  // The elements of an array of the host's own need its policy, the attributes of a tag their likes.
  if (!comesBack(object)) return;
  ZT_REQUIRE(again->read(again, openFile(false, storage->path(), "rb")) != 0);
  ZT_REQUIRE(recordOf(again, false) == record);
}

void compareStrings(void *string) {
  const ztStringMethods *methods = ztString_of(string);
  // What was read may be shorter than its buffer, which only `set` makes fit.
  const std::string text = methods->get(string) == nullptr ? "" : methods->get(string);
  if (methods->set(string, text.c_str()) == nullptr) return;
  const Owned<ztString, ztStringMethods> again(ztString_ctor);
  const File file = openFile(false, storage->path(), "w+b");
  ZT_REQUIRE(methods->write(string, file) != 0);
  ZT_REQUIRE(file->writeChar(file, 0) != 0);
  ZT_REQUIRE(file->goToBegin(file) == 0);
  ZT_REQUIRE(again->read(again, file) != 0);
  ZT_REQUIRE(again->get(again) == text);
  ZT_REQUIRE(again->isEqual(again, string) == 1);
}

// Using what was read -----------------------------------------------------------------------------

void useArray(void *array) {
  const ztArrayMethods *methods = ztArray_of(array);
  const int32_t count = methods->getSize(array);
  ZT_REQUIRE(count >= 0);
  ZT_REQUIRE((methods->getFront(array) != nullptr) || (methods->isEmpty(array) != 0) ||
             static_cast<const ztArray *>(array)->byPointer != 0);
  methods->removeAt(array, count / 2);
  methods->resize(array, count + 1);
  methods->setAt(array, methods->getFront(array), methods->getSize(array) - 1);
  methods->resize(array, count / 2);
}

void useAttribute(void *attribute) {
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  int64_t value = 0;
  methods->getTotalValue(attribute, &value);
  methods->getAverageValue(attribute, &value);
  methods->setValue(attribute, -1, &value);
  methods->getAverageValue(attribute, &value);
  methods->getValue(attribute, 1, &value);
  methods->setNumValues(attribute, 3);
  methods->setValue(attribute, 2, &value);
}

void useTag(void *tag) {
  const ztTagMethods *methods = ztTag_of(tag);
  methods->enumTags(
      tag,
      [](void *, void *attribute, void *) {
        useAttribute(attribute);
        return 1;
      },
      nullptr);
  for (int32_t index = 0; index < 4; ++index) {
    const ztTagHandle handle = {index, 1 + index % 2};
    const ztTagHandle other = {0, 1 + index % 2};
    int64_t value = 0;
    methods->getTotalValue(tag, &handle, &value);
    methods->swapTags(tag, &handle, &other);
    methods->setNumValues(tag, &handle, 2, &value);
    methods->getValue(tag, &handle, index, &value);
  }
}

void useObject(void *object) {
  ztClass *klass = ztOOP_classOf(object);
  const ztObjectMethods *methods = ztObject_of(object);
  int64_t value[2] = {0, 0};
  methods->getProperty(object, "name", "ztCharPtr", value);
  if (ztOOP_isClassOf(object, "ztRoot")) methods->setProperty(object, "uniqueID", "ztInt", 7);
  methods->setProperty(object, "dynamic", "ztInt", reinterpret_cast<ztWord>(value));
  methods->printConnections(klass, object, "/dev/null");
}

void use(void *object) {
  if (ztOOP_isClassOf(object, "ztArray")) useArray(object);
  if (ztOOP_isClassOf(object, "ztTagAttribute")) useAttribute(object);
  if (ztOOP_isClassOf(object, "ztObject")) useObject(object);
  if (ztOOP_isClassOf(object, "ztTag")) useTag(object);
  if (ztOOP_isClass(object, "ztString")) compareStrings(object);
}

// A copy of a node has no parent, whose identifier is stored.
bool isOrHoldsNodes(const void *object) {
  if (ztOOP_isClassOf(object, "ztRoot")) return true;
  if (!ztOOP_isClassOf(object, "ztArray")) return false;
  const ztCtor elements = static_cast<const ztArray *>(object)->elementConstructor;
  return elements == ztRoot_ctor || elements == ztTag_ctor;
}

void copyAndUse(void *object) {
  const Owned copy(newCopy(object));
  if (copy != nullptr) {
    ZT_REQUIRE(isOrHoldsNodes(object) || recordOf(copy, false) == recordOf(object, false));
    use(copy);
    copy->assign(copy, object);
  }
  use(object);
}

void copyOnly(const void *object) {
  const Owned copy(newCopy(object));
}

// Two thousand million elements of no bytes take no memory, but as text a line each.
bool isTooLongAsText(void *object) {
  return ztOOP_isClassOf(object, "ztArray") && static_cast<const ztArray *>(object)->elementSize == 0 &&
         ztArray_of(object)->getSize(object) > 65536;
}

void finish(void *object, bool wasRead) {
  if (!hasFault) {
    if (wasRead) compareStored(object);
    copyAndUse(object);
  } else {
    copyOnly(object);
  }
  if (!isTooLongAsText(object)) recordOf(object, true);
  unRef(object);
}

// Trees -------------------------------------------------------------------------------------------

void releaseRoots(void *roots) {
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  for (int32_t i = 0; i < methods->getSize(roots); ++i) unRef(methods->getAt(roots, i));
  unRef(roots);
}

int32_t storeRoots(void *roots) {
  const File file = openFile(false, storage->path(), "w+b");
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  int32_t nodes = 0;
  for (int32_t i = 0; i < methods->getSize(roots); ++i) {
    nodes += ztRoot_storeTree(methods->getAt(roots, i), file);
  }
  return nodes;
}

bool bearsSpecialUid(const ztRoot *node) {
  if (node->uid == 0 || node->uid == -1) return true;
  const ztListItem *item = node->children == nullptr ? nullptr : node->children->head;
  for (; item != nullptr; item = item->next) {
    if (bearsSpecialUid(static_cast<const ztRoot *>(item->data))) return true;
  }
  return false;
}

// 0 and -1 name no parent.
bool haveSpecialUids(void *roots) {
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  for (int32_t i = 0; i < methods->getSize(roots); ++i) {
    if (bearsSpecialUid(static_cast<const ztRoot *>(methods->getAt(roots, i)))) return true;
  }
  return false;
}

// Of several trees in one file, each was stored without a look at the others' identifiers.
bool comeBack(void *roots, const ztTreeReport &report) {
  return ztPtrArray_of(roots)->getSize(roots) == 1 || (report.doubles == 0 && !haveSpecialUids(roots));
}

void compareTrees(void *roots, const ztTreeReport &report) {
  const int32_t nodes = storeRoots(roots);
  ZT_REQUIRE(nodes == report.nodes);
  const std::string file = storage->bytes();
  void *again = ztPtrArray_ctor(nullptr, 1);
  ztTreeReport found;
  {
    const File source = openFile(false, storage->path(), "rb");
    ZT_REQUIRE(ztRoot_loadTree(source, -1, again, &found) == 1);
  }
  ZT_REQUIRE(found.nodes == nodes);
  ZT_REQUIRE(storeRoots(again) == nodes);
  if (comeBack(roots, report)) ZT_REQUIRE(storage->bytes() == file);
  releaseRoots(again);
}

void linkInto(void *roots) {
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  auto *top = static_cast<ztRoot *>(methods->getFront(roots));
  if (top == nullptr) return;
  ztLink link;
  ztLink_ctor(&link, 1);
  link.targetId = ztRoot_of(top)->getUid(top);
  ztLink_resolve(&link, top);
  ZT_REQUIRE(link.target == (link.targetId == -1 ? nullptr : top));
  ztLink_of(&link)->destroy(&link);
}

void readTrees(void *file, int32_t count) {
  void *roots = ztPtrArray_ctor(nullptr, 1);
  if (roots == nullptr) return;
  ztTreeReport report;
  const int32_t read = ztRoot_loadTree(file, count, roots, &report);
  if (!read) ZT_REQUIRE(ztPtrArray_of(roots)->getSize(roots) == 0);
  if (read && !hasFault) {
    compareTrees(roots, report);
    linkInto(roots);
    void *top = ztPtrArray_of(roots)->getFront(roots);
    if (top != nullptr) copyOnly(top);
  }
  releaseRoots(roots);
}

// What is read ------------------------------------------------------------------------------------

void readRecord(void *file, void *object) {
  if (object == nullptr) return;
  finish(object, ztBaseClass_of(object)->read(object, file) != 0);
}

void readIdentified(void *file) {
  readRecord(file, ztBaseClass_functions()->classRead(nullptr, file));
}

void readAnyVersion(void *file) {
  void *object = ztOOP_readObject(file);
  if (object != nullptr) finish(object, true);
}

// The reader of every class for version 0, whose records are today's. That of ztObject has another object before it.
int32_t readEarlier(void *object, void *file, uint32_t version) {
  static int depth;
  ZT_REQUIRE(version == 0);
  if (ztOOP_isClass(object, "ztObject") && depth < 4) {
    ++depth;
    void *within = ztOOP_readObject(file);
    --depth;
    if (within == nullptr) return 0;
    unRef(within);
  }
  return ztBaseClass_of(object)->read(object, file);
}

void readOnto(void *file, ztCtor ctor) {
  readRecord(file, ctor(nullptr, 1));
}

// An array of objects, or of values of any size, as a host sets it up.
void readHostArray(void *file, uint8_t choice) {
  static const ztCtor constructors[] = {ztString_ctor,   ztLink_ctor, ztIntTag_ctor, ztFloatTag_ctor,
                                        ztIntArray_ctor, ztRoot_ctor, ztTag_ctor,    ztMap_ctor};
  const Owned<ztArray, ztArrayMethods> array(ztArray_ctor);
  if (array == nullptr) return;
  if (choice < 8) {
    ztBaseClass header;
    constructors[choice](&header, 0);
    array->setElementConstructor(array, constructors[choice]);
    array->setElementSize(array, header.klass->instanceSize, 0);
  } else {
    array->setElementSize(array, choice - 7, 0);
  }
  array->read(array, file);
  if (!hasFault) copyAndUse(array);
}

void readTagWithAttributes(void *file, uint8_t kinds) {
  const Owned<ztTag, ztTagMethods> tag(ztTag_ctor);
  if (tag == nullptr) return;
  static const char *const names[] = {"one", "two", "three", "four"};
  for (int32_t i = 0; i < kinds % 5; ++i) {
    void *attribute = (kinds >> (3 + i)) & 1 ? ztIntTag_ctor(nullptr, 1) : ztFloatTag_ctor(nullptr, 1);
    tag->insertNew(tag, names[i], attribute, nullptr, i, 1 + i, nullptr);
  }
  tag->read(tag, file);
  recordOf(tag, false);
  if (!hasFault) copyAndUse(tag);
}

void readPrimitives(void *file) {
  const ztFileMethods *methods = ztFile_of(file);
  int32_t number = 0;
  int64_t large = 0;
  double real = 0;
  char character = 0;
  char text[16];
  ztTagHandle handle;
  methods->readInt(file, &number);
  methods->readLong(file, &large);
  methods->readFloat(file, &real);
  methods->readChar(file, &character);
  methods->readBuf(file, number, nullptr);
  methods->readBuf(file, sizeof text, text);
  methods->readString(file, sizeof text, text);
  methods->goTo(file, number % 64);
  methods->goToAbs(file, large % 64);
  ztTat_readHandle(file, &handle);
  methods->eof(file);
}

struct Reading {
  uint8_t kind;
  uint8_t choice;
};

void readOne(void *file, const Reading &reading) {
  switch (reading.kind % 8) {
    case 0:
      return readIdentified(file);
    case 1:
      return readAnyVersion(file);
    case 2:
      return readOnto(file, classes[reading.choice % classes.size()].ctor);
    case 3:
      return readTrees(file, -1);
    case 4:
      return readTrees(file, reading.choice);
    case 5:
      return readHostArray(file, reading.choice);
    case 6:
      return readTagWithAttributes(file, reading.choice);
    default:
      return readPrimitives(file);
  }
}

// What the file holds -----------------------------------------------------------------------------

void writeIdentity(void *file, const std::string &name, int32_t version) {
  char field[100] = "";
  memcpy(field, name.data(), std::min(name.size(), sizeof field));
  ztFile_of(file)->writeBuf(file, sizeof field, field);
  ztFile_of(file)->writeInt(file, version);
}

void writeField(void *file, int32_t size, std::string text) {
  text.resize(static_cast<size_t>(size));
  ztFile_of(file)->writeBuf(file, size, text.data());
}

// A whole record of a node, whose identifiers are few enough to meet.
void writeNode(void *file, Input &input) {
  const bool isTag = input.flag();
  writeIdentity(file, isTag ? "ztTag" : "ztRoot", 1);
  ztFile_of(file)->writeInt(file, static_cast<int32_t>(input.below(16)) - 1);
  writeField(file, 80, input.text(8));
  ztFile_of(file)->writeInt(file, static_cast<int32_t>(input.below(16)) - 1);
}

void writeObject(void *file, const NamedClass &made, bool identified) {
  const Owned object(made.ctor);
  if (identified) ztBaseClass_functions()->classWrite(nullptr, object, file);
  object->write(object, file);
}

void writePart(void *file, Input &input) {
  const ztFileMethods *methods = ztFile_of(file);
  const auto anyClass = [&]() -> const NamedClass & {
    return classes[input.below(static_cast<uint32_t>(classes.size()))];
  };
  switch (input.below(14)) {
    case 0:
      return writeIdentity(file, anyClass().name, 1);
    case 1:
      return writeIdentity(file, anyClass().name, 0);
    case 2:
      return writeIdentity(file, input.bytes(100), input.count());
    case 3:
    case 4:
      return static_cast<void>(methods->writeInt(file, input.count()));
    case 5:
      return static_cast<void>(methods->writeFloat(file, input.number<double>()));
    case 6:
      return static_cast<void>(methods->writeChar(file, input.byte()));
    case 7:
      return writeField(file, 32, input.bytes(32));
    case 8:
      return writeField(file, 80, input.bytes(80));
    case 9:
      return static_cast<void>(methods->writeString(file, input.text(64).c_str()));
    case 10:
      return static_cast<void>(methods->writeLong(file, input.number<int64_t>()));
    case 11:
      return writeObject(file, anyClass(), input.flag());
    case 12:
      return writeNode(file, input);
    default: {
      const std::string bytes = input.bytes(200);
      if (!bytes.empty()) fwrite(bytes.data(), 1, bytes.size(), static_cast<ztFile *>(file)->stream);
    }
  }
}

void compose(bool asText, Input &input) {
  const File file = openFile(asText, stored->path(), "w+b");
  while (!input.isEmpty()) writePart(file, input);
}

// A stream that cannot seek, with the same contents.
class Pipe {
 public:
  explicit Pipe(const std::string &contents) {
    constexpr size_t room = 65536;
    ZT_REQUIRE(pipe2(ends, O_CLOEXEC) == 0);
    const size_t size = std::min(contents.size(), room);
    ZT_REQUIRE(write(ends[1], contents.data(), size) == static_cast<ssize_t>(size));
    name = "/proc/self/fd/" + std::to_string(ends[0]);
  }
  ~Pipe() {
    close(ends[0]);
    endInput();
  }
  Pipe(const Pipe &) = delete;
  Pipe &operator=(const Pipe &) = delete;

  const char *path() const {
    return name.c_str();
  }
  void endInput() {
    if (ends[1] >= 0) close(ends[1]);
    ends[1] = -1;
  }

 private:
  int ends[2];
  std::string name;
};

void readAll(void *file, const std::vector<Reading> &readings, int32_t beforeFault) {
  hasFault = beforeFault >= 0;
  allocationFaults.before = beforeFault;
  for (const Reading &reading : readings) readOne(file, reading);
  allocationFaults.before = -1;
}

}  // namespace

int LLVMFuzzerInitialize(int *, char ***) {
  static const MemoryFile files[2];
  stored = &files[0];
  storage = &files[1];
  ztLc_closeLogFile();
  for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
    classes.push_back({entry->name, entry->ctor});
  }
  std::sort(classes.begin(), classes.end(),
            [](const NamedClass &one, const NamedClass &other) { return one.name < other.name; });
  ZT_REQUIRE(classes.size() >= 62);
  // What is made once and kept.
  for (const NamedClass &known : classes) {
    void *object = known.ctor(nullptr, 1);
    ZT_REQUIRE(ztOOP_setReader(ztOOP_classOf(object), 0, readEarlier) == 1);
    unRef(object);
  }
  return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  Input input(data, size);
  const uint8_t mode = input.byte();
  const bool asText = (mode & 1) != 0;
  isStream = (mode & 6) == 6;
  const int32_t beforeFault = (mode & 24) == 24 ? input.byte() : -1;
  std::vector<Reading> readings(1 + input.below(6));
  for (Reading &reading : readings) reading = {input.byte(), input.byte()};

  // A record makes objects with copies, and a few thousand bytes demand no more than that, whatever counts
  // they claim to hold.
  const NoBlocksLeft check((int64_t{1} << 20) + 256 * static_cast<int64_t>(size));
  compose(asText, input);
  if (isStream) {
    Pipe pipe(stored->bytes());
    const File file = openFile(asText, pipe.path(), "rb");
    pipe.endInput();
    readAll(file, readings, beforeFault);
  } else {
    const File file = openFile(asText, stored->path(), "rb");
    readAll(file, readings, beforeFault);
  }
  ZT_REQUIRE(!metBytesAllowed);
  return 0;
}
