/**
 * @file zentova.h
 * The whole library: includes every public header.
 */
#ifndef ZT_ZENTOVA_H
#define ZT_ZENTOVA_H

#include "containers/ztacont.h"
#include "containers/ztarray.h"
#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/ztavltitem.h"
#include "containers/ztavltree.h"
#include "containers/ztcitem.h"
#include "containers/ztcont.h"
#include "containers/ztdeque.h"
#include "containers/zthashtab.h"
#include "containers/zthashtitem.h"
#include "containers/ztiter.h"
#include "containers/ztlist.h"
#include "containers/ztlistitem.h"
#include "containers/ztlists.h"
#include "containers/ztmap.h"
#include "containers/ztmapitem.h"
#include "containers/ztmapiter.h"
#include "containers/ztqueue.h"
#include "containers/ztqueues.h"
#include "containers/ztscont.h"
#include "containers/ztstack.h"
#include "containers/ztstacks.h"
#include "core/ztbasec.h"
#include "core/ztcore.h"
#include "core/ztlogctrl.h"
#include "core/ztmem.h"
#include "core/ztoop.h"
#include "io/ztfile.h"
#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "objects/ztobject.h"
#include "objects/ztproperty.h"
#include "objects/ztproptype.h"
#include "objects/ztsignal.h"
#include "objects/ztslot.h"
#include "support/ztalloc.h"
#include "support/ztcutils.h"
#include "support/ztdirman.h"
#include "support/ztstdalloc.h"

#endif
