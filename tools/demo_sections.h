// The sections of the demo, one file each (tools/demo_*.cpp). Each prints
// its part of the session and returns 0 on success.
#pragma once

#include <string>

#include "KelvoCalibrate.h"

namespace demo {

// Prints "<what> failed with code N" and returns false unless code is 0.
bool Check(KvxULong code, const char* what);

// Sections, in the order main runs them.
int ManualCalibration(const std::string& pointFile);
int AutomaticCalibration();
// Parameters of an automatic object read and written by ID.
int Parameters();

}  // namespace demo
