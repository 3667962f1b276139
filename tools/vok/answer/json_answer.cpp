#include "answer/json_answer.h"

#include <fmt/compile.h>

#include "base/terminal.h"

namespace vok::tool {

namespace {

/// What stands between the braces.
std::string FieldsOf(const Json& json) {
  std::string text = LineOf(json);
  return text.substr(1, text.size() - 2);
}

/// Gathers short texts into pieces that are worth a write.
class Pieces {
 public:
  explicit Pieces(const TextSink& sink) : sink_(sink) {}
  ~Pieces() { Flush(); }
  Pieces(const Pieces&) = delete;
  Pieces& operator=(const Pieces&) = delete;

  void Add(std::string_view text) {
    text_ += text;
    if (text_.size() >= kEnough) Flush();
  }
  void AddKey(const ItemKey& key) {
    fmt::format_to(std::back_inserter(text_), FMT_COMPILE("{{\"type\":{},\"id\":{}}}"), key.type, key.id);
    if (text_.size() >= kEnough) Flush();
  }

 private:
  static constexpr std::size_t kEnough = 0x10000;

  void Flush() {
    if (!text_.empty()) sink_(text_);
    text_.clear();
  }

  const TextSink& sink_;
  std::string text_;
};

void WriteLoss(const Json& image, const Loss& loss, Pieces& out) {
  Json place = image;
  place["section"] = loss.section;
  if (loss.block) place["block"] = *loss.block;
  out.Add("\n  {" + FieldsOf(place) + ",\"items\":[");
  const char* separator = "";
  for (const ItemKey& item : loss.items) {
    out.Add(separator);
    out.AddKey(item);
    separator = ",";
  }
  out.Add("]," + FieldsOf({{"why", loss.why}, {"remedy", loss.remedy}}) + "}");
}

}  // namespace

std::string LineOf(const Json& json) {
  constexpr int kOneLine = -1;
  return json.dump(kOneLine, ' ', false, Json::error_handler_t::replace);
}

JsonAnswer::JsonAnswer(Json fields, const Losses& losses) : fields_(std::move(fields)) {
  for (const Loss& loss : losses) losses_.push_back({.image = Json::object(), .loss = &loss});
}

JsonAnswer::JsonAnswer(Json fields, std::span<const ImageLosses> images) : fields_(std::move(fields)) {
  for (const ImageLosses& image : images)
    for (const Loss& loss : *image.losses) losses_.push_back({.image = {{"image", image.image}}, .loss = &loss});
}

void JsonAnswer::AddList(const char* name, std::size_t count, std::function<std::string(std::size_t)> element) {
  lists_.push_back({.name = name, .count = count, .element = std::move(element)});
}

void JsonAnswer::Write(const TextSink& sink) const {
  Pieces out(sink);
  const std::string fields = JsonText(fields_);
  out.Add(std::string_view(fields).substr(0, fields.size() - std::string_view("\n}\n").size()));
  for (const List& list : lists_) {
    out.Add(fmt::format(",\n \"{}\": [", list.name));
    for (std::size_t i = 0; i < list.count; ++i) out.Add((i == 0 ? "\n  " : ",\n  ") + list.element(i));
    out.Add(list.count == 0 ? "]" : "\n ]");
  }
  out.Add(losses_.empty() ? ",\n \"complete\": true,\n \"losses\": []" : ",\n \"complete\": false,\n \"losses\": [");
  for (std::size_t i = 0; i < losses_.size(); ++i) {
    if (i != 0) out.Add(",");
    WriteLoss(losses_[i].image, *losses_[i].loss, out);
  }
  out.Add(losses_.empty() ? "\n}\n" : "\n ]\n}\n");
}

void Print(const JsonAnswer& answer) {
  answer.Write([](std::string_view text) { Print(std::string(text)); });
}

std::string TextOf(const JsonAnswer& answer) {
  std::string whole;
  answer.Write([&whole](std::string_view text) { whole += text; });
  return whole;
}

}  // namespace vok::tool
