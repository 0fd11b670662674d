#include "objects/ztstatics.hh"

#include "containers/ztwalk.hh"
#include "core/ztbasec.hh"
#include "core/ztlock.hh"
#include "core/ztmem.hh"
#include "core/ztoop.hh"
#include "core/ztrelease.hh"
#include "objects/ztobjbase.hh"
#include "objects/ztproperty.hh"
#include "objects/ztstrmap.hh"

using namespace ztcore;

namespace {

// A class with a map of static properties. Registered classes get a map, and so do their ancestors that are not
// registered; an ancestor's is released only with the library.
struct StaticMapOwner {
  ztClass *klass;
  bool complete;           // does not change any more: other threads may read the map without a lock
  ztPropertyMap *retired;  // a replaced map that other threads may read; NULL for the current map
  StaticMapOwner *next;
};

}  // namespace

static StaticMapOwner *staticMapOwners;

// The number of maps that are being built. Until it is 0, other threads wait for the lock to read any map.
static uint32_t mapsBeingBuilt;

static ztPropertyMap *publishedMap(const ztClass *klass) {
  return __atomic_load_n(&objectTableOf(klass)->staticProperties, __ATOMIC_ACQUIRE);
}

static void publishMap(const ztClass *klass, ztPropertyMap *map) {
  __atomic_store_n(&objectTableOf(klass)->staticProperties, map, __ATOMIC_RELEASE);
}

static ztPropertyMap *mapOf(const StaticMapOwner *owner) {
  return owner->retired != nullptr ? owner->retired : publishedMap(owner->klass);
}

// Removes an owner from the list and releases its map.
static void releaseOwner(StaticMapOwner **at) {
  StaticMapOwner *owner = *at;
  ztPropertyMap *map = mapOf(owner);
  *at = owner->next;
  if (owner->retired == nullptr) publishMap(owner->klass, nullptr);
  releasePart(map);
  ztm_free(owner);
}

static void releaseStaticMaps(ztClass *klass) {
  const Locked locked(engineLock, Locked::hostsCode);
  StaticMapOwner **at = &staticMapOwners;
  while (*at != nullptr) {
    if ((*at)->klass == klass) {
      releaseOwner(at);
    } else {
      at = &(*at)->next;
    }
  }
}

// The list position of a class's current map; the end of the list when it has none.
static StaticMapOwner **ownerOf(const ztClass *klass) {
  StaticMapOwner **at = &staticMapOwners;
  while (*at != nullptr && ((*at)->klass != klass || (*at)->retired != nullptr)) at = &(*at)->next;
  return at;
}

void ztcore::releaseStaticProperties() {
  const Locked locked(engineLock, Locked::hostsCode);
  while (staticMapOwners != nullptr) releaseOwner(&staticMapOwners);
}

static void buildStaticMap(ztClass *klass);

static bool hasTypeWithin(const ztPropertyMap *map, const ztClass *klass) {
  for (const ztMapItem *item : itemsOf(map)) {
    if (isWithin(static_cast<const ztProperty *>(item->value)->type, klass)) return true;
  }
  return false;
}

void ztcore::forgetStaticProperties(const ztClass *klass) {
  StaticMapOwner *owner = staticMapOwners;
  while (owner != nullptr) {
    if (isWithin(owner->klass, klass) || hasTypeWithin(mapOf(owner), klass)) {
      releaseStaticMaps(owner->klass);
      owner = staticMapOwners;
    } else {
      owner = owner->next;
    }
  }
}

// Keeps the old map, because other threads may be reading it.
static void retireMap(ztClass *klass) {
  StaticMapOwner *owner = *ownerOf(klass);
  if (owner == nullptr) return;
  if (__libc_single_threaded) {
    releaseStaticMaps(klass);
  } else {
    owner->retired = publishedMap(klass);
  }
}

// Replaces the map of a class and takes ownership of the new one.
static bool giveMap(ztClass *klass, ztPropertyMap *map, bool complete) {
  auto *owner = static_cast<StaticMapOwner *>(hidden(ztm_alloc(sizeof(StaticMapOwner))));
  if (owner == nullptr || map == nullptr) {
    ztm_free(owner);
    releasePart(map);
    return false;
  }
  retireMap(klass);
  *owner = {klass, complete, nullptr, staticMapOwners};
  staticMapOwners = owner;
  publishMap(klass, map);
  return true;
}

static void inheritProperties(ztPropertyMap *map, const ztPropertyMap *ancestors) {
  const ztPropertyMapMethods *operations = ztPropertyMap_of(map);
  for (const ztMapItem *item : itemsOf(ancestors)) {
    const auto *property = static_cast<const ztProperty *>(item->value);
    if (insertProperty(map, static_cast<const ztString *>(item->data), property) != nullptr) continue;
    if (operations->find(map, item->data) == nullptr) ++lostDeclarations;
  }
}

// Builds a missing map of an ancestor with all its own ancestors' properties. So its properties get the same
// indices as if an object of the ancestor had been made before.
static void fillStaticMap(ztClass *klass) {
  for (ztClass *ancestor = klass->parent; ztOOP_isClassOfClass(ancestor, "ztObject");
       ancestor = ancestor->parent) {
    if (publishedMap(ancestor) == nullptr) buildStaticMap(ancestor);
    const ztPropertyMap *inherited = publishedMap(ancestor);
    if (inherited != nullptr) inheritProperties(publishedMap(klass), inherited);
  }
  if (objectTableOf(klass)->initProperties != nullptr) objectTableOf(klass)->initProperties(klass);
}

