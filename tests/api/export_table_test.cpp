// Hosts on Windows resolve the module's functions by name or by ordinal; both
// must give the same function for every built export of the catalogue.
#ifdef _WIN32
#include <windows.h>

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

TEST(ExportTable, EveryBuiltExportResolvesByNameAndOrdinalAlike) {
  const HMODULE module = GetModuleHandleA("KelvoCalibrate.kvx");
  ASSERT_NE(module, nullptr);
  std::ifstream catalogue(KVX_EXPORT_LIST);
  ASSERT_TRUE(catalogue.is_open());
  int built = 0;
  for (std::string line; std::getline(catalogue, line);) {
    std::istringstream fields(line);
    int ordinal = 0;
    std::string kind, status, name, decorated;
    if (!(fields >> ordinal >> kind >> status >> name) || status != "built")
      continue;
    fields >> decorated;  // the C++ exports' name as an MSVC host sees it
    const FARPROC byName =
        GetProcAddress(module, (kind == "cpp" ? decorated : name).c_str());
    EXPECT_NE(byName, nullptr) << name;
    EXPECT_EQ(byName, GetProcAddress(module, MAKEINTRESOURCEA(ordinal)))
        << name;
    ++built;
  }
  EXPECT_GT(built, 100);
}
#endif
