#include "calibration/calibration_store.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "common/ids.h"

namespace kvx {

namespace {

constexpr int32_t kRecordSize = static_cast<int32_t>(sizeof(CalibrationRecord));
constexpr char kDefaultUnitLabel[] = "Wavelength, nm";

}  // namespace

CalibrationStore::CalibrationStore() {
  CalibrationNode* node = CreateNode(true);
  // A store always starts with an active calibration; without memory for it
  // the object cannot be built at all.
  if (node == nullptr) throw std::bad_alloc();
  SetActive(node);
}

CalibrationStore::~CalibrationStore() { ClearAllCalibrations(); }

void CalibrationStore::DefaultRecord(CalibrationRecord* record) {
  std::memset(record, 0, sizeof *record);
  for (int i = 0; i < 10; ++i) {
    record->pointPosition[i] = -1.0;
    record->pointValue[i] = -1.0;
  }
  record->enabled = 1;
  record->inputUnit = CalibUnitNanometers;
  record->displayUnit = CalibUnitNanometers;
  std::memcpy(record->unitLabel, kDefaultUnitLabel, sizeof kDefaultUnitLabel);
}

NqeErrorCode CalibrationStore::InitializeCalibration(void* record,
                                                     int32_t size) {
  if (record == nullptr) return NqeNullPointer;
  if (size != kRecordSize) return NqeBadCalibrationSize;
  DefaultRecord(static_cast<CalibrationRecord*>(record));
  return NqeSuccess;
}

// --- nodes and the active calibration ----------------------------------------

CalibrationNode* CalibrationStore::CreateNode(bool initialNode) {
  auto record =
      std::unique_ptr<CalibrationRecord>(new (std::nothrow) CalibrationRecord);
  if (!record) return nullptr;
  DefaultRecord(record.get());
  try {
    nodes_.emplace_back();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  CalibrationNode& node = nodes_.back();
  node.id = NextObjectId();
  node.initialNode = initialNode ? 1 : 0;
  node.record = std::move(record);
  ++count_;
  return &node;
}

CalibrationNode* CalibrationStore::FindNode(uint32_t id) {
  for (CalibrationNode& node : nodes_) {
    if (node.id == id) return &node;
  }
  return nullptr;
}

void CalibrationStore::SetActive(CalibrationNode* node) {
  activeNode_ = node;
  activeRecord_ = node != nullptr ? node->record.get() : nullptr;
  // A retired record is kept only while it is the cached active record.
  if (retired_ && retired_.get() != activeRecord_) retired_.reset();
}

NqeErrorCode CalibrationStore::GetActiveCalibrationId(uint32_t* id) const {
  if (id == nullptr) return NqeNullPointer;
  if (activeNode_ == nullptr) {
    *id = 0;
    return NqeInvalidCalibration;
  }
  *id = activeNode_->id;
  return NqeSuccess;
}

NqeErrorCode CalibrationStore::SetActiveCalibrationId(uint32_t id) {
  CalibrationNode* node = FindNode(id);
  if (node == nullptr) return NqeCalibrationNotFound;
  SetActive(node);
  return NqeSuccess;
}

// --- the table pool ----------------------------------------------------------

std::unique_ptr<double[]> CalibrationStore::DuplicateTable(
    const CalibrationRecord& record) {
  if (record.table == nullptr || record.tableLength <= 0) return nullptr;
  const auto length = static_cast<size_t>(record.tableLength);
  std::unique_ptr<double[]> copy(new double[length]);
  std::copy_n(record.table, length, copy.get());
  return copy;
}

void CalibrationStore::ReserveTableSlot() {
  tables_.reserve(tables_.size() + 1);
}

void CalibrationStore::KeepTable(std::unique_ptr<double[]> table,
                                 CalibrationRecord* record) {
  if (!table) return;
  record->table = table.get();
  tables_.push_back(std::move(table));
}

// --- load, dump, add, replace -----------------------------------------------

NqeErrorCode CalibrationStore::LoadCalibration(void* record, int32_t size) {
  auto* source = static_cast<CalibrationRecord*>(record);
  const NqeErrorCode validated = Validate(source, size, true, true);
  if (validated != NqeSuccess) return validated;
  if (size != kRecordSize) return NqeBadCalibrationSize;
  // Only reachable once the only calibration was removed and then selected
  // again: there is no record to load into.
  if (activeRecord_ == nullptr) return NqeNullPointer;
  // The old record's table stays in the pool: a pointer dumped earlier may
  // still be in the host's hands.
  ReplaceActiveRecord(*source);
  return NqeSuccess;
}

NqeErrorCode CalibrationStore::DumpCalibration(void* record,
                                               int32_t size) const {
  if (size != kRecordSize) return NqeBadCalibrationSize;
  if (record == nullptr) return NqeNullPointer;
  // No record to copy once the only calibration was removed and selected.
  if (activeRecord_ == nullptr) return NqeNullPointer;
  // The table pointer handed out is the store's copy.
  std::memcpy(record, activeRecord_, sizeof *activeRecord_);
  return NqeSuccess;
}

NqeErrorCode CalibrationStore::AddCalibration(void* record, int32_t size,
                                              uint32_t* newId) {
  if (newId == nullptr) return NqeNullPointer;
  auto* source = static_cast<CalibrationRecord*>(record);
  const NqeErrorCode validated = Validate(source, size, true, true);
  if (validated != NqeSuccess) {
    *newId = 0;
    return validated;
  }
  // Validation leaves size 0 or 528. Size 0 copies nothing, so the new
  // calibration keeps the default record.
  const bool copyRecord = size == kRecordSize;
  std::unique_ptr<double[]> table;
  if (copyRecord) table = DuplicateTable(*source);
  ReserveTableSlot();

  CalibrationNode* node = CreateNode(false);
  if (node == nullptr) {
    *newId = 0;
    return NqeInvalidHandle;
  }
  CalibrationNode* remembered = activeNode_;
  SetActive(node);
  if (copyRecord) {
    std::memcpy(node->record.get(), source, sizeof(CalibrationRecord));
    KeepTable(std::move(table), node->record.get());
  }
  if (remembered != nullptr) SetActive(remembered);
  *newId = node->id;
  return NqeSuccess;
}

void CalibrationStore::ReplaceActiveRecord(const CalibrationRecord& source) {
  if (activeRecord_ == nullptr) return;
  // Everything that can fail happens before the active record changes.
  std::unique_ptr<double[]> table = DuplicateTable(source);
  ReserveTableSlot();
  CalibrationRecord copy = source;
  KeepTable(std::move(table), &copy);
  *activeRecord_ = copy;
}

// --- removal -----------------------------------------------------------------

NqeErrorCode CalibrationStore::RemoveCalibrationId(uint32_t id) {
  auto it = std::find_if(nodes_.begin(), nodes_.end(),
                         [id](const CalibrationNode& n) { return n.id == id; });
  if (it == nodes_.end()) return NqeSuccess;

  // The record goes; its table stays in the pool. The cached active record
  // keeps designating it, so while it does the record is only retired.
  if (it->record && it->record.get() == activeRecord_) {
    retired_ = std::move(it->record);
  } else {
    it->record.reset();
  }
  const bool wasActive = &*it == activeNode_;
  bool linkHoldsNode = true;  // the only node stays in the list
  if (count_ > 1) {
    linkHoldsNode = std::next(it) != nodes_.end();
    nodes_.erase(it);
    --count_;
  }
  if (wasActive) activeNode_ = nodes_.empty() ? nullptr : &nodes_.front();
  // Only the removal of the last node of a longer list reports success;
  // every other removal reports 11023 although it happened. Hosts rely on
  // these results, so they are kept.
  return linkHoldsNode ? NqeCalibrationNotFound : NqeSuccess;
}

void CalibrationStore::ClearAllCalibrations() {
  nodes_.clear();
  count_ = 0;
  activeNode_ = nullptr;
  activeRecord_ = nullptr;
  retired_.reset();
  tables_.clear();
}

}  // namespace kvx
