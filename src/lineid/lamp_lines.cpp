#include "lineid/lamp_lines.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "lineid/lamp_lines_data.h"  // generated from examples/lamp-lines.csv

namespace kvx {
namespace {

std::string_view Trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) {
    s.remove_prefix(1);
  }
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) {
    s.remove_suffix(1);
  }
  return s;
}

// A whole field as a finite double.
bool ParseNumber(std::string_view field, double* value) {
  const std::string text(Trim(field));
  if (text.empty()) return false;
  char* end = nullptr;
  *value = std::strtod(text.c_str(), &end);
  return end == text.c_str() + text.size() && std::isfinite(*value);
}

bool SameElement(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string_view BuiltInLampLineText() { return kLampLinesCsv; }

NqeErrorCode ParseLampLines(std::string_view text, std::vector<LampLine>* out) {
  std::vector<LampLine> lines;
  bool headerAllowed = true;
  while (!text.empty()) {
    const size_t eol = text.find('\n');
    std::string_view row = Trim(text.substr(0, eol));
    text = eol == std::string_view::npos ? std::string_view{}
                                         : text.substr(eol + 1);
    if (row.empty() || row.front() == '#') continue;
    const size_t c1 = row.find(',');
    const size_t c2 = c1 == std::string_view::npos ? c1 : row.find(',', c1 + 1);
    if (c2 == std::string_view::npos) return NqeLampListUnreadable;
    const std::string_view name = Trim(row.substr(0, c1));
    LampLine line;
    if (!ParseNumber(row.substr(c1 + 1, c2 - c1 - 1), &line.wavelength)) {
      // The column names, once, before the first line.
      if (!headerAllowed) return NqeLampListUnreadable;
      headerAllowed = false;
      continue;
    }
    headerAllowed = false;
    std::string_view rest = row.substr(c2 + 1);
    rest = rest.substr(0, rest.find(','));
    const std::string_view symbol = name.substr(0, name.find_first_of(" \t"));
    if (!ParseNumber(rest, &line.intensity) || !(line.wavelength > 0.0) ||
        symbol.empty() || symbol.size() >= kElementChars) {
      return NqeLampListUnreadable;
    }
    std::memcpy(line.element, symbol.data(), symbol.size());
    lines.push_back(line);
  }
  if (lines.empty()) return NqeLampListUnreadable;
  *out = std::move(lines);
  return NqeSuccess;
}

NqeErrorCode ReadLampLineFile(const char* path, std::vector<LampLine>* out) {
  if (path == nullptr) return NqeNullPointer;
  std::ifstream file(path, std::ios::binary);
  if (!file) return NqeLampListUnreadable;
  std::ostringstream text;
  text << file.rdbuf();
  if (file.bad()) return NqeLampListUnreadable;
  return ParseLampLines(text.str(), out);
}

NqeErrorCode SelectElements(const std::vector<LampLine>& lines,
                            std::string_view elements,
                            std::vector<LampLine>* out) {
  std::vector<std::string_view> names;
  constexpr std::string_view kSeparators = ",+; \t";
  while (!elements.empty()) {
    const size_t end = elements.find_first_of(kSeparators);
    const std::string_view name = elements.substr(0, end);
    if (!name.empty()) names.push_back(name);
    if (end == std::string_view::npos) break;
    elements.remove_prefix(end + 1);
  }
  std::vector<LampLine> chosen;
  for (const std::string_view name : names) {
    bool any = false;
    for (const LampLine& line : lines) any |= SameElement(line.element, name);
    if (!any) return NqeLampListUnreadable;
  }
  for (const LampLine& line : lines) {
    bool wanted = names.empty();
    for (const std::string_view name : names) {
      wanted |= SameElement(line.element, name);
    }
    if (wanted) chosen.push_back(line);
  }
  *out = std::move(chosen);
  return NqeSuccess;
}

}  // namespace kvx
