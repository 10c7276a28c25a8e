// Single fields of an automatic object read and written by parameter ID, as
// a host's settings dialog does: the calibration's order and laser line,
// the unit and its label, the grating's groove density and the glue step.
#include <cstdio>

#include "KelvoCalibrate.h"
#include "demo_sections.h"

namespace demo {

namespace {

struct Named {
  KvxLong id;
  const char* name;
};

void PrintInt(CalibHandle h, Named p) {
  KvxLong value = 0;
  const KvxULong code = CalibGetIntParam(h, p.id, &value);
  std::printf("  %2ld %-28s %ld (code %lu)\n", static_cast<long>(p.id), p.name,
              static_cast<long>(value), static_cast<unsigned long>(code));
}

void PrintDouble(CalibHandle h, Named p) {
  double value = 0.0;
  const KvxULong code = CalibGetDoubleParam(h, p.id, &value);
  std::printf("  %2ld %-28s %g (code %lu)\n", static_cast<long>(p.id), p.name,
              value, static_cast<unsigned long>(code));
}

void PrintText(CalibHandle h, Named p) {
  char text[128] = {};
  const KvxULong code = CalibGetStrParam(h, p.id, text, sizeof text);
  std::printf("  %2ld %-28s \"%s\" (code %lu)\n", static_cast<long>(p.id),
              p.name, text, static_cast<unsigned long>(code));
}

}  // namespace

int Parameters() {
  CalibHandle h = 0;
  if (!Check(CalibCreate(CalibModeAutomatic, &h), "CalibCreate")) return 1;
  const Named automatic{CalibParamAutomatic, "CalibParamAutomatic"};
  const Named objectName{CalibParamObjectName, "CalibParamObjectName"};
  const Named order{CalibParamPolyOrder, "CalibParamPolyOrder"};
  const Named laser{CalibParamLaserLine, "CalibParamLaserLine"};
  const Named unit{CalibParamDisplayUnit, "CalibParamDisplayUnit"};
  const Named label{CalibParamUnitLabel, "CalibParamUnitLabel"};
  const Named grooves{CalibParamGrooveDensity, "CalibParamGrooveDensity"};
  const Named glue{CalibParamGlueStep, "CalibParamGlueStep"};

  std::printf("Parameters of a new automatic object:\n");
  PrintInt(h, automatic);
  PrintText(h, objectName);
  PrintInt(h, order);
  PrintDouble(h, laser);
  PrintInt(h, unit);
  PrintText(h, label);
  PrintDouble(h, grooves);
  PrintDouble(h, glue);

  int failures = 0;
  failures += !Check(CalibSetIntParam(h, order.id, 3), "set order");
  failures += !Check(CalibSetDoubleParam(h, laser.id, 532.0), "set laser");
  failures += !Check(CalibSetDoubleParam(h, grooves.id, 1200.0), "set grooves");
  failures += !Check(CalibSetDoubleParam(h, glue.id, 0.05), "set glue step");
  // The label is written before the unit changes, so it names the previous
  // unit until the unit is written a second time.
  failures += !Check(CalibSetIntParam(h, unit.id, CalibUnitRelativeWavenumbers),
                     "set unit");
  std::printf(
      "After setting order 3, laser 532 nm, 1200 grooves/mm, glue step "
      "0.05 and relative wavenumbers once:\n");
  PrintInt(h, order);
  PrintDouble(h, laser);
  PrintDouble(h, grooves);
  PrintDouble(h, glue);
  PrintInt(h, unit);
  PrintText(h, label);
  failures += !Check(CalibSetIntParam(h, unit.id, CalibUnitRelativeWavenumbers),
                     "set unit again");
  std::printf("After writing the unit a second time:\n");
  PrintText(h, label);
  std::printf("Integer write of a text ID: code %lu\n",
              static_cast<unsigned long>(
                  CalibSetIntParam(h, CalibParamDetectorName, 1)));
  CalibDestroy(h);
  return failures;
}

}  // namespace demo
