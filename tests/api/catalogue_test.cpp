// Every export of the catalogue is reached through the module as a host calls
// it: a manual object refuses the operations of automatic mode with 11054
// before anything else, and an automatic object reaches every one of them.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"

namespace {

// Argument space big enough for any record or array an export may touch
// with the benign values below (counts 0 or 1, sizes of one record).
struct Scratch {
  alignas(8) unsigned char bytes[4096] = {};
  double d[8] = {};
  KvxLong l = 0;
  KvxULong u = 0;
  char text[256] = {};
  SpectrumData spectrum = {};
  GlueSpectrum glue[2] = {};
  CalibPoint points[1] = {};
};

using Call = std::function<KvxULong(CalibHandle, Scratch&)>;

struct Row {
  int ordinal;
  const char* name;
  bool model;  // an operation of automatic mode: 11054 on a manual object
  Call call;
};

template <class F>
Call C(F f) {
  return
      [f](CalibHandle h, Scratch& s) { return static_cast<KvxULong>(f(h, s)); };
}

// One row: ordinal, name, operation of automatic mode, the call.
#define R(ordinal, name, model, ...)                         \
  {                                                          \
    ordinal, #name, model, C([](CalibHandle h, Scratch& s) { \
      (void)h;                                               \
      (void)s;                                               \
      return __VA_ARGS__;                                    \
    })                                                       \
  }

// One row: ordinal, name, operation of automatic mode, the call.
#define R(ordinal, name, model, ...)                         \
  {                                                          \
    ordinal, #name, model, C([](CalibHandle h, Scratch& s) { \
      (void)h;                                               \
      (void)s;                                               \
      return __VA_ARGS__;                                    \
    })                                                       \
  }

