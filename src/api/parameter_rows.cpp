#include "api/parameter_rows.h"

#include "api/calib_object.h"
#include "calibration/units.h"
#include "optimise/disp_params.h"
#include "spectrograph/spec_opt.h"
#include "spectrograph/spectrograph_model.h"
#include "spectrograph/target_slots.h"

namespace kvx {

namespace {

// The rows below run after the family's model check where the table marks
// them; they still check the model themselves so that no row can reach a
// missing one.
SpectrographModel* ModelOf(CalibObject& object) { return object.Model(); }

}  // namespace

NqeErrorCode AcceptAndIgnore(CalibObject&, int32_t) { return NqeSuccess; }
NqeErrorCode AcceptAndIgnoreDouble(CalibObject&, double) { return NqeSuccess; }
NqeErrorCode ReadNothing(CalibObject&, int32_t*) { return NqeSuccess; }
NqeErrorCode RefuseReadOnly(CalibObject&, int32_t) {
  return NqeReadOnlyParameter;
}

NqeErrorCode ReadAutomatic(CalibObject& object, int32_t* value) {
  *value = object.IsAutomatic() ? 1 : 0;
  return NqeSuccess;
}

NqeErrorCode ObjectName(CalibObject& object, char** field) {
  *field = object.NameField();
  return NqeSuccess;
}

// The flag belongs to the store, but hosts write it as a property of the
// active detector, so it needs one like the other detector rows.
NqeErrorCode WriteScanState(CalibObject& object, int32_t value) {
  DetectorStore& detectors = object.Detectors();
  if (detectors.ActiveEntry() == nullptr) return NqeNoActiveDetector;
  detectors.SetScanState(value != 0);
  return NqeSuccess;
}

NqeErrorCode ReadScanState(CalibObject& object, int32_t* value) {
  *value = object.Detectors().ScanState() ? 1 : 0;
  return NqeSuccess;
}

NqeErrorCode WritePixelSize(CalibObject& object, double value) {
  DetectorEntry* entry = object.Detectors().ActiveEntry();
  if (entry == nullptr) return NqeNoActiveDetector;
  entry->pixelSize = value;
  SpectrographModel* model = ModelOf(object);
  if (model != nullptr && model->ActiveGrating() != nullptr) {
    model->ActiveGrating()->pixelWidth = value;
    model->geometry.pixelWidth = value;
  }
  return NqeSuccess;
}

NqeErrorCode WriteNumPixels(CalibObject& object, int32_t value) {
  DetectorStore& detectors = object.Detectors();
  DetectorEntry* entry = detectors.ActiveEntry();
  if (entry == nullptr) return NqeNoActiveDetector;
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) {
    // A manual object has no geometry to refresh.
    entry->numPixels = value;
    return NqeSuccess;
  }
  // The geometry calls validate the detector, which refuses a zero pixel
  // size in automatic mode; a stand-in of 1.0 lets a host set the pixel
  // count before the pixel size.
  const double pixelSize = entry->pixelSize;
  entry->pixelSize = 1.0;
  entry->numPixels = value;
  NqeErrorCode code =
      detectors.GetCenterOffset(&model->geometry.regionCenterOffset);
  if (code == NqeSuccess) {
    code = detectors.GetDetectorCenter(&model->geometry.centerPixel);
  }
  entry->pixelSize = pixelSize;
  return code;  // the new pixel count stays even when a call failed
}

NqeErrorCode ReadPointCursor(CalibObject& object, int32_t* value) {
  const int32_t cursor = object.Calibrations().pointCursor;
  if (cursor < 0 || cursor > 9) return NqeBadPointCursor;
  *value = cursor;
  return NqeSuccess;
}

NqeErrorCode WriteDisplayUnit(CalibObject& object, int32_t unit) {
  CalibrationRecord* record = object.Calibrations().ActiveRecord();
  if (record == nullptr) return NqeInvalidCalibration;
  if (const NqeErrorCode code = ValidateUnit(unit); code != NqeSuccess) {
    return code;
  }
  // The label is written while the record still holds the old unit, so it
  // names the unit in force before this write; hosts write a unit twice to
  // bring both into line, and that is how it stays. The label call cannot
  // fail on a unit the record accepted before.
  SetUnitLabel(record);
  record->displayUnit = unit;
  return NqeSuccess;
}

