// Calibration point files: the input after a short header is the file's
// contents, written to a temporary file and read by the four file exports.
// Header: version (int16), segment (int16), maxPoints (int8), mode byte,
// wavelength offset and laser line (doubles).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_input.h"

namespace {

// One file per process, rewritten for every input; in memory (/dev/shm)
// where there is such a folder, so that the disk does not set the pace.
const std::string& Path() {
  static const std::string path = [] {
    for (const char* folder : {"/dev/shm", "/tmp"}) {
      std::string name = std::string(folder) + "/kvx-fuzz-calibfile-XXXXXX";
      const int fd = mkstemp(name.data());
      if (fd < 0) continue;
      close(fd);
      return name;
    }
    return std::string("kvx-fuzz-calibfile.cal");
  }();
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fz::In in(data, size);
  const short version = static_cast<short>(in.I16());
  const KvxLong segment = in.I16(), maxPoints = static_cast<int8_t>(in.U8());
  const KvxLong mode = fz::Mode(in.U8());
  const double offset = in.Real(-10.0, 10.0), laser = in.Real(0.0, 1000.0);
  std::vector<char> contents(in.Left());
  in.Raw(contents.data(), contents.size());
  FILE* f = std::fopen(Path().c_str(), "wb");
  if (f == nullptr) return 0;
  std::fwrite(contents.data(), 1, contents.size(), f);
  std::fclose(f);

  const char* name = Path().c_str();
  KvxLong n = 0;
  CalibGetNumSegments(name, version, &n);
  CalibGetNumPoints(name, version, segment, &n);
  fz::Buf<CalibPoint> points(maxPoints);  // maxPoints elements
  CalibLoadCalibPoints(name, version, segment, points.get(), maxPoints);
  fz::Object h(mode);
  fz::LoadDetector(h, 1024, 26.0);
  CalibLoadCalibFile(h, name, version, segment, offset, laser);
  double v = 0.0;
  CalibPixelToCalibValue(h, 512.0, &v);
  return 0;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::atexit([] { std::remove(Path().c_str()); });
  return 0;
}
