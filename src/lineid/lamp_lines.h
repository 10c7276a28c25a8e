// Emission-line lists of calibration lamps: the list built into the module
// (examples/lamp-lines.csv, compiled in), a user's list in the same CSV
// format, and the selection of a lamp's elements from a list.
#pragma once

#include <string_view>
#include <vector>

#include "KelvoCalibrate.h"

namespace kvx {

inline constexpr int kElementChars = 8;  // element symbol with its NUL

struct LampLine {
  double wavelength = 0.0;           // nm, in air
  double intensity = 0.0;            // relative, for ranking lines only
  char element[kElementChars] = {};  // "Ne", "Hg", ...: the list's first word
};

// The text of the built-in list.
std::string_view BuiltInLampLineText();

// Reads "element,air_wavelength_nm,relative_intensity" rows; lines starting
// with '#', blank lines and a header row (a row whose wavelength is not a
// number, first of the data) are skipped. The element is the first word of
// the first column ("Hg I" -> "Hg"). 11122 for a malformed row (missing
// column, wavelength not positive, element longer than 7 characters) or a
// list without any line.
NqeErrorCode ParseLampLines(std::string_view text, std::vector<LampLine>* out);

// The same from a file; 11122 also when the file cannot be read.
NqeErrorCode ReadLampLineFile(const char* path, std::vector<LampLine>* out);

// The lines of the named elements ("Ne", "Hg,Ar", "Hg+Ar", "hg ar": case is
// ignored, separators are ',', '+', ';' and blanks), in the order of the
// list. An empty selection takes every line. 11122 when a named element has
// no line in the list.
NqeErrorCode SelectElements(const std::vector<LampLine>& lines,
                            std::string_view elements,
                            std::vector<LampLine>* out);

}  // namespace kvx
