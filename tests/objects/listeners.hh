// Objects for the tests of properties and signals: a class that counts its live objects, and a diary of
// the slots that were called.
#ifndef ZT_TESTS_LISTENERS_HH
#define ZT_TESTS_LISTENERS_HH

#include "objects/ztobject.h"
#include "tests/helpers/counted.hh"
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
inline int32_t &listenersLive = liveOf<Listener>;

Listener *newListener(int32_t number = 0);

inline void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

// An object of a class below ztObject that goes with its scope.
class Object : public Owned<ztObject, ztObjectMethods> {
 public:
  explicit Object(ztCtor constructor = ztObject_ctor) : Owned(constructor) {}
};

// A string that goes with its scope.
class String : public Owned<ztString, ztStringMethods> {
 public:
  explicit String(const char *text) : Owned(ztString_ctor) {
    ztString_of(*this)->set(*this, text);
  }
};

inline void *newString(const char *text) {
  return String(text).release();
}

inline const char *textOf(const void *string) {
  return ztString_of(string)->get(string);
}

// A property by itself that goes with its scope, and the operations of its type on it.
class Property : public Owned<ztProperty, ztPropertyMethods> {
 public:
  explicit Property(ztClass *type) : Owned(ztProperty_ctor) {
    fields().type = type;
  }
  const ztPropertyTypeMethods *operations() const {
    return static_cast<const ztPropertyTypeMethods *>(fields().type->methodTable);
  }
  void *alloc(const void *initial) const {
    return operations()->allocDynamicProperty(fields().type, *this, initial);
  }
  void free() const {
    operations()->freeDynamicProperty(fields().type, *this);
  }
  ztWord get(void *owner, void *out) const {
    return operations()->getValue(fields().type, *this, owner, out);
  }
  ztWord set(void *owner, ztWord word) const {
    return operations()->setValue(fields().type, *this, owner, &word);
  }
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
  Diary() {
    clear();
  }
  ~Diary() {
    clear();
  }
  Diary(const Diary &) = delete;
  Diary &operator=(const Diary &) = delete;

 private:
  static void clear() {
    diary.clear();
    reaction = nullptr;
  }
};

// A test that has the diary to itself, and at whose end every listener is gone.
class ListenerTest : public testing::Test {
 protected:
  ~ListenerTest() override {
    EXPECT_EQ(listenersLive, 0);
  }

 private:
  const Diary empty;
};

// Adds or finds it, with the object's own class.
inline ztSignal *addSignal(void *object, const char *name, uint32_t argumentCount = 1) {
  return ztObject_of(object)->addSignal(ztOOP_classOf(object), object, name, argumentCount);
}

// Connects, with the sender's own class.
inline int32_t connectTo(void *sender, const char *signal, void *receiver, ztSlotFunction function,
                         uint32_t argumentCount = 1) {
  ztClass *klass = ztOOP_classOf(sender);
  return ztObject_of(sender)->connect(klass, sender, signal, receiver, "slot", function, argumentCount);
}

inline bool isConnected(const void *sender, const char *signal, const void *receiver,
                        ztSlotFunction function) {
  ztClass *klass = ztOOP_classOf(sender);
  return ztObject_of(sender)->connectionExist(klass, sender, signal, receiver, function) == 1;
}

inline ztWord wordOf(const void *address) {
  return reinterpret_cast<ztWord>(address);
}

inline int32_t setProperty(void *object, const char *name, const char *type, ztWord value) {
  return ztObject_of(object)->setProperty(object, name, type, value);
}

// Makes a dynamic "ztInt" property.
inline void newIntProperty(void *object, const char *name, int32_t value) {
  EXPECT_EQ(setProperty(object, name, "ztInt", wordOf(&value)), 1) << name;
}

inline int32_t intProperty(void *object, const char *name) {
  int32_t value = 0;
  EXPECT_EQ(ztObject_of(object)->getProperty(object, name, "ztInt", &value), 1) << name;
  return value;
}

// Functions in the forms that a property takes.
inline ztGetter getterOf(int32_t (*function)(const void *)) {
  return {.getInt = function};
}

inline ztSetter setterOf(void (*function)(void *, int32_t)) {
  return {.setInt = function};
}

inline constexpr ztGetter noGetter = {nullptr};
inline constexpr ztSetter noSetter = {nullptr};

// Fills nothing into the table of a class that has no methods of its own.
inline void noMethods(void *) {}

// Makes the property types that the library does not by itself known to declarations.
void registerAllPropertyTypes();

#endif
