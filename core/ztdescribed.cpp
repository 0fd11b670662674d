#include "core/ztdescribed.hh"

using namespace ztcore;

// The newest first.
static const ztClassDescription *described;

const ztClassDescription *ztcore::descriptionOf(const ztClass *klass) {
  const ztClassDescription *description = described;
  while (description != nullptr && description->klass != klass) description = description->state->next;
  return description;
}

void ztcore::forgetDescription(const ztClassDescription *description) {
  const ztClassDescription **at = &described;
  while (*at != nullptr && *at != description) at = &(*at)->state->next;
  if (*at != nullptr) *at = description->state->next;
}

// Descriptions of form 0 end before the texts, and their states before the link.
void ztcore::keepDescription(const ztClassDescription *description) {
  if (description->form == 0) return;
  description->state->next = described;
  described = description;
}
