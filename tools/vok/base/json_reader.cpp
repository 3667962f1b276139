#include "base/json_reader.h"

#include <fmt/core.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/failure.h"
#include "base/number.h"

namespace vok::tool {

namespace {

using Json = nlohmann::json;

const Json& Get(const std::shared_ptr<const void>& json) { return *static_cast<const Json*>(json.get()); }

/// The value as the document writes it, as far as it fits in a message.
std::string Shown(const Json& json) {
  constexpr std::size_t kLongest = 40;
  // Written out, they would take as much stack as they are deep.
  if (json.is_structured()) return json.is_array() ? "an array" : "an object";
  const std::string text = json.dump(-1, ' ', true, Json::error_handler_t::replace);
  return text.size() <= kLongest ? text : text.substr(0, kLongest) + "...";
}

/// What the parser found, without its own name and number for it.
std::string ParseProblem(const Json::parse_error& error) {
  const std::string what = error.what();
  const std::size_t mark = what.find("] ");
  return mark == std::string::npos ? what : what.substr(mark + 2);
}

}  // namespace

JsonValue::JsonValue(std::shared_ptr<const void> json, std::string document, std::string path)
    : json_(std::move(json)), document_(std::move(document)), path_(std::move(path)) {}

JsonValue JsonValue::Parse(const std::string& text, const std::string& document) {
  try {
    return {std::make_shared<const Json>(Json::parse(text)), document, ""};
  } catch (const Json::parse_error& error) {
    throw Failure(fmt::format("{}: {}", document, ParseProblem(error)));
  }
}

void JsonValue::AllowOnly(std::initializer_list<const char*> fields) const {
  if (!Get(json_).is_object()) Refuse("is not an object");
  for (const auto& entry : Get(json_).items())
    if (std::none_of(fields.begin(), fields.end(), [&entry](const char* field) { return entry.key() == field; }))
      Field(entry.key()).Refuse("is no field of this format");
}

bool JsonValue::Has(const std::string& field) const { return Get(json_).contains(field); }

JsonValue JsonValue::Field(const std::string& field) const {
  const std::string path = path_ + '/' + field;
  if (!Has(field)) JsonValue(json_, document_, path).Refuse("is missing");
  return {std::shared_ptr<const void>(json_, &Get(json_).at(field)), document_, path};
}

std::vector<JsonValue> JsonValue::Elements() const {
  if (!Get(json_).is_array()) Refuse("is not an array");
  std::vector<JsonValue> elements;
  for (const Json& element : Get(json_))
    elements.push_back(JsonValue(std::shared_ptr<const void>(json_, &element), document_,
                                 fmt::format("{}/{}", path_, elements.size())));
  return elements;
}

u64 JsonValue::Number(u64 lowest, u64 highest) const {
  const Json& json = Get(json_);
  std::optional<u64> number;
  if (json.is_number_unsigned()) number = json.get<u64>();
  if (json.is_string()) number = ParseNumber(json.get<std::string>());
  if (!number && !json.is_number_integer()) Refuse(Shown(json) + " is not a whole number");
  if (!number || *number < lowest || *number > highest)
    Refuse(fmt::format("{} is not in {} to {}", Shown(json), lowest, highest));
  return *number;
}

bool JsonValue::IsText() const { return Get(json_).is_string(); }

std::string JsonValue::Text() const {
  if (!IsText()) Refuse(Shown(Get(json_)) + " is not a text");
  return Get(json_).get<std::string>();
}

bool JsonValue::Flag() const {
  if (!Get(json_).is_boolean()) Refuse(Shown(Get(json_)) + " is neither true nor false");
  return Get(json_).get<bool>();
}

std::string JsonValue::Where() const { return fmt::format("{}: {}", document_, path_.empty() ? "/" : path_); }

void JsonValue::Refuse(const std::string& why) const { throw Failure(fmt::format("{}: {}", Where(), why)); }

}  // namespace vok::tool
