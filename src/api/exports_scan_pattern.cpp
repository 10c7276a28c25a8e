// Exports of the X scan pattern and data-point family: each checks the
// handle and forwards to the object's detector store.
#include <cstdint>

#include "KelvoCalibrate.h"
#include "api/export_frame.h"

extern "C" {

KVX_EXPORT KvxULong KVX_CALL CalibNumberOfX_ROIs(CalibHandle handle,
                                                 KvxLong* count) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        // KvxLong is long on Windows, so the count passes through int32_t.
        int32_t value = 0;
        const NqeErrorCode code =
            o.Detectors().NumberOfRegions(count != nullptr ? &value : nullptr);
        if (code == NqeSuccess) *count = value;
        return code;
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibDisableScanPattern(CalibHandle handle) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        o.Detectors().SetScanState(false);
        return NqeSuccess;
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibEnableScanPattern(CalibHandle handle) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        o.Detectors().SetScanState(true);
        return NqeSuccess;
      }));
}

KVX_EXPORT KvxULong KVX_CALL CalibGetScanState(CalibHandle handle,
                                               KvxLong* state) {
  return kvx::Plain(
      kvx::WithObject(handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        // Refused rather than written through.
        if (state == nullptr) return NqeNullPointer;
        *state = o.Detectors().ScanState() ? 1 : 0;
        return NqeSuccess;
      }));
}

}  // extern "C"

// --- C++ exports (decorated names)
// ---------------------------------------------

KVX_EXPORT NqeErrorCode KVX_CALL CalibAddX_ROI(CalibHandle handle,
                                               X_ROI* region) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed,
      [&](kvx::CalibObject& o) { return o.Detectors().AddRegion16(region); });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibDataPointToPixel(CalibHandle handle,
                                                       double dataPoint,
                                                       double* pixel) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().DataPointToPixel(dataPoint, pixel);
      });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibDeleteScanPattern(CalibHandle handle) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed,
      [&](kvx::CalibObject& o) { return o.Detectors().DeleteScanPattern(); });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibDumpXScanPattern(CalibHandle handle,
                                                       void* regions,
                                                       KvxLong count) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().DumpScanPattern(
            regions, count, kvx::DetectorStore::kRegion16Bytes);
      });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibLoadXScanPattern(CalibHandle handle,
                                                       void* regions,
                                                       KvxLong count) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().LoadScanPattern(
            regions, count, kvx::DetectorStore::kRegion16Bytes);
      });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibPixelToDataPoint(CalibHandle handle,
                                                       double pixel,
                                                       double* dataPoint) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().PixelToDataPoint(pixel, dataPoint);
      });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibRemoveX_ROI(CalibHandle handle,
                                                  KvxLong id) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed,
      [&](kvx::CalibObject& o) { return o.Detectors().RemoveRegion(id); });
}

KVX_EXPORT NqeErrorCode KVX_CALL CalibRetrieveX_ROI(CalibHandle handle,
                                                    KvxLong id, X_ROI* region,
                                                    KvxLong size) {
  return kvx::WithObject(
      handle, NqeDetectorAllocFailed, [&](kvx::CalibObject& o) {
        return o.Detectors().RetrieveRegion(id, region, size);
      });
}

// The check uses nothing of the object's state.
KVX_EXPORT NqeErrorCode KVX_CALL CalibValidateXScanPattern(CalibHandle handle,
                                                           X_ROI* regions,
                                                           KvxLong regionBytes,
                                                           KvxLong count,
                                                           KvxLong numPixels) {
  return kvx::WithObject(handle, NqeDetectorAllocFailed,
                         [&](kvx::CalibObject&) {
                           return kvx::DetectorStore::ValidateRegionArray(
                               regions, regionBytes, count, numPixels);
                         });
}