constexpr const char* kNoFile = "/nonexistent/kvx-catalogue-test.cal";

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {1, "GetDeviceCount", false,
       C([](CalibHandle, Scratch& s) { return GetDeviceCount(&s.u); })},
      {2, "GetDeviceID", false, C([](CalibHandle, Scratch& s) {
         return GetDeviceID(s.text, &s.u, &s.u, 0);
       })},
      {3, "CalibCreate", false, C([](CalibHandle, Scratch& s) {
         CalibHandle h = 0;
         const KvxULong code = CalibCreate(CalibModeManual, &h);
         if (code == 0) CalibDestroy(h);
         (void)s;
         return code;
       })},
      {4, "CalibDestroy", false, C([](CalibHandle, Scratch&) {
         CalibHandle h = 0;
         CalibCreate(CalibModeManual, &h);
         return CalibDestroy(h);
       })},
      {5, "CalibCopyCalibObject", false,
       C([](CalibHandle h, Scratch&) { return CalibCopyCalibObject(h, h); })},
      // clang-format off
      R(6, CalibFindPeaks, false, CalibFindPeaks(h, &s.spectrum, s.d, s.d + 4, 1, &s.l)),
      R(7, CalibFindNearestPeak, false, CalibFindNearestPeak(h, &s.spectrum, 1.0, s.d)),
      R(8, CalibInitializeDetector, false, CalibInitializeDetector(h, s.bytes, 0)),
      R(9, CalibValidateDetector, false, CalibValidateDetector(h, s.bytes, 0)),
      R(10, CalibLoadDetector, false, CalibLoadDetector(h, s.bytes, 0)),
      R(11, CalibDumpDetector, false, CalibDumpDetector(h, s.bytes, sizeof(DetectorRecord))),
      R(12, CalibGetActiveDetectorID, false, CalibGetActiveDetectorID(h, &s.u)),
      R(13, CalibSetActiveDetectorID, false, CalibSetActiveDetectorID(h, 0)),
      R(14, CalibAddDetector, false, CalibAddDetector(h, s.bytes, 0, &s.u)),
      R(15, CalibRemoveDetectorID, false, CalibRemoveDetectorID(h, 0)),
      R(16, CalibNumberOfX_ROIs, false, CalibNumberOfX_ROIs(h, &s.l)),
      R(17, CalibDisableScanPattern, false, CalibDisableScanPattern(h)),
      R(18, CalibEnableScanPattern, false, CalibEnableScanPattern(h)),
      R(19, CalibGetScanState, false, CalibGetScanState(h, &s.l)),
      R(20, CalibInitializeCalibration, false, CalibInitializeCalibration(h, s.bytes, 0)),
      R(21, CalibValidateCalibration, false, CalibValidateCalibration(h, s.bytes, 0)),
      R(22, CalibLoadCalibration, false, CalibLoadCalibration(h, s.bytes, 0)),
      R(23, CalibDumpCalibration, false, CalibDumpCalibration(h, s.bytes, sizeof(CalibrationRecord))),
      R(24, CalibGetActiveCalibrationID, false, CalibGetActiveCalibrationID(h, &s.u)),
      R(25, CalibSetActiveCalibrationID, false, CalibSetActiveCalibrationID(h, 0)),
      R(26, CalibAddCalibration, false, CalibAddCalibration(h, s.bytes, 0, &s.u)),
      R(27, CalibRemoveCalibrationID, false, CalibRemoveCalibrationID(h, 0)),
      R(28, CalibLoadSPECalibration, false, CalibLoadSPECalibration(h, s.bytes, 0)),
      R(29, CalibDumpSPECalibration, false, CalibDumpSPECalibration(h, s.bytes, sizeof(SpeCalibrationBlock))),
      R(30, CalibDataPointToCalibValue, false, CalibDataPointToCalibValue(h, 1.0, s.d)),
      R(31, CalibCalibValueToDataPoint, false, CalibCalibValueToDataPoint(h, 1.0, s.d)),
      R(32, CalibCalibratedDataPointArray, false, CalibCalibratedDataPointArray(h, 1, s.d)),
      R(33, CalibTestCalibPointFit, false, CalibTestCalibPointFit(h, 1, s.d, s.d + 1, s.d + 2)),
      R(34, CalibTestCalibrationFit, false, CalibTestCalibrationFit(h, s.d)),
      R(35, CalibLoadSpectrograph, true, CalibLoadSpectrograph(h, s.bytes, 0)),
      R(36, CalibGetActiveSpectrographID, true, CalibGetActiveSpectrographID(h, &s.u)),
      R(37, CalibSetActiveSpectrographID, true, CalibSetActiveSpectrographID(h, 0)),
      R(38, CalibAddSpectrograph, true, CalibAddSpectrograph(h, s.bytes, 0, &s.u)),
      R(39, CalibRemoveSpectrographID, true, CalibRemoveSpectrographID(h, 0)),
      R(40, CalibLoadTurrets, true, CalibLoadTurrets(h, s.bytes, 0, 0)),
      R(41, CalibSelectTurret, true, CalibSelectTurret(h, 1)),
      R(42, CalibLoadGratings, true, CalibLoadGratings(h, s.bytes, 0, 0)),
      R(43, CalibSelectGrating, true, CalibSelectGrating(h, 1)),
      R(44, CalibAddExitMirror, true, CalibAddExitMirror(h)),
      R(45, CalibRemoveExitMirror, true, CalibRemoveExitMirror(h)),
      R(46, CalibSetExitMirrorPosition, true, CalibSetExitMirrorPosition(h, 0)),
      R(47, CalibCalcDataPointWaveLength, true, CalibCalcDataPointWaveLength(h, 1.0, s.d)),
      R(48, CalibCalcDataPointCalibValue, true, CalibCalcDataPointCalibValue(h, 1.0, s.d)),
      R(49, CalibCalcDataPointCalibArray, true, CalibCalcDataPointCalibArray(h, 1, s.d)),
      R(50, CalibConvertCenterWavelength, true, CalibConvertCenterWavelength(h, 500.0, s.d)),
      R(51, CalibTestWavelength, true, CalibTestWavelength(h, 500.0, s.d)),
      R(52, CalibSetupSpecCalArray, true, CalibSetupSpecCalArray(h)),
      R(53, CalibSetCenterCalibValue, true, CalibSetCenterCalibValue(h, 500.0)),
      R(54, CalibSetCenterWavelength, true, CalibSetCenterWavelength(h, 500.0)),
      R(55, CalibSetIntParam, false, CalibSetIntParam(h, CalibParamPolyOrder, 1)),
      R(56, CalibGetIntParam, false, CalibGetIntParam(h, CalibParamPolyOrder, &s.l)),
      R(57, CalibSetDoubleParam, false, CalibSetDoubleParam(h, CalibParamLaserLine, 1.0)),
      R(58, CalibGetDoubleParam, false, CalibGetDoubleParam(h, CalibParamLaserLine, s.d)),
      R(59, CalibSetDoubleArray, false, CalibSetDoubleArray(h, CalibParamPointPosition, s.d, 1)),
      R(60, CalibGetDoubleArray, false, CalibGetDoubleArray(h, CalibParamPointPosition, s.d, 1)),
      R(61, CalibSetStrParam, false, CalibSetStrParam(h, CalibParamUnitLabel, s.text, 8)),
      R(62, CalibGetStrParam, false, CalibGetStrParam(h, CalibParamUnitLabel, s.text, 8)),
      R(63, CalibVerOfDLL, false, CalibVerOfDLL(h, &s.u, &s.u, &s.u, &s.u)),
      R(64, CalibCalcCenterOffset, true, CalibCalcCenterOffset(h, 1.0)),
      R(65, CalibCalcSlopeAdjust, true, CalibCalcSlopeAdjust(h, 1.0, 1.0)),
      R(66, CalibCalcDispersionTargetData, true, CalibCalcDispersionTargetData(h, 546.07, 435.83)),
      R(67, CalibSetRefCursorPosition, true, CalibSetRefCursorPosition(h, 1, 1.0)),
      R(68, CalibGetRefCursorPosition, true, CalibGetRefCursorPosition(h, 1, s.d)),
      R(69, CalibSetTargetWaveLength, true, CalibSetTargetWaveLength(h, 1, 500.0)),
      R(70, CalibGetTargetWaveLength, true, CalibGetTargetWaveLength(h, 1, s.d)),
      R(71, CalibOptimizeSpectrograph, true, CalibOptimizeSpectrograph(h, s.d, s.d + 1, s.d + 2, s.d + 3, s.d + 4)),
      R(72, CalibGetNumberSteps, true, CalibGetNumberSteps(h, 500.0, 600.0, 1.0, &s.l)),
      R(73, CalibGetStepCenterValues, true, CalibGetStepCenterValues(h, 0, s.d)),
      R(74, CalibGlueInput, true, CalibGlueInput(h, &s.glue[0], 0, &s.glue[1])),
      R(75, CalibValidateGlue, true, CalibValidateGlue(h, &s.glue[0], 0, &s.glue[1])),
      R(76, CalibGetCenterResolution, true, CalibGetCenterResolution(h, s.d)),
      R(77, CalibGetOrigDispParams, true, CalibGetOrigDispParams(h, s.d, s.d + 1, s.d + 2, s.d + 3, s.d + 4)),
      R(78, CalibGetOptimDispParams, true, CalibGetOptimDispParams(h, s.d, s.d + 1, s.d + 2, s.d + 3, s.d + 4)),
      R(79, CalibInstallOrigDispParams, true, CalibInstallOrigDispParams(h, s.d, s.d + 1)),
      R(80, CalibInstallOptimDispParams, true, CalibInstallOptimDispParams(h, s.d, s.d + 1)),
      R(81, CalibInitIncStepAndGlue, true, CalibInitIncStepAndGlue(h, &s.glue[1], 1)),
      R(82, CalibGlueIncInput, true, CalibGlueIncInput(h, &s.glue[1], &s.glue[0])),
      R(83, CalibCleanupIncGlue, true, CalibCleanupIncGlue(h)),
      R(84, CalibLoadCalibFile, false, CalibLoadCalibFile(h, kNoFile, 1, 1, 0.0, 0.0)),
      R(85, CalibGetNumSegments, false, CalibGetNumSegments(kNoFile, 1, &s.l)),
      R(86, CalibGetNumPoints, false, CalibGetNumPoints(kNoFile, 1, 1, &s.l)),
      R(87, CalibLoadCalibPoints, false, CalibLoadCalibPoints(kNoFile, 1, 1, s.points, 1)),
      R(88, CalibAddX_ROI, false, CalibAddX_ROI(h, reinterpret_cast<X_ROI*>(s.bytes))),
      R(89, CalibCalcCalibPixelArray, true, CalibCalcCalibPixelArray(h, 1, s.d)),
      R(90, CalibCalcPxlWavLngth, true, CalibCalcPxlWavLngth(h, 1.0, s.d)),
      R(91, CalibCalibValueToPixel, false, CalibCalibValueToPixel(h, 1.0, s.d)),
      R(92, CalibCalibratedPixelArray, false, CalibCalibratedPixelArray(h, 1, s.d)),
      R(93, CalibDataPointToPixel, false, CalibDataPointToPixel(h, 1.0, s.d)),
      R(94, CalibDeleteScanPattern, false, CalibDeleteScanPattern(h)),
      R(95, CalibDumpXScanPattern, false, CalibDumpXScanPattern(h, s.bytes, 0)),
      R(96, CalibGratingRotationAngle, true, CalibGratingRotationAngle(h, 500.0, s.d)),
      R(97, CalibLoadXScanPattern, false, CalibLoadXScanPattern(h, s.bytes, 0)),
      R(98, CalibPixelToCalibValue, false, CalibPixelToCalibValue(h, 1.0, s.d)),
      R(99, CalibPixelToDataPoint, false, CalibPixelToDataPoint(h, 1.0, s.d)),
      R(100, CalibRemoveX_ROI, false, CalibRemoveX_ROI(h, 1)),
      R(101, CalibRetrieveX_ROI, false, CalibRetrieveX_ROI(h, 1, reinterpret_cast<X_ROI*>(s.bytes), sizeof(X_ROI))),
      R(102, CalibSetGratingByIndexNum, true, CalibSetGratingByIndexNum(h, 1, 1)),
      R(103, CalibValidateSpecOptStruct, true, CalibValidateSpecOptStruct(h)),
      R(104, CalibValidateTargetData, true, CalibValidateTargetData(h)),
      R(105, CalibValidateXScanPattern, false, CalibValidateXScanPattern(h, reinterpret_cast<X_ROI*>(s.bytes), 0, 0, 1024)),
      R(106, KvxFreeSPECalibrationTable, false, KvxFreeSPECalibrationTable(s.bytes, sizeof(SpeCalibrationBlock))),
      R(107, KvxFitGratingModel, true, KvxFitGratingModel(h, reinterpret_cast<KvxFitLine*>(s.bytes), 0, reinterpret_cast<KvxFitSpectrum*>(s.bytes + 1024), 1, nullptr, reinterpret_cast<KvxGratingFit*>(s.bytes + 2048), nullptr)),
      R(108, KvxInstallFittedOptics, true, KvxInstallFittedOptics(h, reinterpret_cast<KvxGratingFit*>(s.bytes))),
      R(109, KvxFittedWavelengths, true, KvxFittedWavelengths(h, reinterpret_cast<KvxGratingFit*>(s.bytes), 500.0, 0, s.d)),
      R(110, KvxFitPolynomial, false, KvxFitPolynomial(s.d, s.d, 0, 0, nullptr, reinterpret_cast<KvxPolynomialFit*>(s.bytes), nullptr)),
      R(111, KvxEvaluatePolynomialFit, false, KvxEvaluatePolynomialFit(reinterpret_cast<KvxPolynomialFit*>(s.bytes), 1.0, s.d)),
      R(112, KvxInstallPolynomialTable, false, KvxInstallPolynomialTable(h, reinterpret_cast<KvxPolynomialFit*>(s.bytes), &s.u)),
      // clang-format on
  };
  return rows;
}

