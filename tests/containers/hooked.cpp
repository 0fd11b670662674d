#include "tests/containers/hooked.hh"

#include "containers/ztlists.h"
#include "core/ztmem.h"
#include "io/ztfile.h"

#include <gtest/gtest.h>

int hookedLive;
const void *hookedSlot;

static std::function<void()> hooked;
static Event hookedEvent;
static int othersBefore;
static bool called;
static int quiet;

Quiet::Quiet() {
  ++quiet;
}

Quiet::~Quiet() {
  --quiet;
}

Hook::Hook(Event event, std::function<void()> function, int others) {
  hooked = std::move(function);
  hookedEvent = event;
  othersBefore = others;
  called = false;
}

Hook::~Hook() {
  hooked = nullptr;
}

bool Hook::isCalled() {
  return called;
}

static void raise(Event event, const void *slot = nullptr) {
  if (hooked == nullptr || called || quiet > 0 || event != hookedEvent || othersBefore-- > 0) return;
  called = true;
  hookedSlot = slot;
  hooked();
}

static int32_t *newOwned(int32_t value) {
  auto *owned = static_cast<int32_t *>(ztm_alloc(sizeof(int32_t)));
  *owned = value;
  return owned;
}

static int32_t hookedCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  raise(Event::create, object);
  auto *made = static_cast<Hooked *>(object);
  made->value = 0;
  made->owned = newOwned(0);
  ++hookedLive;
  return 1;
}

static void *hookedClone(const void *object, void *target) {
  const int32_t value = static_cast<const Hooked *>(object)->value;
  raise(Event::clone, target);
  auto *copy = static_cast<Hooked *>(target);
  copy->klass = HookedClass_Instance();
  copy->value = value;
  copy->owned = newOwned(value);
  ++hookedLive;
  return copy;
}

static int32_t hookedAssign(void *object, const void *other) {
  auto *target = static_cast<Hooked *>(object);
  const int32_t value = static_cast<const Hooked *>(other)->value;
  ztm_free(target->owned);
  target->owned = nullptr;
  raise(Event::assign, object);
  target->value = value;
  target->owned = newOwned(value);
  return 1;
}

static int32_t hookedRead(void *object, void *file) {
  auto *target = static_cast<Hooked *>(object);
  if (!ztFile_of(file)->readInt(file, &target->value)) return 0;
  raise(Event::read, object);
  *target->owned = target->value;
  return 1;
}

static int32_t hookedWrite(const void *object, void *file) {
  return ztFile_of(file)->writeInt(file, static_cast<const Hooked *>(object)->value);
}

static void hookedDestroy(void *object) {
  auto *ended = static_cast<Hooked *>(object);
  raise(Event::destroy, object);
  ztm_free(ended->owned);
  ended->owned = nullptr;
  --hookedLive;
}

static void hookedMethods(HookedMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, hookedCreate);
  ZT_OVERRIDE_METHOD(methods, clone, hookedClone);
  ZT_OVERRIDE_METHOD(methods, assign, hookedAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, hookedDestroy);
  ZT_OVERRIDE_METHOD(methods, read, hookedRead);
  ZT_OVERRIDE_METHOD(methods, write, hookedWrite);
}

ZT_DEFINE_CLASS(Hooked, ztBaseClass, hookedMethods)

namespace {

// Has the class registered, which takes blocks, ahead of every test that counts them.
class HookedClass : public testing::Environment {
 public:
  void SetUp() override {
    ztm_free(Hooked_newop());
  }
};

[[maybe_unused]] const auto *const hookedClass = testing::AddGlobalTestEnvironment(new HookedClass);

}  // namespace

Hooked *newHooked(int32_t value) {
  const Quiet making;
  auto *object = static_cast<Hooked *>(Hooked_ctor(nullptr, 1));
  object->value = value;
  *object->owned = value;
  return object;
}

int32_t compareHooked(const void *first, const void *second) {
  const int32_t one = static_cast<const Hooked *>(first)->value;
  const int32_t other = static_cast<const Hooked *>(second)->value;
  raise(Event::compare);
  return ztIntList_compare_func(&one, &other);
}

bool isWhole(const void *object) {
  const auto *hookedObject = static_cast<const Hooked *>(object);
  return hookedObject->klass == HookedClass_Instance() && hookedObject->owned != nullptr &&
         *hookedObject->owned == hookedObject->value;
}
