// The classes in use whose descriptions have texts. All with engineLock held.
#ifndef ZT_CORE_ZTDESCRIBED_HH
#define ZT_CORE_ZTDESCRIBED_HH

#include "core/ztclass.h"

namespace ztcore {

// Keeps the description of a class that is filled now, if it has texts.
void keepDescription(const ztClassDescription *description);

// The description of a class; NULL for a class without texts.
const ztClassDescription *descriptionOf(const ztClass *klass);

// Forgets the description of a class whose code is about to be unloaded.
void forgetDescription(const ztClassDescription *description);

}  // namespace ztcore

#endif
