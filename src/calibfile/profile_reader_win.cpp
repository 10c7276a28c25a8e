// The Windows build reads calibration point files through the platform's
// profile functions. Relative file names therefore keep the platform's
// meaning (they are looked up in the Windows directory).
#include <windows.h>

#include "calibfile/profile_reader.h"

namespace kvx {

uint32_t ProfileSection(const char* section, char* buffer, uint32_t size,
                        const char* fileName) {
  return static_cast<uint32_t>(GetPrivateProfileSectionA(
      section, buffer, static_cast<DWORD>(size), fileName));
}

uint32_t ProfileString(const char* section, const char* key,
                       const char* defaultValue, char* buffer, uint32_t size,
                       const char* fileName) {
  return static_cast<uint32_t>(GetPrivateProfileStringA(
      section, key, defaultValue, buffer, static_cast<DWORD>(size), fileName));
}

}  // namespace kvx
