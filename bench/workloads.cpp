#include "workloads.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include "vok/store.h"

namespace vok::bench {

namespace {

constexpr std::uint32_t kRewrites = 2000;
constexpr std::uint32_t kRenames = 1000;
constexpr std::uint16_t kRenamedBy = 30000;    ///< from here on IDs of renamed items
constexpr std::uint16_t kFirstAbsent = 20000;  ///< from here on no item has the ID

/// Processor time of this thread: what others run beside it does not count.
double Now() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

template <typename Work>
double TimeOf(Work work) {
  const double start = Now();
  work();
  return Now() - start;
}

void Expect(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(what);
}

std::uint16_t AbsentId(std::uint16_t id) { return static_cast<std::uint16_t>(id + kFirstAbsent); }
std::uint16_t NewName(std::uint16_t id) { return static_cast<std::uint16_t>(id + kRenamedBy); }

Yardstick Holding(const std::vector<Item>& items) {
  Yardstick yardstick(kImageSize);
  for (const Item& item : items) yardstick.Write(item.type, item.id, item.data);
  return yardstick;
}

template <typename Work>
double AfterOpening(Host& host, Work work) {
  host.Open();
  return TimeOf(work);
}

/// Work that changes nothing is timed in its second round: what the caches hold after a fill of 32 MiB is no property
/// of either side.
template <typename Work>
double Warm(Work work) {
  work();
  return TimeOf(work);
}

template <typename Work>
double OnYardstick(const Case& c, Work work) {
  Yardstick yardstick = Holding(c.items);
  return TimeOf([&] { work(yardstick); });
}

template <typename Named>
void ReadAll(const std::vector<Item>& items, bool expected, std::uint16_t (*id_of)(std::uint16_t), Named& holder) {
  std::size_t wrong = 0;
  for (const Item& item : items) wrong += holder.Read(item.type, id_of(item.id)) != expected;
  Expect(wrong == 0, "reads");
}
std::uint16_t SameId(std::uint16_t id) { return id; }

/// What WriteAllVOK() does after it has erased the image.
double StoreBuild(Case& c) {
  c.usual.Prepare();
  return TimeOf([&] {
    c.usual.worker().BuildDefaultVOKHeaders();
    for (const VOKITEM& item : c.list) {
      std::uint16_t id = item.Id;
      c.usual.worker().WriteVOK(item.Type, id, item.Data.data(), static_cast<std::uint32_t>(item.Data.size()));
    }
  });
}
double YardBuild(const Case& c) {
  Yardstick yardstick(kImageSize);
  return TimeOf([&] {
    for (const Item& item : c.items) yardstick.Write(item.type, item.id, item.data);
  });
}

double StoreOpen(Case& c) {
  return TimeOf([&] { c.usual.Open(); });
}
/// One fill of the image and one copy of the codeplug.
double YardOpen(const Case& c) {
  static Bytes image(kImageSize);
  const double fill = TimeOf([] { std::memset(image.data(), 0xFF, image.size()); });
  return fill + TimeOf([&] { std::memcpy(image.data(), c.usual.codeplug().data(), c.usual.codeplug().size()); });
}

void Remount(Host& host) {
  host.worker().TerminateVOK();
  StartStore();
}
double StoreMount(Case& c) {
  return AfterOpening(c.usual, [&] { Remount(c.usual); });
}
double StoreMountAndRead(Case& c) {
  return AfterOpening(c.usual, [&] {
    Remount(c.usual);
    Expect(c.usual.Read(c.shuffled[0].type, c.shuffled[0].id), "read");
  });
}

double StoreRead(Case& c) {
  c.usual.Open();
  return Warm([&] { ReadAll(c.shuffled, true, SameId, c.usual); });
}
double YardRead(const Case& c) {
  Yardstick yardstick = Holding(c.items);
  return Warm([&] { ReadAll(c.shuffled, true, SameId, yardstick); });
}
double StoreAbsent(Case& c) {
  c.usual.Open();
  return Warm([&] { ReadAll(c.shuffled, false, AbsentId, c.usual); });
}
double YardAbsent(const Case& c) {
  Yardstick yardstick = Holding(c.items);
  return Warm([&] { ReadAll(c.shuffled, false, AbsentId, yardstick); });
}

double StoreTakeApart(Case& c) {
  c.usual.Open();
  std::vector<VOKITEM> items;
  const double seconds = Warm([&] { items = c.usual.worker().ReadAllVOK("CPLG"); });
  Expect(items.size() == c.items.size(), "ReadAllVOK");
  return seconds;
}
double YardTakeApart(const Case& c) {
  const Yardstick yardstick = Holding(c.items);
  std::vector<Item> items;
  return Warm([&] { items = yardstick.TakeApart(); });
}

double StoreNew(Case& c) {
  c.usual.Format();
  return TimeOf([&] {
    for (const Item& item : c.items) c.usual.Write({item.type, 0xFFFF, item.data});
  });
}

template <typename Holder>
void WriteAll(const std::vector<Item>& items, Holder& holder) {
  for (const Item& item : items) holder.Write(item);
}
void WriteAll(const std::vector<Item>& items, Yardstick& holder) {
  for (const Item& item : items) holder.Write(item.type, item.id, item.data);
}
double StoreSame(Case& c) {
  return AfterOpening(c.usual, [&] { WriteAll(c.same_lengths, c.usual); });
}
double YardSame(const Case& c) {
  return OnYardstick(c, [&](Yardstick& y) { WriteAll(c.same_lengths, y); });
}
double StoreOther(Case& c) {
  return AfterOpening(c.usual, [&] { WriteAll(c.other_lengths, c.usual); });
}
double StoreTight(Case& c) {
  return AfterOpening(c.tight, [&] { WriteAll(c.other_lengths, c.tight); });
}
double YardOther(const Case& c) {
  return OnYardstick(c, [&](Yardstick& y) { WriteAll(c.other_lengths, y); });
}

double StoreDelete(Case& c) {
  return AfterOpening(c.usual, [&] {
    for (std::size_t i = 0; i < c.shuffled.size() / 2; ++i)
      Expect(DeleteItem(Host::kPartition, c.shuffled[i].type, c.shuffled[i].id) == 0, "DeleteItem");
  });
}
double YardDelete(const Case& c) {
  return OnYardstick(c, [&](Yardstick& y) {
    for (std::size_t i = 0; i < c.shuffled.size() / 2; ++i) y.Delete(c.shuffled[i].type, c.shuffled[i].id);
  });
}

double StoreRename(Case& c) {
  return AfterOpening(c.usual, [&] {
    for (std::size_t i = 0; i < kRenames; ++i) {
      const Item& item = c.shuffled[i];
      std::uint16_t id = NewName(item.id);
      Expect(RenameItem(Host::kPartition, 1, item.type, &id, item.type, item.id) == 0, "RenameItem");
    }
  });
}
double YardRename(const Case& c) {
  return OnYardstick(c, [&](Yardstick& y) {
    for (std::size_t i = 0; i < kRenames; ++i)
      y.Rename(c.shuffled[i].type, c.shuffled[i].id, NewName(c.shuffled[i].id));
  });
}

double StoreList(Case& c) {
  std::vector<std::uint16_t> ids(c.items.size());
  c.usual.Open();
  return Warm([&] {
    auto count = static_cast<std::uint32_t>(ids.size());
    std::uint32_t bytes = 0;
    Expect(ListItems(Host::kPartition, kFirstType, nullptr, nullptr, ids.data(), &count, &bytes) == 0, "ListItems");
  });
}
double YardList(const Case& c) {
  const Yardstick yardstick = Holding(c.items);
  std::vector<std::uint16_t> ids;
  return Warm([&] { ids = yardstick.List(kFirstType); });
}

std::uint32_t PerItem(std::uint32_t items) { return items; }
std::uint32_t PerHalf(std::uint32_t items) { return items / 2; }
std::uint32_t PerRewrite(std::uint32_t) { return kRewrites; }
std::uint32_t PerRename(std::uint32_t) { return kRenames; }

}  // namespace

Case::Case(std::uint32_t version, std::uint32_t count)
    : items(Population(count)),
      list(Host::ListOf(items)),
      shuffled(Shuffled(items)),
      same_lengths(SameLengths(items, kRewrites)),
      other_lengths(OtherLengths(items, kRewrites)),
      usual(version, StoredBytes(items), Fill::kUsual),
      tight(version, StoredBytes(items), Fill::kTight) {
  tight.Build(list);
  usual.Build(list);
}

const std::vector<Workload>& Workloads() {
  static const std::vector<Workload> workloads = {
      {"build", "build (`WriteAllVOK`, the fill taken out)", 2.5, PerItem, StoreBuild, YardBuild},
      {"open", "open (`LoadPSDT`, `LoadCodeplug`, repair mount)", 1.5, PerItem, StoreOpen, YardOpen},
      {"mount", "mount alone (`StartStore`)", 0.4, PerItem, StoreMount, YardBuild},
      {"mount_read", "mount and one read", 0.4, PerItem, StoreMountAndRead, YardBuild},
      {"read", "read every item, random order", 1.8, PerItem, StoreRead, YardRead},
      {"absent", "read absent items", 2, PerItem, StoreAbsent, YardAbsent},
      {"take_apart", "take apart (`ReadAllVOK`)", 1.3, PerItem, StoreTakeApart, YardTakeApart},
      {"new", "write new items, a new ID each", 3, PerItem, StoreNew, YardBuild},
      {"same", "rewrite 2000, same length", 2, PerRewrite, StoreSame, YardSame},
      {"other", "rewrite 2000, other length", 4, PerRewrite, StoreOther, YardOther},
      {"tight", "the same in a tight section", 20, PerRewrite, StoreTight, YardOther},
      {"delete", "delete half", 2, PerHalf, StoreDelete, YardDelete},
      {"rename", "rename 1000", 0, PerRename, StoreRename, YardRename},
      {"list", "list a type's items", 0, PerItem, StoreList, YardList},
  };
  return workloads;
}

}  // namespace vok::bench
