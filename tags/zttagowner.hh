// Which tag an attribute belongs to, and what becomes of that when either of the two ends.
#ifndef ZT_TAGS_ZTTAGOWNER_HH
#define ZT_TAGS_ZTTAGOWNER_HH

#include "tags/zttag.h"

namespace ztcore {

// An attribute that a tag holds lies in the tag's array. It is held as long as the array lists it, so that a
// host may take it out and give it to another tag.
bool isHeldAttribute(const ztTagAttribute *attribute);

// Makes the tag hold an attribute that its array lists, and whose owner it is not yet: the one before, if
// there is one, is still told of changes. False when memory is exhausted.
bool enlist(ztTagAttribute *attribute, const ztTag *tag);

// Undoes what enlist did.
void withdraw(ztTagAttribute *attribute);

// Makes the tag the owner that holds the attribute, and notes where the tag is now: an array moves the tags
// that lie in it. False when memory is exhausted; the attribute then names the tag all the same.
bool holdAttribute(ztTagAttribute *attribute, const ztTag *tag);

// Leaves the attribute without an owner.
void letGo(ztTagAttribute *attribute);

// Has a copy name its source's owner, without being held by it. False when memory is exhausted.
bool shareOwner(ztTagAttribute *copy, const ztTagAttribute *source);

// The owner that is to be told of a change; NULL when there is none, or none any more.
void *livingOwner(const ztTagAttribute *attribute);

// Leaves an attribute whose owner has ended without one.
void forgetDeadOwner(ztTagAttribute *attribute);

// Empties the places that an attribute has in the array of the tag that holds it. The others keep theirs, so
// that their handles stay valid.
void leaveArray(const ztTagAttribute *attribute);

// Tells the attributes that the tag is their owner no more, those that were taken out of its array and the
// copies that name it among them. The array is the tag's, or was until now.
void ownerDestroyed(const ztTag *tag, const ztPtrArray *attributes);

}  // namespace ztcore

#endif
