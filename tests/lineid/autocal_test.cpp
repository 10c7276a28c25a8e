// Automatic calibration from synthetic lamp spectra (tests/support/
// lamp_spectrum.h), as a host drives it through the extension exports.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "support/lamp_spectrum.h"
#include "support/test_handle.h"

namespace {

using kvx_test::LampSpectrum;
using kvx_test::Optics;

std::vector<KvxLampLine> Lamp(const char* elements) {
  KvxLong count = 0;
  EXPECT_EQ(KvxGetLampLines(nullptr, elements, nullptr, 0, &count), 0u);
  std::vector<KvxLampLine> lines(static_cast<size_t>(count));
  EXPECT_EQ(KvxGetLampLines(nullptr, elements, lines.data(), count, &count), 0u);
  return lines;
}

// An automatic handle set up with the nominal example instrument.
struct Instrument : kvx_test::Handle {
  explicit Instrument(const Optics& o = Optics{}) : Handle(CalibModeAutomatic) {
    DetectorRecord d{};
    d.numPixels = o.pixels;
    d.pixelSize = o.pixelUm;
    EXPECT_EQ(CalibLoadDetector(*this, &d, sizeof d), 0u);
    SpectrographRecord s{1, 1, 1, {}, {}, o.focal, o.inclusion, o.detector, 1.0};
    TurretRecord t{0, 1, {}, 1};
    GratingRecord g{};
    g.gratingId = 1;
    g.grooveDensity = o.grooves;
    g.pixelWidth = o.pixelUm;
    EXPECT_EQ(CalibLoadSpectrograph(*this, &s, sizeof s) +
                  CalibLoadTurrets(*this, &t, sizeof t, 1) +
                  CalibLoadGratings(*this, &g, sizeof g, 1) +
                  CalibSelectGrating(*this, 1),
              0u);
  }
};

struct Outcome {
  KvxULong code = 0;
  KvxAutocalResult result{};
  std::vector<KvxAutocalSpectrum> spectra;
  std::vector<KvxIdentifiedLine> lines;
};

Outcome Calibrate(CalibHandle h, const std::vector<const LampSpectrum*>& spectra,
              const std::vector<double>& centers,
              const std::vector<KvxLampLine>& lamp) {
  Outcome run;
  for (size_t j = 0; j < spectra.size(); ++j) {
    KvxAutocalSpectrum s{};
    s.counts = spectra[j]->counts.data();
    s.count = static_cast<KvxLong>(spectra[j]->counts.size());
    s.center = centers[j];
    run.spectra.push_back(s);
  }
  run.lines.resize(200);
  run.code = KvxAutoCalibrate(h, run.spectra.data(), static_cast<KvxLong>(spectra.size()),
                              lamp.data(), static_cast<KvxLong>(lamp.size()), nullptr,
                              &run.result, run.lines.data(), 200);
  run.lines.resize(run.code == 0 ? static_cast<size_t>(run.result.lineCount) : 0);
  return run;
}

// A line of the list that the spectrum shows clearly: inside the detector,
// above 3 % of the strongest line and 20 noise widths, with no other line
// within two FWHM and no line of the list (shown or not) of a hundredth of
// its strength within the blend distance (2.5 px and 5 %).
bool Identifiable(const LampSpectrum& s, const kvx_test::TrueLine& l,
                  const std::vector<KvxLampLine>& lamp) {
  double strongest = 0;
  for (const auto& o : s.lines) strongest = std::max(strongest, o.amplitude);
  if (l.listIndex < 0 || l.pixel < 5 || l.pixel > s.truth.pixels - 4 ||
      l.amplitude < 0.03 * strongest || l.amplitude < 20 * std::sqrt(300.0)) {
    return false;
  }
  for (const auto& o : s.lines) {
    if (&o != &l && std::fabs(o.pixel - l.pixel) < 2 * s.fwhm) return false;
  }
  for (const KvxLampLine& o : lamp) {
    const double p = kvx_test::TruePixel(s.truth, s.trueCenter, o.wavelength);
    if (o.wavelength != lamp[l.listIndex].wavelength && std::fabs(p - l.pixel) < 2.5 * 1.05 &&
        o.intensity >= 0.01 * lamp[l.listIndex].intensity) {
      return false;
    }
  }
  return true;
}

struct LampCase {
  const char* elements;
  double center;
};

class Identification : public ::testing::TestWithParam<LampCase> {};

// Over 50 seeds: at least 95 % of the identifiable lines named correctly,
// no line named wrongly, and the fitted axis within 0.1 pixel of the truth
// at every pixel.
TEST_P(Identification, NamesTheLinesOfManySeedsWithoutAWrongOne) {
  const LampCase& c = GetParam();
  const std::vector<KvxLampLine> lamp = Lamp(c.elements);
  Instrument h;
  int identifiable = 0, named = 0, wrong = 0;
  double worstAxis = 0;
  for (unsigned seed = 1; seed <= 50; ++seed) {
    const LampSpectrum s = kvx_test::MakeLampSpectrum(Optics{}, c.center, lamp, seed);
    const Outcome run = Calibrate(h, {&s}, {c.center}, lamp);
    ASSERT_EQ(run.code, 0u) << "seed " << seed;
    for (const auto& l : s.lines) {
      if (!Identifiable(s, l, lamp)) continue;
      ++identifiable;
      for (const KvxIdentifiedLine& n : run.lines) {
        named += n.wavelength == lamp[l.listIndex].wavelength && std::fabs(n.pixel - l.pixel) < 1;
      }
    }
    for (const KvxIdentifiedLine& n : run.lines) {
      bool right = false;
      for (const auto& l : s.lines) {
        right |= l.listIndex >= 0 && lamp[l.listIndex].wavelength == n.wavelength &&
                 std::fabs(n.pixel - l.pixel) < 1;
      }
      wrong += !right;
    }
    std::vector<double> axis(s.counts.size());
    ASSERT_EQ(KvxAutocalWavelengths(h, &run.result, run.spectra[0].fittedCenter, axis.data(),
                                    static_cast<KvxLong>(axis.size())),
              0u);
    const double perPixel = std::fabs(kvx_test::TrueWavelength(s.truth, s.trueCenter, 1025) -
                                      kvx_test::TrueWavelength(s.truth, s.trueCenter, 1024));
    for (size_t k = 0; k < axis.size(); ++k) {
      const double truth = kvx_test::TrueWavelength(s.truth, s.trueCenter, k + 1.0);
      worstAxis = std::max(worstAxis, std::fabs(axis[k] - truth) / perPixel);
    }
  }
  std::printf("%s at %.0f nm: %d of %d identifiable lines named, %d wrong, axis within %.4f px\n",
              c.elements, c.center, named, identifiable, wrong, worstAxis);
  EXPECT_GE(named, 0.95 * identifiable);
  EXPECT_EQ(wrong, 0);
  EXPECT_LT(worstAxis, 0.1);
}

INSTANTIATE_TEST_SUITE_P(Lamps, Identification,
                         ::testing::Values(LampCase{"Ne", 650}, LampCase{"Ne", 720},
                                           LampCase{"Hg,Ar", 560}, LampCase{"Hg+Ar", 700},
                                           LampCase{"Kr", 700}, LampCase{"Kr", 800}),
                         [](const auto& info) {
                           std::string name = info.param.elements;
                           name.erase(std::remove_if(name.begin(), name.end(),
                                                     [](char ch) { return !std::isalnum(ch); }),
                                      name.end());
                           return name + std::to_string(static_cast<int>(info.param.center));
                         });

}  // namespace
