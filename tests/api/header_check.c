/* The public header must compile as plain C with its layout checks. */
#include "KelvoCalibrate.h"

int kvx_header_check(void) {
  CalibrationRecord record;
  record.inputUnit = CalibUnitNanometers;
  return (int)sizeof(record) + (int)NqeSuccess;
}
