#include "objects/ztchange.hh"

#include "containers/ztwalk.hh"
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

static const ztSignal *findChange(const ztObject *object, const void *property) {
  const char *name = nameOf(object, property);
  if (name == nullptr || object->signals == nullptr) return nullptr;
  for (const ztMapItem *item : itemsOf(object->signals)) {
    const auto *signal = static_cast<const ztSignal *>(item->value);
    const char *told = propertyOfChange(textOf(signal->name));
    if (told != nullptr && strcmp(told, name) == 0) return signal;
  }
  return nullptr;
}

void ztcore::notifyBoth(void *object, const ztSignal *ofAny, const void *property, const ObjectWatch &owner,
                        const EmittedValue &value) {
  emitFound(object, ofAny, value);
  if (!owner.isAlive()) return;
  const ztSignal *ofOne = findChange(static_cast<const ztObject *>(object), property);
  if (ofOne != nullptr) emitFound(object, ofOne, value);
}
