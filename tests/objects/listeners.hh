// Objects for the tests of properties and signals: a class that counts its live objects, and a diary of
// the slots that were called.
#ifndef ZT_TESTS_LISTENERS_HH
#define ZT_TESTS_LISTENERS_HH

#include "objects/ztobject.h"
#include "tests/helpers/counted.hh"
#include "tests/helpers/owned.hh"

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

void release(void *object);

void *newString(const char *text);

const char *textOf(const void *string);

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

// Connects, with the sender's own class.
int32_t connectTo(void *sender, const char *signal, void *receiver, ztSlotFunction function,
                  uint32_t argumentCount = 1);

bool isConnected(const void *sender, const char *signal, const void *receiver, ztSlotFunction function);

// A function where a property or slot takes one of several forms.
ztGetter getterOf(int32_t (*function)(const void *));
ztSetter setterOf(void (*function)(void *, int32_t));
inline constexpr ztGetter noGetter = {nullptr};
inline constexpr ztSetter noSetter = {nullptr};

// Makes the property types that the library does not by itself known to declarations.
void registerAllPropertyTypes();

#endif
