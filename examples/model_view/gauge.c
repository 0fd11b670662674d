#include "gauge.h"

#include <stdio.h>

/* A slot without arguments: any property may have changed, so it asks the sender. */
static void gaugeUpdate(void *object) {
  void *boiler = Gauge_of(object)->getSender(object);
  double temperature = 0;
  int32_t burning = 0;
  Boiler_of(boiler)->getProperty(boiler, "temperature", "ztFloat", &temperature);
  Boiler_of(boiler)->getProperty(boiler, "burning", "ztBool", &burning);
  int length = (int)(temperature / 5);
  if (length > 20) length = 20;
  printf("gauge  [%.*s%*s] %5.1f C, burner %s\n", length, "####################", 20 - length, "",
         temperature, burning ? "on" : "off");
}

static int32_t gaugeFollow(void *object, void *boiler) {
  const ztSlotFunction update = {.call0 = gaugeUpdate};
  Boiler *model = boiler;
  return Boiler_of(model)->connect(model->klass, model, "prop->signalname", object, "update", update, 0);
}

static void gaugeMethods(GaugeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, follow, gaugeFollow);
}

ZT_DEFINE_CLASS(Gauge, ztBaseView, gaugeMethods)
