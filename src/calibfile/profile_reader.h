// Access to initialisation-style files with the semantics of the Windows
// profile functions GetPrivateProfileSectionA / GetPrivateProfileStringA.
// Windows builds call the platform (profile_reader_win.cpp); other builds use
// the library's own reader (ini_file_posix.cpp), which behaves the same on
// the cases the calibration point file needs:
//  - section and key names match without regard to ASCII case, with blanks
//    around them (and inside the brackets) ignored;
//  - a line whose first non-blank character is ';' is a comment;
//  - a line without '=' is a key without a value (its key gives the
//    default);
//  - of duplicate keys the first wins; of duplicate sections only the first
//    is read;
//  - values lose surrounding blanks and then one pair of matching quotes
//    ("..." or '...');
//  - a missing or unreadable file reads as an empty file.
// The own reader does not read UTF-16 files (Windows does, given a byte
// order mark); docs/calibfile.md lists the differences.
#pragma once

#include <cstdint>

namespace kvx {

// Copies the section's lines ("key=value", or the line itself when it has no
// '='), each NUL-terminated, into buffer (a final extra NUL ends the list)
// and returns the number of characters copied, not counting the final NUL.
// 0 when the file or the section is missing or the section has no lines.
// Unless one character stays spare after the final NUL, the list is cut to
// size - 2 characters, ends with two NULs, and size - 2 is returned.
uint32_t ProfileSection(const char* section, char* buffer, uint32_t size,
                        const char* fileName);

// Copies the value of key in section, or `defaultValue` (trailing spaces
// removed) when the key or the file is missing, into buffer and returns the
// number of characters copied, not counting the terminator. A value longer
// than size - 1 is cut to size - 1 characters.
uint32_t ProfileString(const char* section, const char* key,
                       const char* defaultValue, char* buffer, uint32_t size,
                       const char* fileName);

}  // namespace kvx
