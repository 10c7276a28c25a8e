// The parameter table: one line per ID, in ID order, so that the table is
// indexed by ID. Columns: ID, name, type, directions (W write, R read, A the
// array operation), model (11054 on a manual object first), then the setter
// and getter for integers and doubles, or the field of a text. A setter
// written SetInt<member, rule> stores into that member after the rule; a
// getter GetInt<member> / GetDouble<member> reads it. The owner of a member
// decides what must exist: active detector (11010), active calibration
// (11021), model (11054), active spectrograph (11051), active grating
// (11053). Named functions (parameter_rows.h) are the rows with behaviour of
// their own.
#include "api/parameter_table.h"

#include <array>
#include <type_traits>

#include "api/parameter_fields.h"
#include "api/parameter_rows.h"

namespace kvx {

namespace {

constexpr bool kModel = true;
constexpr bool kPlain = false;
constexpr uint8_t kW = kWrite;
constexpr uint8_t kR = kRead;
constexpr uint8_t kWR = kReadWrite;

// A row whose functions do not match its type and directions stops the
// compilation (a throw cannot be evaluated in a constant expression).
constexpr void Require(bool consistent) {
  if (!consistent) throw "parameter row: functions do not match W/R";
}

// A function column is either a function or nullptr; its type says which.
template <class F>
constexpr bool Given = !std::is_null_pointer_v<F>;

constexpr ParameterDesc Unused(int32_t id) { return {id}; }
template <class Set, class Get>
constexpr ParameterDesc I(int32_t id, const char* name, uint8_t access,
                          bool model, Set set, Get get) {
  Require(Given<Set> == ((access & kWrite) != 0) &&
          Given<Get> == ((access & kRead) != 0) && (access & kArray) == 0);
  return {id, name, ParamType::kInt, access, model, set, get};
}
template <class Set, class Get>
constexpr ParameterDesc D(int32_t id, const char* name, uint8_t access,
                          bool model, Set set, Get get) {
  Require(Given<Set> == ((access & kWrite) != 0) &&
          Given<Get> == ((access & kRead) != 0));
  return {id,  name, ParamType::kDouble, access, model, nullptr, nullptr,
          set, get};
}
constexpr ParameterDesc S(int32_t id, const char* name, TextField field) {
  return {id,      name,    ParamType::kText, kWR,     kPlain,
          nullptr, nullptr, nullptr,          nullptr, field};
}

constexpr IntSetter kIgnored = &AcceptAndIgnore;

using Store = CalibrationStore;
using Record = CalibrationRecord;
using Entry = DetectorEntry;

// The point and coefficient cursors address one element of the active
// calibration's arrays.
constexpr DoubleSetter kSetPosition =
    &WriteAtCursor<&Record::pointPosition, &Store::pointCursor, 9,
                   NqeBadPointCursor>;
constexpr DoubleGetter kGetPosition =
    &ReadAtCursor<&Record::pointPosition, &Store::pointCursor, 9,
                  NqeBadPointCursor>;
constexpr DoubleSetter kSetValue =
    &WriteAtCursor<&Record::pointValue, &Store::pointCursor, 9,
                   NqeBadPointNumber>;
constexpr DoubleGetter kGetValue =
    &ReadAtCursor<&Record::pointValue, &Store::pointCursor, 9,
                  NqeBadPointNumber>;
constexpr DoubleSetter kSetCoefficient =
    &WriteAtCursor<&Record::coefficients, &Store::coefficientCursor, 4,
                   NqeBadCoefficientIndex>;
constexpr DoubleGetter kGetCoefficient =
    &ReadAtCursor<&Record::coefficients, &Store::coefficientCursor, 4,
                  NqeBadCoefficientIndex>;

// clang-format off
constexpr std::array<ParameterDesc, kLastParameterId + 1> kTable = {{
    Unused(0),
    I(1,  "CalibParamAutomatic",         kR,  kPlain, nullptr, ReadAutomatic),
    S(2,  "CalibParamObjectName",        ObjectName),
    // Written by older hosts; kept accepted without effect.
    I(3,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(4,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(5,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(6,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(7,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(8,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(9,  nullptr,                       kW,  kPlain, kIgnored, nullptr),
    I(10, nullptr,                       kWR, kPlain, kIgnored, ReadNothing),
    S(11, "CalibParamDetectorName",      TextOf<&Entry::name>),
    I(12, "CalibParamRegionCounter",     kWR, kPlain, RefuseReadOnly, GetInt<&Entry::regionCounter>),
    I(13, "CalibParamScanState",         kWR, kPlain, WriteScanState, ReadScanState),
    D(14, "CalibParamPixelSize",         kWR, kPlain, WritePixelSize, GetDouble<&Entry::pixelSize>),
    D(15, "CalibParamSecondarySize",     kWR, kPlain, SetDouble<&Entry::secondarySize>, GetDouble<&Entry::secondarySize>),
    I(16, "CalibParamNumPixels",         kWR, kPlain, WriteNumPixels, GetInt<&Entry::numPixels>),
    I(17, "CalibParamSecondaryCount",    kWR, kPlain, SetInt<&Entry::secondaryCount>, GetInt<&Entry::secondaryCount>),
    I(18, "CalibParamPointCursor",       kWR, kPlain, SetInt<&Store::pointCursor, Within<0, 9, NqeBadPointCursor>>, ReadPointCursor),
    D(19, "CalibParamPointPosition",     kWR | kArray, kPlain, kSetPosition, kGetPosition),
    D(20, "CalibParamPointValue",        kWR | kArray, kPlain, kSetValue, kGetValue),
    S(21, "CalibParamUnitLabel",         TextOf<&Record::unitLabel>),
    S(22, "CalibParamCalibLabel",        TextOf<&Record::calibLabel>),
    I(23, "CalibParamInputUnit",         kWR, kPlain, SetInt<&Record::inputUnit, SelectableUnit>, GetInt<&Record::inputUnit>),
    I(24, "CalibParamDisplayUnit",       kWR, kPlain, WriteDisplayUnit, GetInt<&Record::displayUnit>),
    Unused(25),
    I(26, "CalibParamPolyOrder",         kWR, kPlain, SetInt<&Record::polyOrder, Within<0, 5, NqeBadPolyOrder>>, GetInt<&Record::polyOrder>),
    I(27, "CalibParamPointCount",        kR,  kPlain, nullptr, GetInt<&Record::pointCount>),
    D(28, "CalibParamLaserLine",         kWR, kPlain, SetDouble<&Record::laserLine>, GetDouble<&Record::laserLine>),
    I(29, "CalibParamPointCountAlso",    kR,  kPlain, nullptr, GetInt<&Record::pointCount>),
    I(30, "CalibParamCoefficientCursor", kW,  kPlain, SetInt<&Store::coefficientCursor, Within<0, 4, NqeBadNumber>>, nullptr),
    D(31, "CalibParamCoefficient",       kWR | kArray, kPlain, kSetCoefficient, kGetCoefficient),
    Unused(32),
    D(33, "CalibParamPeakThreshold",     kWR, kPlain, SetDouble<&Store::peakThresholdPercent, ClampPercent>, GetDouble<&Store::peakThresholdPercent>),
    Unused(34),
    // 35, 38, 41 and 73 reach the model: a manual object, which has none,
    // refuses them like the other model rows. 73 reads 0 on a new model.
    I(35, "CalibParamSpectrographIndex", kW,  kModel, SelectSpectrographRow, nullptr),
    S(36, "CalibParamSpectrographName",  SpectrographName),
    I(37, "CalibParamNumTurrets",        kW,  kModel, SetInt<&Spectrograph::numTurrets>, nullptr),
    I(38, "CalibParamTurretNumber",      kW,  kModel, SelectTurretRow, nullptr),
    S(39, "CalibParamTurretName",        TurretName),
    I(40, "CalibParamNumGratings",       kW,  kModel, SetInt<&Spectrograph::numGratings>, nullptr),
    I(41, "CalibParamGratingNumber",     kW,  kModel, SelectGratingRow, nullptr),
    S(42, "CalibParamGratingName",       GratingName),
    D(43, "CalibParamGrooveDensity",     kWR, kModel, WriteGrooveDensity, GetDouble<&Grating::grooveDensity>),
    D(44, "CalibParamCenterPixelOffset", kWR, kModel, WriteCenterPixelOffset, GetDouble<&Grating::centerPixelOffset>),
    D(45, "CalibParamSlopeAdjust",       kWR, kModel, WriteSlopeAdjust, GetDouble<&Grating::slopeAdjust>),
    D(46, "CalibParamFocalLength",       kWR, kModel, WriteFocalLength, GetDouble<&Grating::focalLength>),
    D(47, "CalibParamInclusionAngle",    kWR, kModel, WriteInclusionAngle, GetDouble<&Grating::inclusionAngle>),
    D(48, "CalibParamDetectorAngle",     kWR, kModel, WriteDetectorAngle, GetDouble<&Grating::detectorAngle>),
    D(49, "CalibParamScaleFactor",       kWR, kModel, WriteScaleFactor, GetDouble<&Grating::scaleFactor>),
    D(50, "CalibParamSpecFocalLength",   kWR, kModel, SetDouble<&Spectrograph::focalLength>, GetDouble<&Spectrograph::focalLength>),
    D(51, "CalibParamSpecInclusionAngle", kWR, kModel, SetDouble<&Spectrograph::inclusionAngle>, GetDouble<&Spectrograph::inclusionAngle>),
    D(52, "CalibParamSpecDetectorAngle", kWR, kModel, SetDouble<&Spectrograph::detectorAngle>, GetDouble<&Spectrograph::detectorAngle>),
    D(53, "CalibParamSpecScaleFactor",   kWR, kModel, SetDouble<&Spectrograph::scaleFactor>, GetDouble<&Spectrograph::scaleFactor>),
    D(54, "CalibParamTargets12",         kWR, kModel, WriteTargetPair<0>, ReadTargetWavelength<0>),
    D(55, "CalibParamTargets34",         kWR, kModel, WriteTargetPair<2>, ReadTargetWavelength<2>),
    D(56, "CalibParamTargetCenter2",     kWR, kModel, WriteTargetCenter<2>, ReadTargetCenter<2>),
    D(57, "CalibParamTargetCenter1",     kWR, kModel, WriteTargetCenter<1>, ReadTargetCenter<1>),
    D(58, "CalibParamTargetCenter4",     kWR, kModel, WriteTargetCenter<4>, ReadTargetCenter<4>),
    D(59, "CalibParamTargetCenter3",     kWR, kModel, WriteTargetCenter<3>, ReadTargetCenter<3>),
    D(60, "CalibParamRefCursor2",        kWR, kModel, WriteRefCursor<2>, ReadRefCursor<2>),
    D(61, "CalibParamRefCursor1",        kWR, kModel, WriteRefCursor<1>, ReadRefCursor<1>),
    D(62, "CalibParamRefCursor4",        kWR, kModel, WriteRefCursor<4>, ReadRefCursor<4>),
    D(63, "CalibParamRefCursor3",        kWR, kModel, WriteRefCursor<3>, ReadRefCursor<3>),
    D(64, "CalibParamInitialObjective",  kWR, kModel, AcceptAndIgnoreDouble, ReadInitialObjective),
    D(65, "CalibParamBestObjective",     kWR, kModel, AcceptAndIgnoreDouble, ReadBestObjective),
    D(66, "CalibParamCurrentObjective",  kR,  kModel, nullptr, ReadCurrentObjective),
    I(67, "CalibParamModelDisplayUnit",  kWR, kModel, WriteDisplayUnit, GetInt<&Record::displayUnit>),
    D(68, "CalibParamRangeStart",        kWR, kModel, WriteRangeStart, GetDouble<&SteppingState::rangeStart>),
    D(69, "CalibParamRangeEnd",          kWR, kModel, WriteRangeEnd, GetDouble<&SteppingState::rangeEnd>),
    D(70, "CalibParamGlueStep",          kWR, kModel, WriteGlueStep, GetDouble<&SteppingState::glueStep>),
    D(71, "CalibParamOverlap",           kWR, kModel, WriteOverlap, GetDouble<&SteppingState::overlap>),
    I(72, "CalibParamNumSteps",          kR,  kModel, nullptr, GetInt<&SteppingState::numSteps>),
    I(73, "CalibParamModelFlag",         kWR, kModel, SetInt<&SpectrographModel::parameterFlag, NonZero>, GetInt<&SpectrographModel::parameterFlag>),
    I(74, "CalibParamAuxFlag",           kWR, kPlain, SetInt<&DetectorStore::auxFlag, NonZero>, GetInt<&DetectorStore::auxFlag>),
    Unused(75),
    I(76, "CalibParamDataPointCount",    kR,  kPlain, nullptr, GetInt<&DetectorStore::dataPointCount>),
}};
// clang-format on

// Every row sits at its ID, so the table is indexed by ID.
constexpr bool RowsAtTheirIds() {
  for (int32_t i = 0; i <= kLastParameterId; ++i) {
    if (kTable[static_cast<size_t>(i)].id != i) return false;
  }
  return true;
}
static_assert(RowsAtTheirIds());

}  // namespace

const ParameterDesc* FindParameter(int32_t id) {
  if (id < 0 || id > kLastParameterId) return nullptr;
  return &kTable[static_cast<size_t>(id)];
}

}  // namespace kvx
