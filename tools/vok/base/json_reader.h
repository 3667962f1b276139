#pragma once

#include <initializer_list>
#include <memory>
#include <string>

#include "flash/types.h"

namespace vok::tool {

class JsonElements;

/// A value of a JSON document that a person may have written. Every failure names the document and the value's path in
/// it: "manifest.json: /sections/0/items/3/type: 70000 is not in 1 to 65533".
class JsonValue {
 public:
  /// @param document  what failures call it
  /// @throws Failure when the text is no JSON, or one of more levels than any document of the tool has
  static JsonValue Parse(const std::string& text, const std::string& document);

  /// @throws Failure unless this is an object with no field but these
  void AllowOnly(std::initializer_list<const char*> fields) const;
  bool Has(const std::string& field) const;
  /// @throws Failure when the field is missing
  JsonValue Field(const std::string& field) const;
  /// @throws Failure unless this is an array
  JsonElements Elements() const;

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
  friend JsonElements;

  JsonValue(std::shared_ptr<const void> json, std::string document, std::string path);

  std::shared_ptr<const void> json_;  ///< keeps the whole document alive
  std::string document_;
  std::string path_;
};

/// The elements of an array, each made when it is asked for: a document may have millions.
class JsonElements {
 public:
  class Iterator {
   public:
    Iterator(const JsonElements& elements, std::size_t index) : elements_(&elements), index_(index) {}
    JsonValue operator*() const { return (*elements_)[index_]; }
    Iterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return index_ != other.index_; }

   private:
    const JsonElements* elements_;
    std::size_t index_;
  };

  explicit JsonElements(JsonValue array) : array_(std::move(array)) {}

  std::size_t size() const;
  bool empty() const { return size() == 0; }
  JsonValue operator[](std::size_t index) const;
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size()}; }

 private:
  JsonValue array_;
};

}  // namespace vok::tool
