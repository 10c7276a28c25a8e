// Spectrograph, turret and grating arrays of an automatic object, the exit
// mirror, and everything computed from the model they make: center
// wavelength, pixel wavelengths, stepping, target slots, optimisation.
// Input: detector pixel count (int16), pixel size selector, start-with-model
// flag, then operations.
#include "fuzz_input.h"

namespace {

// A size argument: the declared size of `count` elements, 0, or any value.
KvxLong Size(fz::In& in, KvxLong count, KvxLong element) {
  const uint8_t b = in.U8();
  return b < 200 ? count * element : b < 220 ? 0 : in.I16();
}

// The host's array of `size` bytes (its declared size) from the input.
template <class Record>
void LoadArray(fz::In& in, CalibHandle h,
               KvxULong (*load)(CalibHandle, const void*, KvxLong, KvxLong)) {
  const KvxLong count = in.U8() % 8;
  const KvxLong size = Size(in, count, sizeof(Record));
  fz::Buf<unsigned char> records(size, in);
  load(h, (in.U8() & 15) == 15 ? nullptr : records.get(), size, count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  fz::Object h(CalibModeAutomatic);
  fz::LoadDetector(h, in.I16(), in.U8() < 200 ? 26.0 : 0.0);
  if (in.U8() & 1) fz::LoadModel(h);
  KvxULong id = 0;
  KvxLong steps = 0;
  double a = 0.0, b = 0.0, c = 0.0, d = 0.0, e = 0.0;
  bool optimised = false;
  while (!in.Empty()) {
    switch (in.U8() % 16) {
      case 0: {
        SpectrographRecord r = in.Get<SpectrographRecord>();
        CalibLoadSpectrograph(h, &r, Size(in, 1, sizeof r));
        break;
      }
      case 1: {
        SpectrographRecord r = in.Get<SpectrographRecord>();
        CalibAddSpectrograph(h, &r, Size(in, 1, sizeof r), &id);
        break;
      }
      case 2: {
        const KvxULong which = in.U8() < 128 ? id : in.Get<KvxULong>();
        (in.U8() & 1) ? CalibRemoveSpectrographID(h, which)
                      : CalibSetActiveSpectrographID(h, which);
        CalibGetActiveSpectrographID(h, &id);
        break;
      }
      case 3:
        LoadArray<TurretRecord>(in, h, CalibLoadTurrets);
        break;
      case 4:
        LoadArray<GratingRecord>(in, h, CalibLoadGratings);
        break;
      case 5:
        CalibSetGratingByIndexNum(h, in.I16(), in.I16());
        break;
      case 6:
        (in.U8() & 1) ? CalibSelectTurret(h, in.I16())
                      : CalibSelectGrating(h, in.I16());
        break;
      case 7:
        (in.U8() & 1) ? CalibAddExitMirror(h) : CalibRemoveExitMirror(h);
        CalibSetExitMirrorPosition(h, in.I16());
        break;
      case 8: {
        const double w = in.Real(-100.0, 3000.0);
        CalibSetCenterWavelength(h, w);
        CalibConvertCenterWavelength(h, in.Real(-100.0, 3000.0), &a);
        CalibTestWavelength(h, w, &a);
        CalibGratingRotationAngle(h, w, &a);
        CalibGetCenterResolution(h, &a);
        break;
      }
      case 9: {
        const double p = in.Real(-10.0, 2100.0);
        CalibCalcDataPointWaveLength(h, p, &a);
        CalibCalcDataPointCalibValue(h, p, &a);
        CalibCalcPxlWavLngth(h, p, &a);
        break;
      }
      case 10: {  // arrays of the length the host passes
        const KvxLong count = in.I16();
        fz::Buf<double> values(count);
        CalibCalcCalibPixelArray(h, count, values.get());
        CalibCalcDataPointCalibArray(h, count, values.get());
        break;
      }
      case 11:
        CalibSetCenterCalibValue(h, in.Real(-100.0, 3000.0));
        CalibSetupSpecCalArray(h);
        break;
      case 12:
        CalibCalcCenterOffset(h, in.Real(-10.0, 2100.0));
        CalibCalcSlopeAdjust(h, in.Real(-1000.0, 1000.0),
                             in.Real(-1000.0, 1000.0));
        break;
      case 13: {  // the host sizes the centers by the step count it got
        const double lo = in.Real(0.0, 2000.0), hi = in.Real(0.0, 2000.0);
        CalibGetNumberSteps(h, lo, hi, in.Real(-10.0, 100.0), &steps);
        const KvxLong count = steps >= 0 && steps <= 4096 ? steps : in.I16();
        fz::Buf<double> centers(count);
        CalibGetStepCenterValues(h, count, centers.get());
        break;
      }
      case 14: {
        const KvxLong slot = in.U8() % 6;
        CalibSetRefCursorPosition(h, slot, in.Real(-10.0, 2100.0));
        CalibSetTargetWaveLength(h, slot, in.Real(-100.0, 3000.0));
        CalibGetRefCursorPosition(h, slot, &a);
        CalibGetTargetWaveLength(h, slot, &a);
        break;
      }
      case 15:
        switch (in.U8() % 4) {
          case 0:
            CalibCalcDispersionTargetData(h, in.Real(200.0, 1000.0),
                                          in.Real(200.0, 1000.0));
            break;
          case 1:  // a whole grid search (a second or so under the
                   // sanitizers): one call per input keeps the target fast
            CalibValidateTargetData(h);
            CalibValidateSpecOptStruct(h);
            if (!optimised) CalibOptimizeSpectrograph(h, &a, &b, &c, &d, &e);
            optimised = true;
            break;
          case 2:
            CalibGetOrigDispParams(h, &a, &b, &c, &d, &e);
            CalibGetOptimDispParams(h, &a, &b, &c, &d, &e);
            break;
          case 3:
            (in.U8() & 1) ? CalibInstallOrigDispParams(h, &a, &b)
                          : CalibInstallOptimDispParams(h, &a, &b);
            break;
        }
        break;
    }
  }
  return 0;
}
