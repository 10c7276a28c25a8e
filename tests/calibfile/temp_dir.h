// A private directory for a test's files, removed with its content when the
// test ends.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace kvx_test {

class TempDir {
 public:
  // A fresh name each time (no mkdtemp on Windows): create_directory
  // reports whether the folder is new, so a name already taken is retried.
  TempDir() {
    std::random_device seed;
    std::mt19937 random(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
      path_ = std::filesystem::temp_directory_path() /
              ("kvx-calibfile-" + std::to_string(random()));
      std::error_code ec;
      if (std::filesystem::create_directory(path_, ec)) return;
    }
    path_.clear();  // not ours: nothing to remove
    ADD_FAILURE() << "no temporary folder in "
                  << std::filesystem::temp_directory_path();
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

 private:
  std::filesystem::path path_;
};

}  // namespace kvx_test
