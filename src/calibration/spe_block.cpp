#include "calibration/spe_block.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "calibration/calibration_store.h"
#include "detector/detector_store.h"

namespace kvx {

namespace {

// 32-bit arithmetic of block values wraps instead of overflowing.
int32_t Wrap(int64_t value) {
  return static_cast<int32_t>(
      static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

// The record a block describes, with a private copy of the host's table
// (kept in `table`, which the record points to).
CalibrationRecord RecordFromBlock(const SpeBlock& block,
                                  std::unique_ptr<double[]>* table) {
  CalibrationRecord record;
  std::memset(&record, 0, sizeof record);
  record.offset = block.Offset();
  record.factor = block.Factor();
  // Larger counts are lowered to the ten slots; a negative count stays.
  record.pointCount =
      std::min<int32_t>(block.PointCount(), SpeBlock::kMaxPoints);
  for (int i = 0; i < SpeBlock::kMaxPoints; ++i) {
    record.pointPosition[i] = block.PointPosition(i);
    record.pointValue[i] = block.PointValue(i);
  }
  for (int i = 0; i < 6; ++i) record.coefficients[i] = block.Coefficient(i);
  record.laserLine = block.LaserLine();
  record.inputUnit = block.InputUnit();
  record.displayUnit = block.DisplayUnit();
  // The block's own order is not used: a loaded calibration is linear.
  record.polyOrder = 1;
  record.valid = block.Valid();
  record.enabled = block.EnabledCode() == SpeBlock::kDisabledCode ? 0 : 1;
  std::memcpy(record.unitLabel, block.UnitLabel(), SpeBlock::kLabelBytes);
  std::memcpy(record.calibLabel, block.CalibLabel(), SpeBlock::kLabelBytes);
  // A table needs a pointer and a length; a negative length cannot be
  // copied and loads as no table (as a length of 0 does).
  double* const hostTable = block.Table();
  const int32_t length = block.TableLength();
  if (hostTable != nullptr && length > 0) {
    table->reset(new double[static_cast<size_t>(length)]);
    std::copy_n(hostTable, length, table->get());
    record.table = table->get();
    record.tableLength = length;
  }
  return record;
}

// Replaces the detector's scan pattern by the block's regions. On a failure
// the regions built so far go and the old list, counter and pixel count come
// back.
NqeErrorCode RebuildScanPattern(DetectorStore& detectors,
                                const SpeBlock& block) {
  DetectorEntry& entry = *detectors.ActiveEntry();
  // Room for every region first, so that nothing can fail once the old
  // list is set aside.
  std::vector<RegionEntry> fresh;
  fresh.reserve(SpeBlock::kMaxRegions);
  std::vector<RegionEntry> keptRegions =
      std::exchange(entry.regions, std::move(fresh));
  const int32_t keptCounter = entry.regionCounter;
  const int32_t keptPixels = entry.numPixels;
  entry.regionCounter = 0;

  NqeErrorCode code = NqeSuccess;
  for (int k = 0; k < SpeBlock::kMaxRegions; ++k) {
    const SpeBlock::Region r = block.RegionAt(k);
    if (r.start == 0) break;
    // The pixel count grows so that the region fits, and is deliberately
    // left at the last region's end afterwards.
    entry.numPixels = Wrap(int64_t{r.start} + r.width);
    RegionEntry region;
    region.id = k + 1;
    region.startPixel = Wrap(int64_t{r.start} - 1);
    // A divisor of 0 makes a region without groups, which the add refuses.
    region.binning = r.divisor == 0 ? 0 : Wrap(int64_t{r.width} / r.divisor);
    region.numGroups = r.divisor;
    code = detectors.AddRegion32(&region);
    if (code != NqeSuccess) break;
  }
  if (code != NqeSuccess) {
    entry.regions = std::move(keptRegions);
    entry.regionCounter = keptCounter;
    entry.numPixels = keptPixels;
    // The loaded flag is not restored: a region add that met an overlap
    // cleared it, and the detector must be loaded again before use, as
    // after any overlapping region add.
  }
  return code;
}

}  // namespace

NqeErrorCode LoadSpeCalibration(CalibrationStore& store, const void* block,
                                int32_t size) {
  if (size != SpeBlock::kSize) return NqeBadCalibrationSize;
  DetectorStore* detectors = store.Detectors();
  if (detectors == nullptr || detectors->ActiveEntry() == nullptr) {
    return NqeNoActiveDetector;
  }
  if (block == nullptr) return NqeNullPointer;
  // Without an active record (the only calibration was removed) there is
  // nothing to load into; refused before anything changes.
  if (store.ActiveRecord() == nullptr) return NqeNullPointer;
  SpeBlock copy;
  copy.CopyFrom(block);
  std::unique_ptr<double[]> table;
  CalibrationRecord record = RecordFromBlock(copy, &table);
  const NqeErrorCode validated = store.Validate(&record, 0, false, false);
  if (validated != NqeSuccess) return validated;
  const NqeErrorCode rebuilt = RebuildScanPattern(*detectors, copy);
  if (rebuilt != NqeSuccess) return rebuilt;
  // The store keeps its own copy of the table; the private one goes.
  store.ReplaceActiveRecord(record);
  return NqeSuccess;
}

NqeErrorCode DumpSpeCalibration(const CalibrationStore& store, void* block,
                                int32_t size) {
  if (size != SpeBlock::kSize) return NqeBadCalibrationSize;
  if (block == nullptr) return NqeNullPointer;
  const CalibrationRecord* record = store.ActiveRecord();
  // No record to dump once the only calibration was removed and selected.
  if (record == nullptr) return NqeNullPointer;

  SpeBlock out;
  NqeErrorCode result = NqeSuccess;
  const int32_t count =
      std::min<int32_t>(record->pointCount, SpeBlock::kMaxPoints);
  out.SetPointCount(static_cast<int8_t>(count));
  for (int i = 0; i < SpeBlock::kMaxPoints; ++i) {
    out.SetPointValue(i, record->pointValue[i]);
    out.SetPointPosition(i, record->pointPosition[i]);
  }
  // Angstroms and microns travel in nanometres (bit 31 is not masked).
  const int32_t inputUnit = record->inputUnit;
  if (inputUnit == CalibUnitAngstroms || inputUnit == CalibUnitMicrons) {
    for (int i = 0; i < count; ++i) {
      double converted = out.PointValue(i);
      result = store.ConvertUnits(inputUnit, CalibUnitNanometers,
                                  out.PointValue(i), &converted);
      out.SetPointValue(i, converted);
    }
    out.SetInputUnit(CalibUnitNanometers);
  } else {
    out.SetInputUnit(inputUnit);
  }
  const int32_t displayUnit = record->displayUnit;
  out.SetDisplayUnit(displayUnit == CalibUnitAngstroms ||
                             displayUnit == CalibUnitMicrons
                         ? CalibUnitNanometers
                         : displayUnit);
  // The order is always written as 1 with nanometre coefficients.
  out.SetPolyUnit(CalibUnitNanometers);
  out.SetPolyOrder(1);
  out.SetLaserLine(record->laserLine);
  out.SetValid(record->valid);
  out.SetOffset(record->offset);
  out.SetFactor(record->factor);
  for (int i = 0; i < 6; ++i) out.SetCoefficient(i, record->coefficients[i]);
  out.SetEnabledCode(record->enabled != 0 ? SpeBlock::kEnabledCode
                                          : SpeBlock::kDisabledCode);
  std::memcpy(out.UnitLabel(), record->unitLabel, SpeBlock::kLabelBytes);
  std::memcpy(out.CalibLabel(), record->calibLabel, SpeBlock::kLabelBytes);

  const DetectorStore* detectors = store.Detectors();
  const DetectorEntry* entry =
      detectors != nullptr ? detectors->ActiveEntry() : nullptr;
  if (entry != nullptr) {
    const size_t regions =
        std::min<size_t>(entry->regions.size(), SpeBlock::kMaxRegions);
    for (size_t k = 0; k < regions; ++k) {
      const RegionEntry& r = entry->regions[k];
      // Not the inverse of the load: start as stored, binning as divisor.
      out.SetRegion(
          static_cast<int>(k),
          {r.startPixel, Wrap(int64_t{r.numGroups} * r.binning), r.binning});
    }
  }

  // The table goes last: nothing can fail after it is allocated, so it is
  // never lost. A negative length hands out no table.
  if (record->table != nullptr && record->tableLength > 0) {
    const auto length = static_cast<size_t>(record->tableLength);
    double* copy = new double[length];
    std::copy_n(record->table, length, copy);
    out.SetTable(copy);
    out.SetTableLength(record->tableLength);
  }
  out.CopyTo(block);
  return result;
}

NqeErrorCode ReleaseSpeTable(void* block, int32_t size) {
  if (size != SpeBlock::kSize) return NqeBadCalibrationSize;
  if (block == nullptr) return NqeNullPointer;
  SpeBlock copy;
  copy.CopyFrom(block);
  delete[] copy.Table();
  auto* bytes = static_cast<unsigned char*>(block);
  std::memset(bytes + KVX_SPE_TABLE, 0, sizeof(double*));
  std::memset(bytes + KVX_SPE_TABLE_LENGTH, 0, sizeof(int32_t));
  return NqeSuccess;
}

}  // namespace kvx