// Ordinal and name of every line of the export catalogue.
std::vector<std::pair<int, std::string>> Catalogue() {
  std::ifstream in(KVX_EXPORT_LIST);
  std::vector<std::pair<int, std::string>> entries;
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    int ordinal = 0;
    std::string kind, status, name;
    fields >> ordinal >> kind >> status >> name;
    entries.emplace_back(ordinal, name);
  }
  return entries;
}

TEST(Catalogue, EveryExportOfTheCatalogueIsCalledHere) {
  std::set<std::pair<int, std::string>> called;
  for (const Row& row : Rows()) called.emplace(row.ordinal, row.name);
  for (const auto& entry : Catalogue()) {
    EXPECT_TRUE(called.count(entry)) << entry.first << " " << entry.second;
  }
}

TEST(Catalogue, ManualObjectsRefuseExactlyTheOperationsOfAutomaticMode) {
  for (const Row& row : Rows()) {
    CalibHandle h = 0;
    ASSERT_EQ(CalibCreate(CalibModeManual, &h), 0u);
    Scratch s;
    const KvxULong code = row.call(h, s);
    EXPECT_EQ(code == NqeNoSpectrographModel, row.model)
        << row.name << " " << code;
    CalibDestroy(h);
  }
}

TEST(Catalogue, AutomaticObjectsReachEveryOperation) {
  for (const Row& row : Rows()) {
    CalibHandle h = 0;
    ASSERT_EQ(CalibCreate(CalibModeAutomatic, &h), 0u);
    Scratch s;
    const KvxULong code = row.call(h, s);
    EXPECT_NE(code, static_cast<KvxULong>(NqeNoSpectrographModel)) << row.name;
    CalibDestroy(h);
  }
}

}  // namespace
