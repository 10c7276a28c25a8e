// The numeric steps of the glue: the output point count, the conversion of
// a block's elements to doubles, bin edges, the block's place on the output
// grid, area-weighted rebinning of one frame and the crossfade of one frame
// into the output. They know nothing of records or sessions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "KelvoCalibrate.h"

namespace kvx {

// Largest number of output points (and of grid cells a block may span):
// counts are signed 32-bit values in the interface.
constexpr double kMaxGlueCells = 2147483647.0;

// Number of points from min(start, end) to max(start, end) at `step`.
// 11079 when the step is below 0.0001 (or NaN), when fewer than 2 points
// result, or when the count does not fit a signed 32-bit value; *count is
// written before the checks (0 when it is not representable).
NqeErrorCode ComputeGluePointCount(double start, double end, double step,
                                   int32_t* count);

// True for the element types 1 to 8.
bool IsKnownGlueDataType(int32_t dataType);

// Converts `count` elements of `dataType` at `data` into `out`.
void ConvertToDoubles(const void* data, int32_t dataType, size_t count,
                      double* out);

// Reverses each of `frames` frames of `points` values in place.
void ReverseFrames(double* values, size_t frames, size_t points);

// Bin edges of n >= 2 X values: n + 1 edges, the outer two extrapolated by
// half a point spacing.
void BuildEdges(const double* x, size_t n, double* edges);

// Where a block with ascending edges lo..hi lands on the output grid
// (point j at start + j * step, ascending): x0 is the grid position of the
// block's first cell and m its number of cells; k is the output index of
// that first cell as the merge computes it back from x0, skip the cells
// before the output, and count the cells merged (0: none).
struct GluePlacement {
  double x0 = 0.0;
  int64_t m = 0;
  int64_t k = 0;
  int64_t skip = 0;
  int64_t count = 0;
};

// Fills `placement` for output of `points` points; 11077 when the block
// spans more cells than a signed 32-bit count can hold.
NqeErrorCode PlaceBlock(double lo, double hi, double start, double step,
                        int32_t points, GluePlacement* placement);

// Area-weighted average of the n bins (edges[i]..edges[i+1], value v[i])
// over grid cells first .. first + count - 1 of a grid whose cell j is
// centred on x0 + j * step; edges ascend strictly. Writes count values.
void ResampleFrame(const double* edges, const double* v, size_t n, double x0,
                   double step, int64_t first, int64_t count, double* out);

// Output frame seen in ascending grid order: element o is base[o * stride].
struct GlueFrameView {
  double* base;
  ptrdiff_t stride;
  double& operator[](int64_t o) const { return base[o * stride]; }
};

// Blends `placement.count` resampled values r[0..] (grid cells skip..) into
// one output frame against the coverage `counts`.
void MergeFrame(const double* r, const GluePlacement& placement,
                const int32_t* counts, GlueFrameView out);

// Marks the block's points as covered (after its last frame was merged).
void UpdateCoverage(const GluePlacement& placement, int32_t points,
                    int32_t* counts);

}  // namespace kvx