NqeErrorCode SelectSpectrographRow(CalibObject& object, int32_t index) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  return model->SelectSpectrographByIndex(index);
}

NqeErrorCode SpectrographName(CalibObject& object, char** field) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr || model->ActiveSpectrograph() == nullptr) {
    return NqeNoActiveSpectrograph;
  }
  *field = model->ActiveSpectrograph()->name;
  return NqeSuccess;
}

// The selection's result is not reported: hosts select by number and read
// the name back to see what they got.
NqeErrorCode SelectTurretRow(CalibObject& object, int32_t number) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  model->SelectTurret(number);
  return NqeSuccess;
}

NqeErrorCode TurretName(CalibObject& object, char** field) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr || model->ActiveTurret() == nullptr) {
    return NqeNoActiveTurret;
  }
  *field = model->ActiveTurret()->name;
  return NqeSuccess;
}

NqeErrorCode SelectGratingRow(CalibObject& object, int32_t number) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  model->SelectGrating(number);
  return NqeSuccess;
}

NqeErrorCode GratingName(CalibObject& object, char** field) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr || model->ActiveGrating() == nullptr) {
    return NqeNoGratingSelected;
  }
  *field = model->ActiveGrating()->name;
  return NqeSuccess;
}

namespace {

// The grating's value and the working value the grating equation reads.
template <double Grating::*kGrating, double WorkingOptics::*kWorking>
NqeErrorCode WriteGratingOptic(CalibObject& object, double value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  Grating* grating = model->ActiveGrating();
  if (grating == nullptr) return NqeNoGratingSelected;
  grating->*kGrating = value;
  model->optics.*kWorking = value;
  return NqeSuccess;
}

template <double SteppingState::*kField>
NqeErrorCode WriteStepping(CalibObject& object, double value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  model->stepping.*kField = value;
  // The computed steps and a validated glue no longer match the range.
  model->stepping.stepsValid = false;
  model->stepping.glueValidated = false;
  return NqeSuccess;
}

}  // namespace

NqeErrorCode WriteGrooveDensity(CalibObject& object, double value) {
  return WriteGratingOptic<&Grating::grooveDensity,
                           &WorkingOptics::grooveDensity>(object, value);
}
NqeErrorCode WriteCenterPixelOffset(CalibObject& object, double value) {
  return WriteGratingOptic<&Grating::centerPixelOffset,
                           &WorkingOptics::centerPixelOffset>(object, value);
}
NqeErrorCode WriteSlopeAdjust(CalibObject& object, double value) {
  return WriteGratingOptic<&Grating::slopeAdjust, &WorkingOptics::slopeAdjust>(
      object, value);
}
NqeErrorCode WriteFocalLength(CalibObject& object, double value) {
  return WriteGratingOptic<&Grating::focalLength, &WorkingOptics::focalLength>(
      object, value);
}
NqeErrorCode WriteInclusionAngle(CalibObject& object, double value) {
  return WriteGratingOptic<&Grating::inclusionAngle,
                           &WorkingOptics::inclusionAngle>(object, value);
}
NqeErrorCode WriteDetectorAngle(CalibObject& object, double value) {
  return WriteGratingOptic<&Grating::detectorAngle,
                           &WorkingOptics::detectorAngle>(object, value);
}
NqeErrorCode WriteScaleFactor(CalibObject& object, double value) {
  // A scale factor of 0 would collapse the focal plane: it means 1.
  return WriteGratingOptic<&Grating::scaleFactor, &WorkingOptics::scaleFactor>(
      object, value == 0.0 ? 1.0 : value);
}

template <int kFirst>
NqeErrorCode WriteTargetPair(CalibObject& object, double value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  model->targets[kFirst].targetWavelength = value;
  model->targets[kFirst + 1].targetWavelength = value;
  return NqeSuccess;
}

template <int kSlot>
NqeErrorCode ReadTargetWavelength(CalibObject& object, double* value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  *value = model->targets[kSlot].targetWavelength;
  return NqeSuccess;
}

