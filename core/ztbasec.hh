// The class identity that a file holds before the data of an object.
#ifndef ZT_CORE_ZTBASEC_HH
#define ZT_CORE_ZTBASEC_HH

#include "core/ztbasec.h"
#include "core/ztcopy.hh"

namespace ztcore {

// Two methods of the root class. A comparison with a slot tells whether a class overrides it.
void baseDestroy(void *object);
void baseUnRef(ztBaseClass &object);

// The bytes behind the text of the name have any value.
struct Identity {
  char name[100];
  int32_t version;
};

// The two steps of `classRead`: read an identity, make an object of its class. False and NULL on failure.
bool readIdentity(void *file, Identity *identity);
void *makeIdentified(const Identity &identity);

}  // namespace ztcore

#endif
