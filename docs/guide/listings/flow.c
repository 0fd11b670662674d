#include "flow.h"

static int32_t flowCreate(void *object) {
  Flow *flow = object;
  const double none = 0;
  return ztTag_table()->create(flow) && /* the tag takes the series over */
         ztTag_table()->insertNew(flow, "litres", ztFloatTag_new(), &flow->litres, 0, 24, &none) &&
         ztTag_table()->insertNew(flow, "starts", ztIntTag_new(), &flow->starts, 0, 24, NULL);
}

static void flowMethods(FlowMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, flowCreate);
}

ZT_DEFINE_CLASS(Flow, ztTag, flowMethods)
