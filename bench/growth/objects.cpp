// What n objects cost where each of them could make the library look through all others.
//
// program         prints "case CASE" for each
// program CASE N  prints "each T": the nanoseconds of CPU time that each of N takes
#include "objects/ztroot.h"

#include <pthread.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

// One of a chain: its end is that of the next.
#define Nested_FIELDS \
  ztBaseClass_FIELDS  \
  void *next;
#define Nested_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Nested)

namespace {

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

int32_t nestedCreate(void *object) {
  static_cast<Nested *>(object)->next = nullptr;
  return ztBaseClass_table()->create(object);
}

void nestedDestroy(void *object) {
  void *next = static_cast<Nested *>(object)->next;
  if (next != nullptr) release(next);
  ztBaseClass_table()->destroy(object);
}

void nestedMethods(NestedMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, nestedCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, nestedDestroy);
}

}  // namespace

ZT_DEFINE_CLASS(Nested, ztBaseClass, nestedMethods)

namespace {

using Objects = std::vector<void *>;

int64_t nanoseconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * int64_t{1000000000} + now.tv_nsec;
}

template <typename Act>
int64_t timed(Act act) {
  const int64_t begin = nanoseconds();
  act();
  return nanoseconds() - begin;
}

Objects newObjects(ztCtor constructor, size_t count) {
  Objects objects(count);
  for (void *&object : objects) object = constructor(nullptr, 1);
  return objects;
}

void releaseAll(const Objects &objects) {
  for (void *object : objects) release(object);
}

// Signals -----------------------------------------------------------------------------------------

void connect(void *sender, const char *signal, void *receiver, void (*take)(void *, intptr_t)) {
  ztSlotFunction function;
  function.call1 = take;
  ztObject_of(sender)->connect(ztOOP_classOf(sender), sender, signal, receiver, "take", function, 1);
}

void releaseReceiver(void *receiver, intptr_t) {
  release(receiver);
}

int64_t slotsThatRelease(size_t count) {
  void *sender = ztObject_ctor(nullptr, 1);
  for (void *receiver : newObjects(ztObject_ctor, count))
    connect(sender, "changed", receiver, releaseReceiver);
  const int64_t time = timed([sender] { ztObject_emit(sender, "changed", 0); });
  release(sender);
  return time;
}

// Addresses that nothing calls.
int64_t functionsOfOneReceiver(size_t count) {
  void *sender = ztObject_ctor(nullptr, 1);
  void *receiver = ztObject_ctor(nullptr, 1);
  const std::vector<char> addresses(count);
  const int64_t time = timed([&] {
    for (const char &address : addresses)
      connect(sender, "changed", receiver,
              reinterpret_cast<void (*)(void *, intptr_t)>(reinterpret_cast<uintptr_t>(&address)));
    release(receiver);
  });
  release(sender);
  return time;
}

int64_t signalsOfOneSender(size_t count) {
  void *sender = ztObject_ctor(nullptr, 1);
  const Objects receivers = newObjects(ztObject_ctor, count);
  for (size_t i = 0; i < count; ++i)
    connect(sender, ("signal" + std::to_string(i)).c_str(), receivers[i], releaseReceiver);
  const int64_t time = timed([&receivers] { releaseAll(receivers); });
  release(sender);
  return time;
}

// An emission inside the slot of another. Each level makes an object, which the library looks for in all levels.
int64_t nestedEmissions(size_t count) {
  static void *sender;
  static size_t left;
  sender = ztObject_ctor(nullptr, 1);
  left = count;
  void *receiver = ztObject_ctor(nullptr, 1);
  connect(sender, "changed", receiver, [](void *, intptr_t) {
    if (--left == 0) return;
    void *object = ztObject_ctor(nullptr, 1);
    ztObject_emit(sender, "changed", 0);
    release(object);
  });
  const int64_t time = timed([] { ztObject_emit(sender, "changed", 0); });
  releaseAll({sender, receiver});
  return time;
}

// Nodes -------------------------------------------------------------------------------------------

struct Family {
  void *parent;
  Objects children;
};

Family newFamily(size_t count) {
  Family family{ztRoot_ctor(nullptr, 1), newObjects(ztRoot_ctor, count)};
  for (size_t i = 0; i < count; ++i) {
    void *child = family.children[i];
    ztRoot_of(child)->setUid(child, static_cast<int32_t>(i + 1));
    ztRoot_of(family.parent)->addChild(family.parent, child);
  }
  return family;
}

template <typename Act>
int64_t timedFromTheBack(const Objects &objects, Act act) {
  return timed([&] {
    for (auto object = objects.rbegin(); object != objects.rend(); ++object) act(*object);
  });
}

int64_t deleteChildren(size_t count) {
  const Family family = newFamily(count);
  const int64_t time = timedFromTheBack(family.children, [parent = family.parent](void *child) {
    ztRoot_of(parent)->deleteChild(parent, child);
  });
  releaseAll(family.children);
  release(family.parent);
  return time;
}

int64_t moveChildren(size_t count) {
  const Family family = newFamily(count);
  void *other = ztRoot_ctor(nullptr, 1);
  const int64_t time =
      timedFromTheBack(family.children, [other](void *child) { ztRoot_of(child)->setParent(child, other); });
  release(other);
  releaseAll(family.children);  // leaving a parent adds a reference
  releaseAll(family.children);
  release(family.parent);
  return time;
}

int64_t releaseChildren(size_t count) {
  const Family family = newFamily(count);
  const int64_t time = timedFromTheBack(family.children, release);
  release(family.parent);
  return time;
}

// Releases ----------------------------------------------------------------------------------------

int64_t nestedReleases(size_t count) {
  void *chain = Nested_ctor(nullptr, 1);
  for (size_t i = 1; i < count; ++i) {
    auto *object = static_cast<Nested *>(Nested_ctor(nullptr, 1));
    object->next = chain;
    chain = object;
  }
  return timed([chain] { release(chain); });
}

struct Case {
  const char *name;
  int64_t (*run)(size_t count);
};

const Case cases[] = {
    {"slots that release their receivers", slotsThatRelease},
    {"functions of one receiver, connected", functionsOfOneReceiver},
    {"signals of one sender, receivers released", signalsOfOneSender},
    {"nested emissions", nestedEmissions},
    {"deleteChild, the last first", deleteChildren},
    {"setParent, the last first", moveChildren},
    {"children released, the last first", releaseChildren},
    {"nested releases", nestedReleases},
};

struct Run {
  const Case *chosen;
  size_t count;
};

void *report(void *given) {
  const auto *run = static_cast<const Run *>(given);
  printf("each %.1f\n", static_cast<double>(run->chosen->run(run->count)) / static_cast<double>(run->count));
  return nullptr;
}

// Nesting needs stack for each level.
void onLargeStack(Run run) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, size_t{1} << 30);
  pthread_t thread;
  if (pthread_create(&thread, &attributes, report, &run) != 0) abort();
  pthread_join(thread, nullptr);
}

}  // namespace

int main(int argc, char **argv) {
  for (const Case &one : cases) {
    if (argc == 1) printf("case %s\n", one.name);
    if (argc == 3 && strcmp(one.name, argv[1]) == 0) onLargeStack({&one, strtoul(argv[2], nullptr, 10)});
  }
  return argc == 1 || argc == 3 ? 0 : 2;
}
