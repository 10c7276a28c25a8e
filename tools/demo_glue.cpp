// Stepped acquisition: a range wider than the detector is split into grating
// steps, a spectrum of a mercury-neon lamp is simulated at each step from
// the grating model's axis, and the steps are glued block by block onto one
// 0.125 nm axis, written as CSV. A peak search on the glued spectrum then
// finds the lamp lines again where they belong.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "KelvoCalibrate.h"
#include "demo_sections.h"

namespace demo {

namespace {

constexpr double kStart = 540.0;  // nm
constexpr double kEnd = 760.0;    // nm
constexpr double kOverlap = 5.0;  // nm shared by neighbouring steps
// nm between points of the glued axis. A binary fraction: the glue places a
// block by dividing its first grid position by the step, and with steps
// such as 0.1 that division can land one cell short.
constexpr double kGlueStep = 0.125;
constexpr double kLineWidth = 0.25;  // nm, Gaussian sigma of the slit image
constexpr KvxLong kGrating1200 = 3;  // position of 1200 g/mm on the turret

struct Line {
  std::string element;
  double wavelength;
  double intensity;
};

// The mercury and neon lines of the shipped lamp table inside the range.
std::vector<Line> LampLines(const std::string& file) {
  std::vector<Line> lines;
  std::ifstream in(file);
  std::string row;
  while (std::getline(in, row)) {
    if (row.empty() || row[0] == '#' || row.rfind("element", 0) == 0) continue;
    std::istringstream fields(row);
    Line line;
    std::string wavelength, intensity;
    std::getline(fields, line.element, ',');
    std::getline(fields, wavelength, ',');
    std::getline(fields, intensity, ',');
    line.wavelength = std::strtod(wavelength.c_str(), nullptr);
    line.intensity = std::strtod(intensity.c_str(), nullptr);
    if ((line.element == "Hg I" || line.element == "Ne I") &&
        line.wavelength > kStart && line.wavelength < kEnd) {
      lines.push_back(line);
    }
  }
  return lines;
}

// Counts a CCD would read at wavelength x: lines over a weak continuum,
// times the step's own gain (each step sees the lamp a little differently,
// which the crossfade of the glue smooths over), with Poisson-like noise.
double Counts(const std::vector<Line>& lines, double x, double gain,
              std::mt19937& random) {
  double signal = 40.0;
  for (const Line& line : lines) {
    const double z = (x - line.wavelength) / kLineWidth;
    signal += 2000.0 * line.intensity * std::exp(-0.5 * z * z);
  }
  std::normal_distribution<double> noise(0.0, std::sqrt(signal));
  return gain * (signal + noise(random));
}

}  // namespace

int SteppedGlue(const std::string& lampFile, const std::string& csvFile) {
  const std::vector<Line> lines = LampLines(lampFile);
  CalibHandle handle = 0;
  if (!Check(CalibCreate(CalibModeAutomatic, &handle), "CalibCreate")) {
    return 1;
  }
  KvxLong steps = 0;
  bool ok =
      DescribeInstrument(handle) &&
      Check(CalibSelectGrating(handle, kGrating1200), "CalibSelectGrating") &&
      Check(CalibGetNumberSteps(handle, kStart, kEnd, kOverlap, &steps),
            "CalibGetNumberSteps");
  std::vector<double> centers(static_cast<size_t>(std::max<KvxLong>(steps, 0)));
  ok = ok &&
       Check(CalibGetStepCenterValues(handle, steps, centers.data()),
             "CalibGetStepCenterValues") &&
       Check(CalibSetDoubleParam(handle, CalibParamGlueStep, kGlueStep),
             "glue step");
  if (!ok) {
    CalibDestroy(handle);
    return 1;
  }
  std::printf(
      "1200 g/mm grating, %.0f-%.0f nm in %ld steps with %.0f nm overlap; "
      "%zu Hg and Ne lines of %s\n",
      kStart, kEnd, static_cast<long>(steps), kOverlap, lines.size(),
      lampFile.c_str());

  // Each step: set the grating, take the detector's axis from the model,
  // simulate the spectrum there.
  std::mt19937 random(546);
  std::vector<std::vector<double>> axes, spectra;
  for (KvxLong i = 0; i < steps; ++i) {
    std::vector<double> axis(1024), counts(1024);
    if (!Check(CalibSetCenterWavelength(handle, centers[i]),
               "CalibSetCenterWavelength") ||
        !Check(CalibCalcCalibPixelArray(handle, 1024, axis.data()),
               "CalibCalcCalibPixelArray")) {
      CalibDestroy(handle);
      return 1;
    }
    const double gain = 1.0 + 0.04 * static_cast<double>(i % 3);
    for (size_t k = 0; k < axis.size(); ++k) {
      counts[k] = Counts(lines, axis[k], gain, random);
    }
    std::printf(
        "  step %ld: center %8.3f nm, pixels 1-1024 cover %8.3f - %8.3f nm, "
        "gain %.2f\n",
        static_cast<long>(i + 1), centers[i], axis.front(), axis.back(), gain);
    axes.push_back(std::move(axis));
    spectra.push_back(std::move(counts));
  }

  // The glue: the output is prepared from the inputs, then the steps are
  // merged one by one as they would arrive from the camera.
  std::vector<GlueSpectrum> inputs(spectra.size());
  for (size_t i = 0; i < spectra.size(); ++i) {
    inputs[i] = GlueSpectrum{spectra[i].data(), 1024, 1,       5, 1,
                             axes[i].data(),    0,    nullptr, 0};
  }
  GlueSpectrum output{};
  if (!Check(CalibValidateGlue(handle, inputs.data(),
                               static_cast<KvxLong>(inputs.size()), &output),
             "CalibValidateGlue") ||
      !Check(CalibInitIncStepAndGlue(handle, &output, 1),
             "CalibInitIncStepAndGlue")) {
    CalibDestroy(handle);
    return 1;
  }
  std::vector<double> glued(static_cast<size_t>(output.numPoints));
  std::vector<double> x(static_cast<size_t>(output.numPoints));
  output.data = glued.data();
  output.xValues = x.data();
  for (GlueSpectrum& input : inputs) {
    if (!Check(CalibGlueIncInput(handle, &output, &input),
               "CalibGlueIncInput")) {
      CalibDestroy(handle);
      return 1;
    }
  }
  Check(CalibCleanupIncGlue(handle), "CalibCleanupIncGlue");
  // The incremental glue does not write the output axis: it is the glue
  // range at the glue step.
  for (size_t k = 0; k < x.size(); ++k) {
    x[k] = kStart + kGlueStep * static_cast<double>(k);
  }
  CalibDestroy(handle);

  std::ofstream csv(csvFile);
  csv << "wavelength_nm,counts\n";
  for (size_t k = 0; k < x.size(); ++k) {
    csv << x[k] << ',' << glued[k] << '\n';
  }
  std::printf(
      "Glued spectrum: %ld points, %.1f - %.1f nm every %.3f nm, written to "
      "%s\n",
      static_cast<long>(output.numPoints), x.front(), x.back(), kGlueStep,
      csvFile.c_str());

  // The lines found again in the glued spectrum (a manual object: the
  // positions are data points, mapped to nm through the glued axis).
  CalibHandle search = 0;
  if (!Check(CalibCreate(CalibModeManual, &search), "CalibCreate")) return 1;
  SpectrumData spectrum{};
  spectrum.data = glued.data();
  spectrum.count = output.numPoints;
  spectrum.dataType = 5;
  constexpr KvxLong kMaxPeaks = 8;
  double positions[kMaxPeaks] = {}, values[kMaxPeaks] = {};
  KvxLong found = 0;
  Check(CalibFindPeaks(search, &spectrum, positions, values, kMaxPeaks, &found),
        "CalibFindPeaks");
  CalibDestroy(search);
  std::printf("  %ld peaks; the %ld strongest against the lamp table:\n",
              static_cast<long>(found), static_cast<long>(kMaxPeaks));
  std::printf("    peak nm   nearest line        residual nm\n");
  for (double position : positions) {
    if (position < 1.0) continue;
    const double nm = kStart + kGlueStep * (position - 1.0);
    const Line* nearest = &lines.front();
    for (const Line& line : lines) {
      if (std::fabs(line.wavelength - nm) <
          std::fabs(nearest->wavelength - nm)) {
        nearest = &line;
      }
    }
    std::printf("   %8.3f   %-5s %9.4f     %+8.4f\n", nm,
                nearest->element.c_str(), nearest->wavelength,
                nm - nearest->wavelength);
  }
  return 0;
}

}  // namespace demo
