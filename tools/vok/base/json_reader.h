#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "flash/types.h"

namespace vok::tool {

/// A value of a JSON document that a person may have written. Every failure names the document and the value's path in
/// it: "manifest.json: /sections/0/items/3/type: 70000 is not in 1 to 65533".
class JsonValue {
 public:
  /// @param document  what failures call it
  /// @throws Failure when the text is no JSON
  static JsonValue Parse(const std::string& text, const std::string& document);

  /// @throws Failure unless this is an object with no field but these
  void AllowOnly(std::initializer_list<const char*> fields) const;
  bool Has(const std::string& field) const;
  /// @throws Failure when the field is missing
  JsonValue Field(const std::string& field) const;
  /// @throws Failure unless this is an array
  std::vector<JsonValue> Elements() const;

  /// A whole number, or a text that writes one in decimal or 0x-hexadecimal.
  /// @throws Failure unless it lies in the range
  u64 Number(u64 lowest, u64 highest) const;
  bool IsText() const;
  std::string Text() const;
  bool Flag() const;

  const std::string& path() const { return path_; }
  /// "manifest.json: /sections/0"
  std::string Where() const;
  [[noreturn]] void Refuse(const std::string& why) const;

 private:
  JsonValue(std::shared_ptr<const void> json, std::string document, std::string path);

  std::shared_ptr<const void> json_;  ///< keeps the whole document alive
  std::string document_;
  std::string path_;
};

}  // namespace vok::tool
