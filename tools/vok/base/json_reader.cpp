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

/// A hostile document's texts and names are as long as it is.
std::string Clipped(const std::string& text, std::size_t longest) {
  return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

/// The value as the document writes it, as far as it fits in a message.
std::string Shown(const Json& json) {
  constexpr std::size_t kLongest = 40;
  // Written out, they would take as much stack as they are deep.
  if (json.is_structured()) return json.is_array() ? "an array" : "an object";
  return Clipped(json.dump(-1, ' ', true, Json::error_handler_t::replace), kLongest);
}

constexpr std::size_t kLongestPart = 1000;  ///< of a message

/// What the parser found, without its own name and number for it.
std::string ParseProblem(const Json::exception& error) {
  const std::string what = error.what();
  const std::size_t mark = what.find("] ");
  return Clipped(mark == std::string::npos ? what : what.substr(mark + 2), kLongestPart);
}

bool IsShallow(int depth, Json::parse_event_t, const Json&) {
  constexpr int kDeepest = 32;
  if (depth > kDeepest) throw Failure(fmt::format("more than {} levels of arrays and objects", kDeepest));
  return true;
}

}  // namespace

JsonValue::JsonValue(std::shared_ptr<const void> json, std::string document, std::string path)
    : json_(std::move(json)), document_(std::move(document)), path_(std::move(path)) {}

JsonValue JsonValue::Parse(const std::string& text, const std::string& document) {
  try {
    return {std::make_shared<const Json>(Json::parse(text, IsShallow)), document, ""};
  } catch (const Json::exception& error) {
    throw Failure(fmt::format("{}: {}", document, ParseProblem(error)));
  } catch (const Failure& failure) {
    throw Failure(fmt::format("{}: {}", document, failure.what()));
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
  const std::string path = path_ + '/' + Clipped(field, kLongestPart);
  if (!Has(field)) JsonValue(json_, document_, path).Refuse("is missing");
  return {std::shared_ptr<const void>(json_, &Get(json_).at(field)), document_, path};
}

JsonElements JsonValue::Elements() const {
  if (!Get(json_).is_array()) Refuse("is not an array");
  return JsonElements(*this);
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

void JsonValue::Refuse(const std::string& why) const {
  throw Failure(fmt::format("{}: {}", Where(), Clipped(why, kLongestPart)));
}

std::size_t JsonElements::size() const { return Get(array_.json_).size(); }

JsonValue JsonElements::operator[](std::size_t index) const {
  return {std::shared_ptr<const void>(array_.json_, &Get(array_.json_).at(index)), array_.document_,
          fmt::format("{}/{}", array_.path_, index)};
}

}  // namespace vok::tool
