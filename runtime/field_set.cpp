#include "runtime/field_set.h"

#include <algorithm>
#include <fstream>

#include <boost/filesystem.hpp>

#include "runtime/filter.h"
#include "runtime/logger.h"

namespace vtr {

namespace {

constexpr const char* kBlanks = " \t\r\n";

std::string trim(const std::string& text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return std::string();
  const size_t last = text.find_last_not_of(kBlanks);
  return text.substr(first, last - first + 1);
}

bool isSectionHeader(const std::string& line) {
  return line.size() >= 2 && line.front() == '[' && line.back() == ']';
}

// The type patterns of a "[a, b*]" header, trimmed, without empty or repeated pieces.
std::vector<std::string> parseHeader(const std::string& header) {
  std::vector<std::string> typePatterns;
  const std::string list = header.substr(1, header.size() - 2);
  size_t start = 0;
  while (start <= list.size()) {
    size_t comma = list.find(',', start);
    if (comma == std::string::npos) comma = list.size();
    std::string piece = trim(list.substr(start, comma - start));
    if (!piece.empty() && std::find(typePatterns.begin(), typePatterns.end(), piece) == typePatterns.end())
      typePatterns.push_back(std::move(piece));
    start = comma + 1;
  }
  return typePatterns;
}

bool fileExists(const std::string& fileName) {
  boost::system::error_code error;
  return boost::filesystem::exists(fileName, error);
}

}  // namespace

bool ProviderFieldSet::loadFromFile(const std::string& fileName) {
  static const char* const kFunction = "loadFromFile";
  if (fileName.empty()) {
    vtr_log(VTR_LOG_ERR, "[%s] empty filename", kFunction);
    return false;
  }
  if (!fileExists(fileName)) {
    vtr_log(VTR_LOG_ERR, "[%s] file %s does not exist", kFunction, fileName.c_str());
    return false;
  }
  std::ifstream file(fileName);
  if (!file.is_open()) {
    vtr_log(VTR_LOG_WARNING, "[%s] cannot open field set file %s", kFunction, fileName.c_str());
    return false;
  }
  name = boost::filesystem::path(fileName).stem().string();

  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  vtr_log(VTR_LOG_DEBUG, "[%s] loading fset file %s", kFunction, fileName.c_str());
  for (const std::string& line : lines) vtr_log(VTR_LOG_DEBUG, "[%s] %s", kFunction, line.c_str());
  vtr_log(VTR_LOG_DEBUG, "[%s] -----------------------", kFunction);

  loadFromLines(lines);
  if (patterns.empty()) {
    vtr_log(VTR_LOG_WARNING, "[%s] no patterns found in %s", kFunction, fileName.c_str());
    return false;
  }
  return true;
}

bool ProviderFieldSet::initializeFromFile(const char* fileName) {
  if (!fileName) {
    vtr_log(VTR_LOG_ERR, "ProviderFieldSet: missing filename parameter");
    return false;
  }
  return loadFromFile(fileName);
}

void ProviderFieldSet::loadFromLines(const std::vector<std::string>& lines) {
  patterns.clear();
  std::vector<std::string> section;
  for (const std::string& rawLine : lines) {
    const std::string line = trim(rawLine);
    if (line.empty() || line.front() == '#') continue;
    if (isSectionHeader(line)) {
      // A repeated type pattern starts over: the later section replaces the earlier one.
      section = parseHeader(line);
      for (const std::string& typePattern : section) patterns[typePattern].clear();
      continue;
    }
    for (const std::string& typePattern : section) patterns[typePattern].push_back(line);
  }
}

void ProviderFieldSet::initializeFromLines(const std::vector<std::string>& lines) { loadFromLines(lines); }

bool ProviderFieldSet::matchesTypePattern(const std::string& typeName, const std::string& pattern) const {
  if (!pattern.empty() && pattern.back() == '*')
    return typeName.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
  return typeName == pattern;
}

bool ProviderFieldSet::matchesFieldPattern(const std::string& fieldName, const std::string& pattern) const {
  return vtr_filter_match_single_token(fieldName.c_str(), pattern.c_str()) != 0;
}

bool ProviderFieldSet::isTypeOfInterest(const std::string& typeName) const {
  return std::any_of(patterns.begin(), patterns.end(),
                     [&](const auto& entry) { return matchesTypePattern(typeName, entry.first); });
}

bool ProviderFieldSet::includesField(const std::vector<std::string>& fieldPatterns,
                                     const std::string& fieldName) const {
  // A section without field lines takes every field.
  if (fieldPatterns.empty()) return true;
  return std::any_of(fieldPatterns.begin(), fieldPatterns.end(),
                     [&](const std::string& pattern) { return matchesFieldPattern(fieldName, pattern); });
}

bool ProviderFieldSet::shouldIncludeField(const std::string& typeName, const std::string& fieldName) const {
  if (patterns.empty()) return false;
  if (!typeName.empty()) {
    // A section naming the type takes precedence over the default section.
    bool typeMatched = false;
    for (const auto& [typePattern, fieldPatterns] : patterns) {
      if (!matchesTypePattern(typeName, typePattern)) continue;
      if (includesField(fieldPatterns, fieldName)) return true;
      typeMatched = true;
    }
    if (typeMatched) return false;
  }
  const auto fallback = patterns.find("default");
  return fallback != patterns.end() && includesField(fallback->second, fieldName);
}

std::vector<std::string> ProviderFieldSet::getFieldPatterns(const std::string& typeName) const {
  for (const auto& [typePattern, fieldPatterns] : patterns) {
    if (matchesTypePattern(typeName, typePattern)) return fieldPatterns;
  }
  return {};
}

void ProviderFieldSet::printConfiguration() const {
  static const char* const kFunction = "printConfiguration";
  vtr_log(VTR_LOG_INFO, "[%s] '%s' configuration:", kFunction, name.c_str());
  vtr_log(VTR_LOG_INFO, "[%s]  Initialized: %s", kFunction, isInitialized() ? "yes" : "no");
  for (const auto& [typePattern, fieldPatterns] : patterns) {
    vtr_log(VTR_LOG_INFO, "[%s]  Type pattern: [%s]", kFunction, typePattern.c_str());
    for (const std::string& fieldPattern : fieldPatterns)
      vtr_log(VTR_LOG_INFO, "[%s]    %s", kFunction, fieldPattern.c_str());
  }
}

}  // namespace vtr
