/* Defines a class whose fill functions bear the names given on the command line. */
#include "core/ztbasec.h"

#define Lamp_FIELDS ztBaseClass_FIELDS
#define Lamp_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Lamp)

static void FILL_METHODS(LampMethods *lamp) {
  (void)lamp;
}

static void FILL_FUNCTIONS(ztClassFunctions *lamp) {
  (void)lamp;
}

ZT_DEFINE_CLASS_FULL(Lamp, ztBaseClass, FILL_METHODS, 1, ztClassFunctions, FILL_FUNCTIONS)
