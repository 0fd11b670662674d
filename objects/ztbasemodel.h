/**
 * @file ztbasemodel.h
 * ztBaseModel, the base class of a host's models.
 */
#ifndef ZT_OBJECTS_ZTBASEMODEL_H
#define ZT_OBJECTS_ZTBASEMODEL_H

#include "objects/ztobject.h"

/** ztBaseModel adds no fields. */
#define ztBaseModel_FIELDS ztObject_FIELDS

/** ztBaseModel adds no methods. */
#define ztBaseModel_METHODS ztObject_METHODS

/** The base of models. */
ZT_DECLARE_CLASS(ztBaseModel)

#endif
