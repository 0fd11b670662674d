#include "objects/ztchange.hh"

#include "containers/ztwalk.hh"
#include "core/ztnamehash.hh"
#include "objects/ztstatics.hh"

#include <string.h>

using namespace ztcore;

// The name of a property that is in the map; NULL for any other address.
static const char *nameIn(const ztPropertyMap *properties, const void *property) {
  if (properties == nullptr) return nullptr;
  for (const ztMapItem *item : itemsOf(properties)) {
    if (item->value == property) return textOf(item->data);
  }
  return nullptr;
}

// By its address: slots may have ended the property. The lists are walked, because a search may call functions of a
// host, which could end what it finds.
static const char *nameOf(const ztObject *object, const void *property) {
  const char *name = nameIn(staticMapOf(object->klass), property);
  return name != nullptr ? name : nameIn(object->dynamicProperties, property);
}

namespace {

// A property, also after another one was made at its address.
struct Known {
  const ztClass *type;
  uint32_t name;  // its hash: the name itself may end with the property

  bool is(const Known &other) const {
    return type == other.type && name == other.name;
  }
};

}  // namespace

// A property that has a name lives.
static Known knownAs(const char *name, const void *property) {
  return {static_cast<const ztProperty *>(property)->type, hashOf(name)};
}

static const ztSignal *findChange(const ztObject *object, const char *name) {
  if (object->signals == nullptr) return nullptr;
  for (const ztMapItem *item : itemsOf(object->signals)) {
    const auto *signal = static_cast<const ztSignal *>(item->value);
    const char *told = propertyOfChange(textOf(signal->name));
    if (told != nullptr && strcmp(told, name) == 0) return signal;
  }
  return nullptr;
}

// The signal of a property that slots of the first signal may have ended.
static const ztSignal *findChange(const ztObject *object, const void *property, const Known &before) {
  const char *name = nameOf(object, property);
  return name != nullptr && before.is(knownAs(name, property)) ? findChange(object, name) : nullptr;
}

void ztcore::notifyBoth(void *object, const ztSignal *ofAny, const void *property, const ObjectWatch &owner,
                        const EmittedValue &value) {
  const auto *owned = static_cast<const ztObject *>(object);
  const char *name = nameOf(owned, property);
  const Known before = name == nullptr ? Known{nullptr, 0} : knownAs(name, property);
  emitFound(object, ofAny, value);
  if (!owner.isAlive()) return;
  const ztSignal *ofOne = findChange(owned, property, before);
  if (ofOne != nullptr) emitFound(object, ofOne, value);
}
