// What an object is in a file: the identity of its class, which stands ahead of its data.
#ifndef ZT_CORE_ZTBASEC_HH
#define ZT_CORE_ZTBASEC_HH

#include "core/ztbasec.h"
#include "core/ztcopy.hh"

namespace ztcore {

// Methods of the root class, to tell whether a class has others.
void baseDestroy(void *object);
void baseUnRef(ztBaseClass &object);

// The identity of a class as a file holds it. Behind the text of the name there may be anything.
struct Identity {
  char name[100];
  int32_t version;
};

// The two halves of `classRead`: what a file says, and a new object of the class that it names. False, and
// NULL, on failure.
bool readIdentity(void *file, Identity *identity);
void *makeIdentified(const Identity &identity);

}  // namespace ztcore

#endif
