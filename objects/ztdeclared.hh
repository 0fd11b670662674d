// The declared signals of classes.
#ifndef ZT_OBJECTS_ZTDECLARED_HH
#define ZT_OBJECTS_ZTDECLARED_HH

#include "objects/ztdeclared.h"

namespace ztcore {

struct DeclaredSignal {
  ztClass *klass;       // that declares it
  const char *text;     // "levelChanged(int32_t level)", without space around it
  uint32_t nameLength;  // the text begins with the name
  uint32_t argumentCount;
};

// Calls visit(signal, context) for each declared signal of a class and its ancestors, those of the oldest ancestor
// first, each class's in the order of declaration. Of a class that is no ztObject class, for none. The engine is locked
// meanwhile. A text is valid until the declaring class is forgotten.
void visitDeclaredSignals(ztClass *klass, void (*visit)(const DeclaredSignal &signal, void *context),
                          void *context);

// Whether a class of a host declares signals. Until then, connections need no check.
extern bool hostsDeclareSignals;

// Logs that no class of an object declares a signal that is being connected to, where one should.
[[gnu::cold, gnu::noinline]] void checkDeclared(const void *sender, const char *signalName);

}  // namespace ztcore

#endif
