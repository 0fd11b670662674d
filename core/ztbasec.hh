// The class identity that a file holds before the data of an object.
#ifndef ZT_CORE_ZTBASEC_HH
#define ZT_CORE_ZTBASEC_HH

#include "core/ztbasec.h"
#include "core/ztcopy.hh"

namespace ztcore {

// Methods of the root class. A comparison with a slot tells whether a class overrides it.
int32_t baseCreate(ztBaseClass &object);
void *baseClone(const ztBaseClass &object, void *target);
void baseDestroy(void *object);
void baseUnRef(ztBaseClass &object);

// Some kinds of objects often end without a function of a host. `end` destroys an object whose class has this
// `destroy`, and frees it; or it returns false if a function of a host would run. No record of the release is made
// before.
enum class PlainEnd { objects, strings, slots, signals };
void endPlainly(PlainEnd kind, void (*destroy)(void *object), bool (*end)(void *object));

// The bytes behind the text of the name have any value.
struct Identity {
  char name[100];
  int32_t version;
};

bool readIdentity(void *file, Identity *identity);

}  // namespace ztcore

#endif
