#include "tests/containers/pairs.hh"

#include "containers/ztacont.h"
#include "containers/ztarrays.h"
#include "tests/helpers/faults.hh"

std::string pairPolicyName(const ::testing::TestParamInfo<PairPolicy> &test) {
  return policyName(std::get<0>(test.param)) + "_" + policyName(std::get<1>(test.param));
}

static int32_t sizeOf(Policy policy) {
  return policy == Policy::byValue ? int32_t{sizeof(int32_t)} : int32_t{sizeof(void *)};
}

void configurePairs(void *container, const PairPolicy &policy) {
  const auto &[keys, values] = policy;
  const auto *methods = ztAssociativeContainer_of(container);
  const bool objects = keys == Policy::constructed;
  methods->setKeySize(container, sizeOf(keys), keys == Policy::byPointer);
  methods->setKeyConstructor(container, objects ? Counted_ctor : nullptr);
  methods->setCompareFunction(container, objects ? compareCounted : ztIntArray_compare_func);
  methods->setValueSize(container, sizeOf(values), values == Policy::byPointer);
  methods->setValueConstructor(container, values == Policy::constructed ? Counted_ctor : nullptr);
}

int32_t objectsPerPair(const PairPolicy &policy) {
  const auto &[keys, values] = policy;
  return (keys == Policy::constructed ? 1 : 0) + (values == Policy::constructed ? 1 : 0);
}

void expectCopyToNeedMemory(const void *container, int32_t allocations) {
  const LiveCount live;
  const ztClass *klass = ztOOP_classOf(container);
  for (int32_t fault = 0;; ++fault) {
    void *target = static_cast<const ztClassFunctions *>(klass->classTable)->newop();
    const Fault injected(fault);
    void *copy = ztBaseClass_of(container)->clone(container, target);
    if (!injected.end()) {
      ASSERT_EQ(copy, target);
      ztBaseClass_of(copy)->unRef(copy);
      EXPECT_GE(fault, allocations);
      break;
    }
    EXPECT_EQ(copy, nullptr) << fault;
    EXPECT_EQ(live.made(), 0) << fault;
    ztm_free(target);
  }
  EXPECT_EQ(live.made(), 0);
}
