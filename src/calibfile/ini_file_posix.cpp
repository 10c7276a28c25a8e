// The library's own initialisation-file reader for platforms without the
// Windows profile functions. Each call opens and reads the file anew, as the
// platform functions do; nothing is cached.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "calibfile/profile_reader.h"

namespace kvx {
namespace {

// Blanks around names and values; the CR of a CRLF line end is one too.
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

// Removes one pair of matching surrounding quotes, as the platform's
// GetPrivateProfileString does.
std::string_view Unquote(std::string_view v) {
  if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') &&
      v.back() == v.front()) {
    return v.substr(1, v.size() - 2);
  }
  return v;
}

// Reads one line (without its '\n') from `file` into `line`. A NUL byte ends
// the line's text (the rest of that line is dropped), so names and values
// are always plain C strings. False at the end of the file.
bool ReadLine(std::FILE* file, std::string& line) {
  line.clear();
  bool any = false;
  bool cut = false;
  for (int c = std::getc(file); c != EOF; c = std::getc(file)) {
    any = true;
    if (c == '\n') return true;
    if (c == '\0') cut = true;
    if (!cut) line.push_back(static_cast<char>(c));
  }
  return any;
}

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

// Calls onLine(text) for every content line (trimmed, not blank, not a
// comment, not a section header) of the first section named `section`, in
// file order, until onLine returns false. As on Windows, a later section of
// the same name is never read. Only regular files are read:
// a missing file, a directory, a device or a file that cannot be opened
// reads as an empty file. Relative names are taken relative to the current
// directory (the platform functions would look in the Windows directory;
// a library used outside Windows has no such place).
template <class OnLine>
void ForEachSectionLine(const char* fileName, std::string_view section,
                        OnLine&& onLine) {
  if (fileName == nullptr) return;
  std::error_code ec;
  if (!std::filesystem::is_regular_file(fileName, ec)) return;
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(fileName, "rb"));
  if (!file) return;

  std::string line;
  bool first = true;
  bool inSection = false;
  while (ReadLine(file.get(), line)) {
    std::string_view text = line;
    // A UTF-8 byte order mark, as editors write it, is not part of the text.
    if (first && text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    first = false;
    text = Trim(text);
    if (text.empty() || text.front() == ';') continue;
    if (text.front() == '[') {
      const size_t close = text.rfind(']');
      if (close != std::string_view::npos) {
        if (inSection) return;
        inSection = SameName(Trim(text.substr(1, close - 1)), section);
        continue;
      }
      // No closing bracket: not a header, an ordinary line.
    }
    if (inSection && !onLine(text)) return;
  }
}

uint32_t CopyOut(std::string_view value, char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return 0;
  const size_t n = value.size() < size - 1 ? value.size() : size - 1;
  if (n != 0) std::memcpy(buffer, value.data(), n);
  buffer[n] = '\0';
  return static_cast<uint32_t>(n);
}

}  // namespace

uint32_t ProfileSection(const char* section, char* buffer, uint32_t size,
                        const char* fileName) {
  if (section == nullptr || buffer == nullptr || size == 0) return 0;
  if (size == 1) {
    buffer[0] = '\0';
    return 0;
  }
  // The list is built only as far as needed to know whether it has to be
  // cut. Like the platform, a list is delivered whole only when one
  // character stays spare after its final NUL; otherwise it is cut to
  // size - 2 characters followed by two NULs.
  std::string list;
  ForEachSectionLine(fileName, section, [&](std::string_view text) {
    const size_t eq = text.find('=');
    std::string_view a = text;
    std::string_view b;
    if (eq != std::string_view::npos) {
      a = Trim(text.substr(0, eq));
      b = Trim(text.substr(eq + 1));
    }
    list.append(a);
    if (eq != std::string_view::npos) {
      list.push_back('=');
      list.append(b);
    }
    list.push_back('\0');
    return list.size() + 1 < size;
  });
  if (list.size() + 1 < size) {
    std::memcpy(buffer, list.data(), list.size());
    buffer[list.size()] = '\0';
    return static_cast<uint32_t>(list.size());
  }
  std::memcpy(buffer, list.data(), size - 2);
  buffer[size - 2] = '\0';
  buffer[size - 1] = '\0';
  return size - 2;
}

uint32_t ProfileString(const char* section, const char* key,
                       const char* defaultValue, char* buffer, uint32_t size,
                       const char* fileName) {
  bool found = false;
  std::string value;
  if (section != nullptr && key != nullptr) {
    ForEachSectionLine(fileName, section, [&](std::string_view text) {
      // A line without '=' is a key without a value: the first line of the
      // key's name decides, and such a line gives the default (as Windows).
      const size_t eq = text.find('=');
      if (eq == std::string_view::npos) return !SameName(text, key);
      if (!SameName(Trim(text.substr(0, eq)), key)) return true;
      value = Unquote(Trim(text.substr(eq + 1)));
      found = true;
      return false;
    });
  }
  if (found) return CopyOut(value, buffer, size);
  // The platform drops trailing spaces of the default.
  std::string_view fallback = defaultValue != nullptr ? defaultValue : "";
  while (!fallback.empty() && fallback.back() == ' ') fallback.remove_suffix(1);
  return CopyOut(fallback, buffer, size);
}

}  // namespace kvx