static void completeMap(const ztClass *klass, bool lacksSomething) {
  StaticMapOwner **owner = ownerOf(klass);
  if (*owner == nullptr) return;
  (*owner)->complete = true;
  if (lacksSomething) releaseOwner(owner);
}

// The map is published first, because `initProperties` looks it up. An incomplete map is removed at the end and
// built again on its next use.
static void buildStaticMap(ztClass *klass) {
  const Locked locked(engineLock, Locked::hostsCode);
  const uint32_t lostBefore = lostDeclarations;
  __atomic_add_fetch(&mapsBeingBuilt, 1, __ATOMIC_RELAXED);
  if (giveMap(klass, hidden(newObject<ztPropertyMap>(ztPropertyMap_ctor)), false)) {
    fillStaticMap(klass);
    completeMap(klass, lostDeclarations != lostBefore);
  } else {
    ++lostDeclarations;
  }
  __atomic_sub_fetch(&mapsBeingBuilt, 1, __ATOMIC_RELEASE);
}

// Out of line, because most maps are complete.
[[gnu::noinline]] static ztPropertyMap *completeMapOf(ztClass *klass) {
  const Locked locked(engineLock, Locked::hostsCode);
  if (publishedMap(klass) == nullptr) buildStaticMap(klass);
  return publishedMap(klass);
}

ztPropertyMap *ztcore::staticMapOf(ztClass *klass) {
  ztPropertyMap *map = publishedMap(klass);
  // In this order: the counter is incremented before an incomplete map is published.
  const bool isComplete = map != nullptr && __atomic_load_n(&mapsBeingBuilt, __ATOMIC_ACQUIRE) == 0;
  return isComplete ? map : completeMapOf(klass);
}

static void objectClassInstanceCreate(ztClass *klass) {
  if (klass != nullptr) buildStaticMap(klass);
}

// Declaring ---------------------------------------------------------------------------------------

// Adds a property to a class's map, or to a copy of it if other threads may be reading the map.
static bool insertStatic(ztClass *klass, ztPropertyMap *map, const CopyableText &name,
                         const ztProperty &property) {
  const StaticMapOwner *owner = *ownerOf(klass);
  if (__libc_single_threaded || owner == nullptr || !owner->complete) {
    return insertProperty(map, name.get(), &property) != nullptr;
  }
  auto *copy = static_cast<ztPropertyMap *>(copyObject(map));
  if (copy == nullptr || insertProperty(copy, name.get(), &property) != nullptr)
    return giveMap(klass, copy, true);
  releasePart(copy);
  return false;
}

static int32_t objectAddProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                                 ztSetter setter, void *userWord, const char *signalName) {
  if (klass == nullptr || name == nullptr) return 0;
  const Locked locked(engineLock, Locked::hostsCode);
  // Must be first: the first declaration of all registers the string class before the types.
  const CopyableText key(name);
  ztPropertyMap *map = staticMapOf(klass);
  ztClass *type = propertyTypeOf(typeName);
  if (map == nullptr) ++lostDeclarations;
  if (map == nullptr || type == nullptr || findByName(map, ztPropertyMap_compare_func, name) != nullptr)
    return 0;

  ztProperty property;
  bool complete = beginProperty(&property, name, type, sizeOfMap(map), klass->name);
  property.getter = getter;
  property.setter = setter;
  property.userWord = userWord;
  if (complete && signalName != nullptr) {
    complete = ztString_of(property.signalName)->set(property.signalName, signalName) != nullptr;
  }
  const bool added = complete && insertStatic(klass, map, key, property);
  if (!added) ++lostDeclarations;
  ztProperty_of(&property)->destroy(&property);
  return added;
}

int32_t ztcore::declareProperty(ztClass *klass, const char *name, const char *typeName, ztGetter getter,
                                ztSetter setter, const char *typeClassName, ztCtor typeCtor) {
  const Locked locked(engineLock, Locked::hostsCode);
  const ztObjectMethods *methods = objectTableOf(klass);
  const int32_t added = methods->addProperty(klass, name, typeName, getter, setter, nullptr, nullptr);
  if (added) return added;
  ensureRegistered(typeClassName, typeCtor);
  if (!ztOOP_isClassRegistered(typeClassName)) ++lostDeclarations;
  ztProperty_functions()->registerNewType(nullptr, typeClassName);
  return methods->addProperty(klass, name, typeName, getter, setter, nullptr, nullptr);
}

static int32_t objectInitProperties(ztClass *klass) {
  if (klass == nullptr) return 0;
  ztGetter getter;
  getter.getInt = objectTableOf(klass)->getRefCount;
  ztSetter setter;
  setter.setInt = nullptr;
  return declareProperty(klass, "refCount", "ztInt", getter, setter, "ztIntPropertyType",
                         ztIntPropertyType_ctor);
}

void ztcore::overrideStaticProperties(ztObjectMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, classInstanceCreate, objectClassInstanceCreate);
  ZT_OVERRIDE_METHOD(methods, classInstanceDestroy, releaseStaticMaps);
  ZT_OVERRIDE_METHOD(methods, addProperty, objectAddProperty);
  ZT_OVERRIDE_METHOD(methods, initProperties, objectInitProperties);
}
