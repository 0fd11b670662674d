/**
 * @file zentova.h
 * The whole library: includes every public header.
 */
#ifndef ZT_ZENTOVA_H
#define ZT_ZENTOVA_H

#include "core/ztbasec.h"
#include "core/ztcore.h"
#include "core/ztlogctrl.h"
#include "core/ztmem.h"
#include "core/ztoop.h"
#include "io/ztfile.h"
#include "support/ztalloc.h"
#include "support/ztcutils.h"
#include "support/ztstdalloc.h"

#endif
