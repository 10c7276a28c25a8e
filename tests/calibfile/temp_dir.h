// A private directory for a test's files, removed with its content when the
// test ends.
#pragma once

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace kvx_test {

class TempDir {
 public:
  TempDir() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "kvx-calibfile-XXXXXX")
            .string();
    EXPECT_NE(mkdtemp(pattern.data()), nullptr);
    path_ = pattern;
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // Writes `text` byte for byte (NULs kept); returns the file's full name.
  std::string Write(const std::string& name, std::string_view text) const {
    std::ofstream out(path_ / name, std::ios::binary);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    EXPECT_TRUE(out.good()) << name;
    return Name(name);
  }
  std::string Name(const std::string& name) const {
    return (path_ / name).string();
  }
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace kvx_test
