// The sections of the demo, one file each (tools/demo_*.cpp). Each prints
// its part of the session and returns 0 on success.
#pragma once

#include <string>

#include "KelvoCalibrate.h"

namespace demo {

// Prints "<what> failed with code N" and returns false unless code is 0.
bool Check(KvxULong code, const char* what);

// Loads the example instrument into an automatic object: a 1024 x 26 um
// CCD, a 300 mm spectrograph with a 30 degree inclusion angle and a turret
// of 300, 600 and 1200 g/mm gratings (the turret selected, no grating yet).
bool DescribeInstrument(CalibHandle handle);

// Sections, in the order main runs them.
int ManualCalibration(const std::string& pointFile);
int PeaksAndSpeBlock(const std::string& pointFile);
int AutomaticCalibration();
int DispersionOptimisation();
int SteppedGlue(const std::string& lampFile, const std::string& csvFile);
// Parameters of an automatic object read and written by ID.
int Parameters();
// Lines of a lamp spectrum named and the grating model fitted to them.
int AutomaticLineIdentification(const std::string& spectrumFile);

}  // namespace demo
