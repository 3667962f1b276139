#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/json_text.h"
#include "section/losses_text.h"

namespace vok::tool {

/// Where the text of an answer goes, a piece at a time.
using TextSink = std::function<void(std::string_view)>;

/// An answer in JSON: its fields, then "complete" and "losses". A damaged image may lose millions of items and have
/// thousands of findings, so that lists are made while they are written. Refers to what it is made of.
class JsonAnswer {
 public:
  JsonAnswer(Json fields, const Losses& losses);
  /// Of several images; each loss tells its image.
  JsonAnswer(Json fields, std::span<const ImageLosses> images);

  /// Adds a list behind the fields. @param element  makes the text of the one at an index
  void AddList(const char* name, std::size_t count, std::function<std::string(std::size_t)> element);

  void Write(const TextSink& sink) const;

 private:
  struct List {
    const char* name;
    std::size_t count;
    std::function<std::string(std::size_t)> element;
  };
  struct ToldLoss {
    Json image;
    const Loss* loss;
  };

  Json fields_;
  std::vector<List> lists_;
  std::vector<ToldLoss> losses_;
};

void Print(const JsonAnswer& answer);
std::string TextOf(const JsonAnswer& answer);

/// On one line.
std::string LineOf(const Json& json);

}  // namespace vok::tool
