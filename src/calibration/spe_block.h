// The SPE calibration block: a 504-byte exchange form of one calibration and
// the X regions of interest of the active detector. Its two labels sit at odd
// offsets, so the block is kept as bytes and read through typed accessors.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "KelvoCalibrate.h"

namespace kvx {

class CalibrationStore;

class SpeBlock {
 public:
  static constexpr int32_t kSize =
      static_cast<int32_t>(sizeof(SpeCalibrationBlock));
  static constexpr int kMaxPoints = 10;
  static constexpr int kMaxRegions = 10;
  static constexpr int kLabelBytes = 40;
  static constexpr int32_t kEnabledCode = 2;
  static constexpr int32_t kDisabledCode = 3;

  struct Region {
    int32_t start = 0;
    int32_t width = 0;
    int32_t divisor = 0;
  };

  SpeBlock() { bytes_.fill(0); }
  void CopyFrom(const void* block) {
    std::memcpy(bytes_.data(), block, bytes_.size());
  }
  void CopyTo(void* block) const {
    std::memcpy(block, bytes_.data(), bytes_.size());
  }

  double Offset() const { return Get<double>(KVX_SPE_OFFSET); }
  void SetOffset(double v) { Set(KVX_SPE_OFFSET, v); }
  double Factor() const { return Get<double>(KVX_SPE_FACTOR); }
  void SetFactor(double v) { Set(KVX_SPE_FACTOR, v); }
  int32_t DisplayUnit() const { return Get<int32_t>(KVX_SPE_DISPLAY_UNIT); }
  void SetDisplayUnit(int32_t v) { Set(KVX_SPE_DISPLAY_UNIT, v); }
  double* Table() const { return Get<double*>(KVX_SPE_TABLE); }
  void SetTable(double* v) { Set(KVX_SPE_TABLE, v); }
  int32_t TableLength() const { return Get<int32_t>(KVX_SPE_TABLE_LENGTH); }
  void SetTableLength(int32_t v) { Set(KVX_SPE_TABLE_LENGTH, v); }
  unsigned char Valid() const { return bytes_[KVX_SPE_VALID]; }
  void SetValid(unsigned char v) { bytes_[KVX_SPE_VALID] = v; }
  int32_t InputUnit() const { return Get<int32_t>(KVX_SPE_INPUT_UNIT); }
  void SetInputUnit(int32_t v) { Set(KVX_SPE_INPUT_UNIT, v); }
  void SetPolyUnit(int32_t v) { Set(KVX_SPE_POLY_UNIT, v); }
  void SetPolyOrder(int8_t v) { Set(KVX_SPE_POLY_ORDER, v); }
  int8_t PointCount() const { return Get<int8_t>(KVX_SPE_POINT_COUNT); }
  void SetPointCount(int8_t v) { Set(KVX_SPE_POINT_COUNT, v); }
  double PointPosition(int i) const {
    return Get<double>(KVX_SPE_POINT_POSITION + 8 * i);
  }
  void SetPointPosition(int i, double v) {
    Set(KVX_SPE_POINT_POSITION + 8 * i, v);
  }
  double PointValue(int i) const {
    return Get<double>(KVX_SPE_POINT_VALUE + 8 * i);
  }
  void SetPointValue(int i, double v) { Set(KVX_SPE_POINT_VALUE + 8 * i, v); }
  double Coefficient(int i) const {
    return Get<double>(KVX_SPE_COEFFICIENTS + 8 * i);
  }
  void SetCoefficient(int i, double v) { Set(KVX_SPE_COEFFICIENTS + 8 * i, v); }
  double LaserLine() const { return Get<double>(KVX_SPE_LASER_LINE); }
  void SetLaserLine(double v) { Set(KVX_SPE_LASER_LINE, v); }
  int32_t EnabledCode() const { return Get<int32_t>(KVX_SPE_ENABLED_CODE); }
  void SetEnabledCode(int32_t v) { Set(KVX_SPE_ENABLED_CODE, v); }
  const unsigned char* UnitLabel() const {
    return bytes_.data() + KVX_SPE_UNIT_LABEL;
  }
  unsigned char* UnitLabel() { return bytes_.data() + KVX_SPE_UNIT_LABEL; }
  const unsigned char* CalibLabel() const {
    return bytes_.data() + KVX_SPE_CALIB_LABEL;
  }
  unsigned char* CalibLabel() { return bytes_.data() + KVX_SPE_CALIB_LABEL; }
  Region RegionAt(int k) const {
    const int base = KVX_SPE_REGIONS + 12 * k;
    return {Get<int32_t>(base), Get<int32_t>(base + 4), Get<int32_t>(base + 8)};
  }
  void SetRegion(int k, const Region& r) {
    const int base = KVX_SPE_REGIONS + 12 * k;
    Set(base, r.start);
    Set(base + 4, r.width);
    Set(base + 8, r.divisor);
  }

 private:
  template <class T>
  T Get(int offset) const {
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof value);
    return value;
  }
  template <class T>
  void Set(int offset, T value) {
    std::memcpy(bytes_.data() + offset, &value, sizeof value);
  }

  std::array<unsigned char, sizeof(SpeCalibrationBlock)> bytes_;
};

// Makes the block the active calibration and the active detector's X scan
// pattern. On any failure the calibration and the old scan pattern stay.
NqeErrorCode LoadSpeCalibration(CalibrationStore& store, const void* block,
                                int32_t size);
// Fills the block from the active calibration and scan pattern. A table is
// handed out as a new array that the host releases with
// ReleaseSpeTable (KvxFreeSPECalibrationTable).
NqeErrorCode DumpSpeCalibration(const CalibrationStore& store, void* block,
                                int32_t size);
// Releases a table handed out by a dump and clears its pointer and length.
NqeErrorCode ReleaseSpeTable(void* block, int32_t size);

}  // namespace kvx
