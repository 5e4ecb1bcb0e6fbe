#ifndef VTR_FIELD_SET_H
#define VTR_FIELD_SET_H

#include <map>
#include <string>
#include <vector>

namespace vtr {

// Which event types, and which of their fields, a consumer wants; read from a small text file.
class ProviderFieldSet {
 public:
  ProviderFieldSet() = default;

  bool loadFromFile(const std::string& fileName);
  bool initializeFromFile(const char* fileName);
  void loadFromLines(const std::vector<std::string>& lines);
  void initializeFromLines(const std::vector<std::string>& lines);

  bool matchesTypePattern(const std::string& typeName, const std::string& pattern) const;
  bool matchesFieldPattern(const std::string& fieldName, const std::string& pattern) const;
  bool isTypeOfInterest(const std::string& typeName) const;
  bool shouldIncludeField(const std::string& typeName, const std::string& fieldName) const;
  std::vector<std::string> getFieldPatterns(const std::string& typeName) const;
  void printConfiguration() const;

  bool isInitialized() const { return !patterns.empty(); }
  const std::string& getName() const { return name; }

 private:
  bool includesField(const std::vector<std::string>& fieldPatterns, const std::string& fieldName) const;

  std::string name;
  std::map<std::string, std::vector<std::string>> patterns;
};

}  // namespace vtr

#endif
