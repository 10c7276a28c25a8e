/* Recognise the module, create one object of each mode, copy the automatic
 * one into the manual one and destroy both. */
#include <string.h>

#include "KelvoCalibrate.h"

int example_frame(void) {
  char name[12];
  KvxULong count = 0, typeCode = 0, secondCode = 0, a, b, c, d;
  CalibHandle manual = 0, automatic = 0;
  int ok;

  if (GetDeviceCount(&count) != NqeSuccess ||
      GetDeviceID(name, &typeCode, &secondCode, 0) != NqeSuccess ||
      strcmp(name, "Calibration") != 0 || typeCode != kCalibTypeTag)
    return 1;
  if (CalibVerOfDLL(0, &a, &b, &c, &d) != NqeNotSupported) /* no version */
    return 1;

  if (CalibCreate(CalibModeManual, &manual) != NqeSuccess) return 1;
  if (CalibCreate(CalibModeAutomatic, &automatic) != NqeSuccess) {
    CalibDestroy(manual);
    return 1;
  }
  /* Target first, source second: manual now holds a copy of the active
   * detector and calibration of automatic, and a default model. */
  ok = CalibCopyCalibObject(manual, automatic) == NqeSuccess;
  ok = CalibDestroy(automatic) == NqeSuccess && ok;
  ok = CalibDestroy(manual) == NqeSuccess && ok;
  return ok ? 0 : 1;
}
