// Every method of the classes that an object consists of, replaced by a function that counts and calls it: the steps
// that are otherwise taken at once give the same one by one.
#include "containers/ztavltree.h"
#include "containers/ztmapiter.h"
#include "core/ztmem.h"
#include "tests/objects/listeners.hh"

#include <string.h>
#include <sys/mman.h>

#include <string>

namespace {

// A function with any signature: it counts its calls and goes on to another one.
class Counter {
 public:
  Counter()
      : code(static_cast<unsigned char *>(
            mmap(nullptr, size, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
  ~Counter() {
    munmap(code, size);
  }
  Counter(const Counter &) = delete;
  Counter &operator=(const Counter &) = delete;

  void *to(void *function) {
    calls = 0;
    const void *counter = &calls;
    // endbr64; movabs counter, %rax; incq (%rax); movabs function, %rax; jmp *%rax
    unsigned char text[] = {0xf3, 0x0f, 0x1e, 0xfa, 0x48, 0xb8, 0, 0, 0, 0, 0, 0, 0,    0,   0x48,
                            0xff, 0x00, 0x48, 0xb8, 0,    0,    0, 0, 0, 0, 0, 0, 0xff, 0xe0};
    memcpy(text + 6, &counter, sizeof counter);
    memcpy(text + 19, &function, sizeof function);
    memcpy(code, text, sizeof text);
    return code;
  }

  int64_t calls = 0;

 private:
  static constexpr size_t size = 4096;
  unsigned char *code;
};

void take(void *, intptr_t) {}

ztSlotFunction taking() {
  ztSlotFunction function;
  function.call1 = take;
  return function;
}

// What a host sees of a life of objects.
std::string life() {
  std::string seen;
  const auto see = [&seen](int64_t value) { seen += std::to_string(value) + ' '; };
  Object sender;
  Object receiver;
  see(connectTo(sender, "changed", receiver, taking()));
  see(connectTo(sender, "changed", sender, taking()));
  see(connectTo(sender, "changed", receiver, taking()));
  see(ztObject_emit(sender, "changed", 1));
  see(setProperty(sender, "number", "ztInt", 0));
  see(setProperty(sender, "number", "ztInt", 7));
  see(ztObject_disconnect(sender, "changed", receiver, taking()));
  see(connectTo(sender, "other", receiver, taking()));
  const Owned<> copy(newCopy(sender));
  see(ztBaseClass_of(copy)->getRefCount(copy));
  receiver = Object();
  const ztSignal *signal = addSignal(sender, "other");
  see(ztSlotMap_of(signal->slots)->getSize(signal->slots));
  see(ztSignalMap_of(sender.fields().signals)->getSize(sender.fields().signals));
  seen += ztString_of(signal->name)->get(signal->name);
  Object alone;
  see(addSignal(alone, "without slots") != nullptr);
  alone = Object();
  const String text("text");
  see(text->cat(text, text) != nullptr);
  seen += text->get(text);
  return seen;
}

}  // namespace

namespace {

struct Table {
  ztClass *(*klass)();
  size_t bytes;
};

const Table tables[] = {
    {ztBaseClassClass_Instance, sizeof(ztBaseClassMethods)},
    {ztContainerClass_Instance, sizeof(ztContainerMethods)},
    {ztSequenceContainerClass_Instance, sizeof(ztSequenceContainerMethods)},
    {ztAssociativeContainerClass_Instance, sizeof(ztAssociativeContainerMethods)},
    {ztMapClass_Instance, sizeof(ztMapMethods)},
    {ztSignalMapClass_Instance, sizeof(ztSignalMapMethods)},
    {ztSlotMapClass_Instance, sizeof(ztSlotMapMethods)},
    {ztPropertyMapClass_Instance, sizeof(ztPropertyMapMethods)},
    {ztAvlTreeClass_Instance, sizeof(ztAvlTreeMethods)},
    {ztContainerItemClass_Instance, sizeof(ztContainerItemMethods)},
    {ztAvlTreeItemClass_Instance, sizeof(ztAvlTreeItemMethods)},
    {ztMapItemClass_Instance, sizeof(ztMapItemMethods)},
    {ztArrayClass_Instance, sizeof(ztArrayMethods)},
    {ztCharArrayClass_Instance, sizeof(ztCharArrayMethods)},
    {ztStringClass_Instance, sizeof(ztStringMethods)},
    {ztSlotClass_Instance, sizeof(ztSlotMethods)},
    {ztSignalClass_Instance, sizeof(ztSignalMethods)},
    {ztIteratorClass_Instance, sizeof(ztIteratorMethods)},
    {ztAvlIteratorClass_Instance, sizeof(ztAvlIteratorMethods)},
    {ztMapIteratorClass_Instance, sizeof(ztMapIteratorMethods)},
};

// The slots before it hold no methods of objects.
constexpr size_t firstMethod = offsetof(ztBaseClassMethods, create) / sizeof(void *);

// As many as before anything was done at once.
constexpr int calledInALife = 123;
constexpr int64_t callsInALife = 1346;

}  // namespace

TEST(ReplacedMethods, GiveTheSameOneByOne) {
  life();
  const std::string before = life();
  Counter counter;
  int called = 0;
  int64_t calls = 0;
  for (const Table &table : tables) {
    auto **methods = static_cast<void **>(table.klass()->methodTable);
    for (size_t slot = firstMethod; slot < table.bytes / sizeof(void *); ++slot) {
      SCOPED_TRACE(std::string(table.klass()->name) + " " + std::to_string(slot));
      void *const method = methods[slot];
      methods[slot] = counter.to(method);
      EXPECT_EQ(life(), before);
      methods[slot] = method;
      called += counter.calls > 0;
      calls += counter.calls;
    }
  }
  EXPECT_EQ(called, calledInALife);
  EXPECT_EQ(calls, callsInALife);
}
