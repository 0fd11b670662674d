// Which tag an attribute belongs to, until either is destroyed.
#ifndef ZT_TAGS_ZTTAGOWNER_HH
#define ZT_TAGS_ZTTAGOWNER_HH

#include "tags/zttag.h"

namespace ztcore {

// An attribute is held as long as it is in its tag's array, so a host can remove it and give it to another tag.
bool isHeldAttribute(const ztTagAttribute *attribute);

// Makes the tag hold an attribute in its array. The attribute still tells its previous owner, if any, of
// changes. False when memory is exhausted.
bool enlist(ztTagAttribute *attribute, const ztTag *tag);

// Undoes `enlist`.
void withdraw(ztTagAttribute *attribute);

// Makes the tag the attribute's owner and holder, and stores the tag's address, because an array moves the tags
// in it. False when memory is exhausted; the attribute's `owner` is set all the same.
bool holdAttribute(ztTagAttribute *attribute, const ztTag *tag);

// Clears the attribute's owner.
void letGo(ztTagAttribute *attribute);

// Gives a copy its source's owner, which does not hold it. False when memory is exhausted.
bool shareOwner(ztTagAttribute *copy, const ztTagAttribute *source);

// The owner to be told of a change; NULL when there is none or it was destroyed.
void *livingOwner(const ztTagAttribute *attribute);

// Clears the owner of an attribute whose owner was destroyed.
void forgetDeadOwner(ztTagAttribute *attribute);

// Sets the attribute's places in its tag's array to NULL. The others do not move, so their handles stay valid.
void leaveArray(const ztTagAttribute *attribute);

// Clears the owner of all attributes of the tag, also of those removed from its array, and of copies. The array
// is the tag's, or was until now.
void ownerDestroyed(const ztTag *tag, const ztPtrArray *attributes);

}  // namespace ztcore

#endif
