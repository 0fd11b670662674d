/* A class with so many slots: calls are checked through a table of a fixed length. */
#include "zentova.h"

#define Wide_FIELDS ztBaseClass_FIELDS
#define Wide_METHODS  \
  ztBaseClass_METHODS \
  void (*more[MORE])(void);
ZT_DECLARE_CLASS(Wide)