// The slot setters answer only 11047 for a slot outside 1 to 4, which these
// rows never pass: their result is not reported.
template <int kSlot>
NqeErrorCode WriteTargetCenter(CalibObject& object, double value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  SetTargetWaveLength(*model, kSlot, value);
  return NqeSuccess;
}

// Reads go to the slot's field directly: a read does not make the slot the
// one last addressed.
template <int kSlot>
NqeErrorCode ReadTargetCenter(CalibObject& object, double* value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  *value = model->targets[kSlot - 1].targetCenter;
  return NqeSuccess;
}

template <int kSlot>
NqeErrorCode WriteRefCursor(CalibObject& object, double value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  SetRefCursorPosition(*model, kSlot, value);
  return NqeSuccess;
}

template <int kSlot>
NqeErrorCode ReadRefCursor(CalibObject& object, double* value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  *value = model->targets[kSlot - 1].referenceCursor;
  return NqeSuccess;
}

template NqeErrorCode WriteTargetPair<0>(CalibObject&, double);
template NqeErrorCode WriteTargetPair<2>(CalibObject&, double);
template NqeErrorCode ReadTargetWavelength<0>(CalibObject&, double*);
template NqeErrorCode ReadTargetWavelength<2>(CalibObject&, double*);
template NqeErrorCode WriteTargetCenter<1>(CalibObject&, double);
template NqeErrorCode WriteTargetCenter<2>(CalibObject&, double);
template NqeErrorCode WriteTargetCenter<3>(CalibObject&, double);
template NqeErrorCode WriteTargetCenter<4>(CalibObject&, double);
template NqeErrorCode ReadTargetCenter<1>(CalibObject&, double*);
template NqeErrorCode ReadTargetCenter<2>(CalibObject&, double*);
template NqeErrorCode ReadTargetCenter<3>(CalibObject&, double*);
template NqeErrorCode ReadTargetCenter<4>(CalibObject&, double*);
template NqeErrorCode WriteRefCursor<1>(CalibObject&, double);
template NqeErrorCode WriteRefCursor<2>(CalibObject&, double);
template NqeErrorCode WriteRefCursor<3>(CalibObject&, double);
template NqeErrorCode WriteRefCursor<4>(CalibObject&, double);
template NqeErrorCode ReadRefCursor<1>(CalibObject&, double*);
template NqeErrorCode ReadRefCursor<2>(CalibObject&, double*);
template NqeErrorCode ReadRefCursor<3>(CalibObject&, double*);
template NqeErrorCode ReadRefCursor<4>(CalibObject&, double*);

NqeErrorCode ReadInitialObjective(CalibObject& object, double* value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  if (model->optimisation == nullptr) return NqeNoOptimisationData;
  *value = model->optimisation->initialObjective;
  return NqeSuccess;
}

NqeErrorCode ReadBestObjective(CalibObject& object, double* value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  if (model->optimisation == nullptr) return NqeNoOptimisationData;
  *value = model->optimisation->bestObjective;
  return NqeSuccess;
}

NqeErrorCode ReadCurrentObjective(CalibObject& object, double* value) {
  SpectrographModel* model = ModelOf(object);
  if (model == nullptr) return NqeNoSpectrographModel;
  *value = CurrentDispersionObjective(*model);
  return NqeSuccess;
}

NqeErrorCode WriteRangeStart(CalibObject& object, double value) {
  return WriteStepping<&SteppingState::rangeStart>(object, value);
}
NqeErrorCode WriteRangeEnd(CalibObject& object, double value) {
  return WriteStepping<&SteppingState::rangeEnd>(object, value);
}
NqeErrorCode WriteGlueStep(CalibObject& object, double value) {
  return WriteStepping<&SteppingState::glueStep>(object, value);
}
NqeErrorCode WriteOverlap(CalibObject& object, double value) {
  return WriteStepping<&SteppingState::overlap>(object, value);
}

NqeErrorCode CheckArrayCount(int32_t id, int32_t count) {
  switch (id) {
    case CalibParamPointPosition:
    case CalibParamPointValue:
      return count >= 1 && count <= 10 ? NqeSuccess : NqeBadPointCursor;
    case CalibParamCoefficient:
      return count >= 1 && count <= 5 ? NqeSuccess : NqeBadCoefficientIndex;
    default:
      return NqeSuccess;
  }
}

}  // namespace kvx
