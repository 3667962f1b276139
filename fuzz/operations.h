#pragma once

#include "image.h"

namespace vok::fuzz {

/// Makes calls of the embedding interface, each with arguments from the input, and holds each to its documented codes.
class Operator {
 public:
  Operator(World& world, Input& input) : world_(world), input_(input) {}

  /// One operation that reads, or also keeps handles, clients and pointers.
  void Read();
  /// One operation of any kind.
  void Any();
  /// Reads all that the partition lists, item by item.
  void ReadAll();

 private:
  using Member = void (Operator::*)();
  static const std::array<Member, 18> kReading;
  static const std::array<Member, 10> kWriting;

  void Item();
  void Length();
  void Types();
  void Items();
  void ItemsOfSet();
  void TypesOfSet();
  void Figures();
  void Open();
  void OpenMany();
  void HandleBytes();
  void Close();
  void CloseMany();
  void Client();
  void Pointer();
  void Pointers();
  void Release();
  void Advice();
  void NewId();

  void Write();
  void WritePart();
  void Rename();
  void Delete();
  void DeleteIds();
  void DeleteTypes();
  void Reorganise();
  void EraseRetired();
  void Answers();
  void Failures();

  /// Calls @p list (set, cursor) for the set of a type's IDs.
  template <typename List>
  void WithSet(std::uint16_t type, List list);

  World& world_;
  Input& input_;
  std::array<OpenedItem, 4> opened_{};
  std::array<ItemPointer, 4> pointers_{};
};

template <typename List>
void Operator::WithSet(std::uint16_t type, List list) {
  ValueSetChunk* set = nullptr;
  const std::uint16_t code = world_.Run("GetItemIdSet", {0, 118, 128}, [&] { return GetItemIdSet(0, type, &set); });
  Require((code == 0) == (set != nullptr), "a set without success");
  if (set == nullptr) return;
  std::uint16_t cursor = TakeId(input_);
  list(set, cursor);
  list(set, cursor);
  FreeItemIdSet(set);
}

}  // namespace vok::fuzz
