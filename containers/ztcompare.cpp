#include "containers/ztcompare.hh"

#include "containers/ztarrays.h"
#include "containers/ztlists.h"
#include "containers/ztqueues.h"
#include "containers/ztstacks.h"
#include "io/ztstring.h"
#include "objects/ztobject.h"

using namespace ztcore;

static const ztCompareFunc plainFunctions[] = {
    ztIntArray_compare_func,      ztIntArray_compare_func_ptr,   ztIntList_compare_func,
    ztIntList_compare_func_ptr,   ztPtrArray_compare_func,       ztPtrArray_compare_func_ptr,
    ztPtrList_compare_func,       ztPtrList_compare_func_ptr,    ztPtrQueue_compare_func,
    ztPtrQueue_compare_func_ptr,  ztPtrStack_compare_func,       ztPtrStack_compare_func_ptr,
    ztFloatArray_compare_func,    ztFloatArray_compare_func_ptr, ztCharArray_compare_func,
    ztCharArray_compare_func_ptr,
};

static const ztCompareFunc otherFunctions[] = {
    ztStringArray_compare_func,    ztStringArray_compare_func_ptr, ztStringList_compare_func,
    ztStringList_compare_func_ptr, ztObject_propertiesSortFunc,
};

template <size_t count>
static bool isOneOf(const ztCompareFunc (&functions)[count], ztCompareFunc compare) {
  for (const ztCompareFunc function : functions) {
    if (compare == function) return true;
  }
  return false;
}

bool ztcore::isPlainCompare(ztCompareFunc compare) {
  return isOneOf(plainFunctions, compare);
}

bool ztcore::isOwnCompare(ztCompareFunc compare) {
  return isPlainCompare(compare) || isOneOf(otherFunctions, compare);
}
