// Hardware state that no export reads back: counts, grating positions,
// defaults and the working optics.
#include <utility>

#include "spectrograph/model_fixture.h"

namespace kvx {
namespace {

using kvx_hardware_test::Grating;
using kvx_hardware_test::Spectrograph;
using kvx_hardware_test::Turret;

using Automatic = kvx_test::ExampleModel;

// Kept: counts that a load sets although the list does not follow.
TEST_F(Automatic, CountsOutliveTheirLists) {
  SpectrographModel* m = &model();
  EXPECT_EQ(m->ActiveGrating()->grooveDensity, -1.0);  // a new model's
  ASSERT_EQ(m->SelectSpectrographByIndex(1), NqeSuccess);
  EXPECT_EQ(m->ActiveTurret(), nullptr);  // unlike selection by ID
  TurretRecord t[2] = {Turret(1, 2), Turret(2, 0)};
  ASSERT_EQ(m->LoadTurrets(t, sizeof t, 2), NqeNoGratings);
  EXPECT_EQ(m->ActiveSpectrograph()->numTurrets, 2);
  EXPECT_EQ(m->ActiveSpectrograph()->turrets.size(), 1u);  // the old one
  SpectrographRecord r = Spectrograph(7);
  uint32_t id = 0;
  ASSERT_EQ(m->AddSpectrograph(&r, sizeof r, &id), NqeSuccess);
  ASSERT_EQ(m->LoadSpectrograph(&r, sizeof r), NqeSuccess);  // the first
  EXPECT_EQ(m->Spectrographs().size(), 1u);  // the second was dropped
  EXPECT_EQ(m->NumSpectrographs(), 2);
  EXPECT_EQ(m->SelectSpectrographByIndex(2), NqeBadNumber);
}

// Kept: gratings 1..3 get side-exit copies 4..6; every non-zero position is
// the side exit, yet only position 1 picks the copies.
TEST_F(Automatic, OnlyMirrorPositionOnePicksTheSideExitGratings) {
  SpectrographModel* m = &model();
  const uint32_t mainDetector = object.Detectors().ActiveEntry()->detectorId;
  const uint32_t mainCalibration = object.Calibrations().ActiveNode()->id;
  ASSERT_EQ(m->AddExitMirror(), NqeSuccess);
  EXPECT_EQ(m->ActiveTurret()->gratings.back().position, 2);  // a copy
  const kvx::Spectrograph& s = *m->ActiveSpectrograph();
  TurretRecord t = Turret(1, 3);
  GratingRecord g[3] = {Grating(1), Grating(2), Grating(3)};
  ASSERT_EQ(m->LoadTurrets(&t, sizeof t, 1), NqeSuccess);
  ASSERT_EQ(m->LoadGratings(g, sizeof g, 3), NqeSuccess);
  EXPECT_EQ(m->ActiveTurret()->gratings.size(), 6u);
  const std::pair<int32_t, int32_t> cases[] = {{1, 5}, {2, 2}, {-1, 2}, {0, 2}};
  for (const auto& [position, expected] : cases) {
    ASSERT_EQ(m->SetExitMirrorPosition(position), NqeSuccess);
    (void)m->SelectGrating(2);  // 11002 at the blank side-exit detector
    EXPECT_EQ(m->ActiveGrating()->position, expected) << position;
    EXPECT_EQ(object.Detectors().ActiveEntry()->detectorId,
              position == 0 ? mainDetector : s.sideExitDetectorId);
    EXPECT_EQ(object.Calibrations().ActiveNode()->id,
              position == 0 ? mainCalibration : s.sideExitCalibrationId);
  }
}

}  // namespace
}  // namespace kvx
