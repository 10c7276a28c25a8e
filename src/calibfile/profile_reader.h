// Access to initialisation-style files with the semantics of the Windows
// profile functions GetPrivateProfileSectionA / GetPrivateProfileStringA.
// Windows builds call the platform; other builds use the library's own
// reader (ini_file.cpp), which behaves the same on the cases the
// calibration point file needs.
#pragma once

#include <cstdint>

namespace kvx {

// Copies the section's "key=value" lines, each NUL-terminated, into buffer
// (a final extra NUL ends the list) and returns the number of characters
// copied, not counting the final NUL. 0 when the file or the section is
// missing or the section has no lines. When the buffer is too small the
// copy is cut and size - 2 is returned.
uint32_t ProfileSection(const char* section, char* buffer, uint32_t size,
                        const char* fileName);

// Copies the value of key in section (surrounding blanks removed), or
// `defaultValue` when the key or the file is missing, into buffer and
// returns the number of characters copied, not counting the terminator. A
// value longer than size - 1 is cut to size - 1 characters.
uint32_t ProfileString(const char* section, const char* key,
                       const char* defaultValue, char* buffer, uint32_t size,
                       const char* fileName);

}  // namespace kvx
