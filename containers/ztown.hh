// Whether the functions that a step calls through method tables are the library's own. A host may put functions into
// the table of any class. Where it has not, several steps can be taken at once, and nobody sees the difference.
//
// Each function stands in the module whose methods it compares with. `klass` is a class below that one, in whose
// table the methods are looked up.
#ifndef ZT_CONTAINERS_ZTOWN_HH
#define ZT_CONTAINERS_ZTOWN_HH

#include "containers/ztarrays.h"
#include "containers/ztmap.h"
#include "core/ztbasec.hh"
#include "core/ztcalls.hh"
#include "core/ztmethod.hh"

namespace ztcore {

// What `create`, `clone` and `destroy` of the abstract classes do, and call.
bool createsOwnContainers();
bool clonesOwnContainers();
bool destroysOwnContainers();
bool createsOwnSequences();
bool destroysOwnSequences();
bool createsOwnAssociations();
bool destroysOwnAssociations();

// The settings that a `create` calls.
bool hasOwnManagerSetting(const ztClass *klass);
bool hasOwnCompareSetting(const ztClass *klass);
bool hasOwnDuplicateSetting(const ztClass *klass);
bool hasOwnElementSetting(const ztClass *klass);
bool hasOwnItemSetting(const ztClass *klass);
bool hasOwnAssociationSettings(const ztClass *klass);

// Arrays.
bool createsOwnArrays();
bool hasOwnArraySettings(const ztClass *klass);
bool clonesOwnArrays(const ztClass *klass);
bool destroysOwnArrays(const ztClass *klass);
bool hasOwnSizes(const ztClass *klass);  // the methods that size and read the block

// Trees.
bool createsOwnTrees();
bool destroysOwnTrees();
bool pushesOwnItems();
bool popsOwnItems();

// Maps. Their trees are asked about separately.
bool createsOwnMaps();
bool hasOwnMapSettings(const ztClass *klass);
bool hasOwnRelease(const ztClass *klass);
bool allowsOwnDuplicates(const ztClass *klass);
bool insertsOwnPairs(const ztClass *klass);
bool popsOwnPairs(const ztClass *klass);
bool hasOwnSearch(const ztClass *klass);

// Whether `findValue` of a map that is not empty searches its tree.
bool findsByTree(const ztMap &map);

// Iterators over maps: what making one, a walk forwards and ending it call.
bool walksOwnTrees(const ztClass *klass);
bool walksOwnMaps();

// Whether a class releases its objects by the `unRef` of the root class, and destroys them by this function.
inline bool releasesBy(const ztClass *klass, void (*destroy)(void *)) {
  const auto *methods = static_cast<const ztBaseClassMethods *>(klass->methodTable);
  return methods->destroy == destroy && methods->unRef == method<baseUnRef>;
}

// Whether the next release of an object of exactly this class ends it. One that is being released already is ended by
// that release.
inline bool endsByRelease(const void *object, const ztClass *klass) {
  return ztOOP_classOf(object) == klass && static_cast<const ztBaseClass *>(object)->refCount <= 2 &&
         !mayBeSubject(object);
}

}  // namespace ztcore

#endif
