// Whether the functions that a step calls through the tables are the library's own. A host may put functions into
// the table of any class. Where it has not, several steps can be taken at once, and nobody sees the difference.
#ifndef ZT_CONTAINERS_ZTOWN_HH
#define ZT_CONTAINERS_ZTOWN_HH

#include "containers/ztarrays.h"
#include "containers/ztmap.h"
#include "core/ztbasec.hh"
#include "core/ztmethod.hh"

namespace ztcore {

// `create` and `destroy` of the abstract classes, as their subclasses call them.
bool createsOwnContainers();
bool clonesOwnContainers();
bool destroysOwnContainers();
bool createsOwnSequences();
bool destroysOwnSequences();
bool createsOwnAssociations();
bool destroysOwnAssociations();

// The settings in the table of a class, as `create` calls them.
bool hasOwnManagerSetting(const ztClass *klass);
bool hasOwnCompareSetting(const ztClass *klass);
bool hasOwnDuplicateSetting(const ztClass *klass);
bool hasOwnElementSetting(const ztClass *klass);
bool hasOwnItemSetting(const ztClass *klass);
bool hasOwnAssociationSettings(const ztClass *klass);

// `create` and `destroy` of arrays, trees and maps. A map creates and destroys its tree.
bool createsOwnArrays();
bool hasOwnArraySettings(const ztClass *klass);
bool clonesOwnArrays(const ztClass *klass);
bool destroysOwnArrays(const ztClass *klass);
bool createsOwnTrees();
bool destroysOwnTrees();
bool createsOwnMaps();
bool hasOwnMapSettings(const ztClass *klass);
bool destroysOwnMaps();
bool hasOwnRelease(const ztClass *klass);
bool allowsOwnDuplicates(const ztClass *klass);
bool insertsOwnPairs(const ztClass *klass);
bool pushesOwnItems();
bool popsOwnPairs(const ztClass *klass);
bool popsOwnItems();

// Whether the block of an array of this class is sized and read by the library.
bool hasOwnSizes(const ztClass *klass);

// Whether `findValue` of a class of maps is the library's, and whether a map, which is not empty, finds a value by
// the library's search of its tree.
bool hasOwnSearch(const ztClass *klass);
bool findsByTree(const ztMap &map);

// Whether the next release of an object ends it, by the `unRef` of the root class.
inline bool endsByRelease(const void *object) {
  return static_cast<const ztBaseClass *>(object)->refCount <= 2 &&
         ztBaseClass_of(object)->unRef == method<baseUnRef>;
}

}  // namespace ztcore

#endif
