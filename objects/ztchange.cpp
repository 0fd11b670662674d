#include "objects/ztchange.hh"

#include "containers/ztuse.hh"
#include "containers/ztwalk.hh"
#include "objects/ztvalues.h"

using namespace ztcore;

// Whether a signal is that of this property. The address of an ended property is no property's, or that of another.
static bool isChangeOf(const ztSignal *signal, void *object, const void *property) {
  const char *name = propertyOfChange(textOf(signal->name));
  return name != nullptr && ztObject_findProperty(object, name) == property;
}

// Looking a property up may call functions of a host, which may change the map. Then it begins again.
static const ztSignal *findChange(void *object, const void *property) {
  const ztSignalMap *signals = static_cast<ztObject *>(object)->signals;
  if (signals == nullptr || isEmptyMap(signals)) return nullptr;
  ContainerUse use(signals->tree);
  do {
    use.startAfresh();
    for (const ztMapItem *item : itemsOf(signals)) {
      const auto *signal = static_cast<const ztSignal *>(item->value);
      const bool found = isChangeOf(signal, object, property);
      if (use.ended()) return nullptr;
      if (use.changed()) break;
      if (found) return signal;
    }
  } while (use.changed());
  return nullptr;
}

void ztcore::notifyBoth(void *object, const ztSignal *ofAny, const void *property, const ObjectWatch &owner,
                        const EmittedValue &value) {
  emitFound(object, ofAny, value);
  if (!owner.isAlive()) return;
  const ztSignal *ofOne = findChange(object, property);
  if (ofOne != nullptr) emitFound(object, ofOne, value);
}
