// Shared by the fuzz targets: a sequential reader of the input, buffers of
// exactly the size a host declares, and calibration objects that live for
// one input.
//
// The targets act as a host would: every pointer handed to the module points
// at a real buffer of the size the interface documents for it (a record's
// size, count elements of an array, the length of a text), and that buffer
// is allocated with exactly that size so that any read or write beyond it
// is caught. Records themselves are raw bytes of the input, pointer members
// aside.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "KelvoCalibrate.h"

namespace fz {

// Reads the input front to back; past its end every read gives zeros, so
// any input is a complete description.
class In {
 public:
  In(const uint8_t* data, size_t size) : p_(data), n_(size) {}
  bool Empty() const { return n_ == 0; }
  size_t Left() const { return n_; }
  void Raw(void* out, size_t k) {
    const size_t t = std::min(k, n_);
    if (t != 0) std::memcpy(out, p_, t);
    if (k > t) std::memset(static_cast<char*>(out) + t, 0, k - t);
    p_ += t;
    n_ -= t;
  }
  template <class T>
  T Get() {
    T v;
    Raw(&v, sizeof v);
    return v;
  }
  uint8_t U8() { return Get<uint8_t>(); }
  KvxLong I32() { return Get<int32_t>(); }
  KvxLong I16() { return Get<int16_t>(); }  // counts: -32768..32767
  double F64() { return Get<double>(); }
  // Mostly a value in [lo, hi] (16 bits of the input), now and then any
  // double: NaN, infinities, extremes.
  double Real(double lo, double hi) {
    if (U8() >= 224) return F64();
    return lo + (hi - lo) * Get<uint16_t>() / 65535.0;
  }
  // The rest of the input up to a NUL (or its end), as a C string.
  std::vector<char> Text(size_t max) {
    std::vector<char> s;
    while (n_ != 0 && s.size() < max) {
      const char c = static_cast<char>(U8());
      if (c == '\0') break;
      s.push_back(c);
    }
    s.push_back('\0');
    return s;
  }

 private:
  const uint8_t* p_;
  size_t n_;
};

// A heap buffer of exactly n elements (n <= 0: an empty allocation, so that
// any access is reported). Elements are taken from the input.
template <class T>
struct Buf {
  std::unique_ptr<T[]> p;
  size_t n;
  explicit Buf(long count) : n(count > 0 ? size_t(count) : 0) {
    p.reset(new T[n]());
  }
  Buf(long count, In& in) : Buf(count) { in.Raw(p.get(), n * sizeof(T)); }
  T* get() const { return p.get(); }
};

// A calibration object for the length of one input: destroyed afterwards so
// that the module's 255 slots never run out between inputs.
struct Object {
  CalibHandle h = 255;  // slot 255 is never a live object
  explicit Object(KvxLong mode) { CalibCreate(mode, &h); }
  ~Object() { CalibDestroy(h); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  operator CalibHandle() const { return h; }
};

// A detector of `pixels` pixels of `pixelSize` um, and for an automatic
// object a 300 mm spectrograph with one turret of a 1200 and a 600 g/mm
// grating, the first selected: the starting point most targets share.
inline void LoadDetector(CalibHandle h, KvxLong pixels, double pixelSize) {
  DetectorRecord d{};
  d.numPixels = pixels;
  d.pixelSize = pixelSize;
  CalibLoadDetector(h, &d, sizeof d);
}

inline void LoadModel(CalibHandle h) {
  SpectrographRecord s{};
  s.spectrographId = 1;
  s.numTurrets = 1;
  s.numGratings = 2;
  s.focalLength = 300.0;
  s.inclusionAngle = 30.0;
  s.scaleFactor = 1.0;
  TurretRecord t{};
  t.turretId = 1;
  t.numGratings = 2;
  GratingRecord g[2] = {};
  g[0].gratingId = 1;
  g[0].grooveDensity = 1200.0;
  g[1].gratingId = 2;
  g[1].grooveDensity = 600.0;
  CalibLoadSpectrograph(h, &s, sizeof s);
  CalibLoadTurrets(h, &t, sizeof t, 1);
  CalibLoadGratings(h, g, sizeof g, 2);
  CalibSetGratingByIndexNum(h, 1, 1);
}

// Validating a calibration checks it pixel by pixel, one evaluation per
// pixel of the active detector: a detector of 10^9 pixels (a record, a
// parameter or an SPE region can declare one) makes every later validation
// take seconds. Real detectors have at most some 10^5 pixels, so after each
// call the targets that validate bring a larger active detector back to
// 2^20 pixels; the call that declared it still ran with it.
inline void BoundPixels(CalibHandle h) {
  KvxLong n = 0;
  if (CalibGetIntParam(h, CalibParamNumPixels, &n) == NqeSuccess &&
      (n > (1 << 20) || n < -(1 << 20)))
    CalibSetIntParam(h, CalibParamNumPixels, 1 << 20);
}

// Mode from one byte: mostly manual or automatic, now and then another
// value (refused with 11068, the handle still to be destroyed).
inline KvxLong Mode(uint8_t b) { return b < 250 ? (b & 1) : KvxLong(b) - 250; }

}  // namespace fz
