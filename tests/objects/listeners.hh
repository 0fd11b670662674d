// Objects for the tests of properties and signals: a class that counts its live objects, and a diary of
// the slots that were called.
#ifndef ZT_TESTS_LISTENERS_HH
#define ZT_TESTS_LISTENERS_HH

#include "objects/ztobject.h"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#define Listener_FIELDS \
  ztObject_FIELDS       \
  int32_t number;
#define Listener_METHODS ztObject_METHODS
ZT_DECLARE_CLASS(Listener)

// Listeners that were created or cloned and not yet destroyed.
extern int32_t listenersLive;

Listener *newListener(int32_t number = 0);

void release(void *object);

// An object of a class below ztObject that goes with its scope.
class Object : public Owned<ztObject, ztObjectMethods> {
 public:
  explicit Object(ztCtor constructor = ztObject_ctor) : Owned(constructor) {}
};

void *newString(const char *text);

// A string that goes with its scope.
class String : public Owned<ztString, ztStringMethods> {
 public:
  explicit String(const char *text) : Owned(newString(text)) {}
};

const char *textOf(const void *string);

// A property by itself that goes with its scope, and the operations of its type on it.
class Property : public Owned<ztProperty, ztPropertyMethods> {
 public:
  explicit Property(ztClass *type);
  void *alloc(const void *initial) const;
  void free() const;
  ztWord get(void *owner, void *out) const;
  ztWord set(void *owner, ztWord word) const;
  const ztPropertyTypeMethods *operations() const;
};

// One call of a slot of the diary.
struct Call {
  int slot;  // 0 for diarySlot<0>() ...
  const void *receiver;
  const void *sender;
  intptr_t first;

  bool operator==(const Call &other) const = default;
};

// The calls of all slots, oldest first.
extern std::vector<Call> diary;

// What a slot of the diary does after its entry, when there is something.
extern std::function<void(const Call &)> reaction;

void enter(int slot, void *receiver, intptr_t first);

// A slot with one argument that enters its calls in the diary; a different function for each number.
template <int slot>
ztSlotFunction diarySlot() {
  ztSlotFunction function;
  function.call1 = [](void *receiver, intptr_t first) { enter(slot, receiver, first); };
  return function;
}

// The slots of the diary with the numbers from 0 on.
template <size_t... numbers>
std::vector<ztSlotFunction> diarySlots(std::index_sequence<numbers...>) {
  return {diarySlot<static_cast<int>(numbers)>()...};
}

template <size_t count>
std::vector<ztSlotFunction> diarySlots() {
  return diarySlots(std::make_index_sequence<count>());
}

// Clears the diary, and what slots do, at both ends of a test.
class Diary {
 public:
  Diary();
  ~Diary();
  Diary(const Diary &) = delete;
  Diary &operator=(const Diary &) = delete;
};

// A test that has the diary to itself, and at whose end every listener is gone.
class ListenerTest : public testing::Test {
 protected:
  ~ListenerTest() override;

 private:
  const Diary empty;
};

// Adds or finds it, with the object's own class.
ztSignal *addSignal(void *object, const char *name, uint32_t argumentCount = 1);

// Connects, with the sender's own class.
int32_t connectTo(void *sender, const char *signal, void *receiver, ztSlotFunction function,
                  uint32_t argumentCount = 1);

bool isConnected(const void *sender, const char *signal, const void *receiver, ztSlotFunction function);

// The word that holds an address.
ztWord wordOf(const void *address);

int32_t setProperty(void *object, const char *name, const char *type, ztWord value);

// Makes a dynamic "ztInt" property, or fails the test.
void newIntProperty(void *object, const char *name, int32_t value);

int32_t intProperty(void *object, const char *name);

// A function where a property or slot takes one of several forms.
ztGetter getterOf(int32_t (*function)(const void *));
ztSetter setterOf(void (*function)(void *, int32_t));
inline constexpr ztGetter noGetter = {nullptr};
inline constexpr ztSetter noSetter = {nullptr};

// Fills nothing into the table of a class that has no methods of its own.
inline void noMethods(void *) {}

// Makes the property types that the library does not by itself known to declarations.
void registerAllPropertyTypes();

#endif
