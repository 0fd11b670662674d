/**
 * @file ztbaseview.h
 * ztBaseView, the base class of a host's views.
 */
#ifndef ZT_OBJECTS_ZTBASEVIEW_H
#define ZT_OBJECTS_ZTBASEVIEW_H

#include "objects/ztobject.h"

/** ztBaseView adds no fields. */
#define ztBaseView_FIELDS ztObject_FIELDS

/** ztBaseView adds no methods. */
#define ztBaseView_METHODS ztObject_METHODS

/** The base of views. */
ZT_DECLARE_CLASS(ztBaseView)

#endif
