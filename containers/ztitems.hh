// How the items of the library are created, for comparison with what is in the slot of their class.
#ifndef ZT_CONTAINERS_ZTITEMS_HH
#define ZT_CONTAINERS_ZTITEMS_HH

#include <stdint.h>

namespace ztcore {

int32_t containerItemCreate(void *item);
int32_t listItemCreate(void *item);
int32_t avlTreeItemCreate(void *item);
int32_t mapItemCreate(void *item);
int32_t hashTableItemCreate(void *item);

}  // namespace ztcore

#endif
