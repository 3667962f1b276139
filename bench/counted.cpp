#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

#include "host.h"
#include "vok/store.h"

/// Three fixed pieces of work whose instructions bench/check_instructions counts. Payloads are short, so that how the C
/// library copies on the machine at hand makes no difference.

namespace {

using namespace vok::bench;

constexpr std::uint32_t kItems = 2000;

std::vector<Item> ShortItems() {
  std::vector<Item> items = Population(kItems);
  for (Item& item : items) item.data.resize(std::min<std::size_t>(item.data.size(), 64));
  return items;
}

/// The instructions between entry and return are counted; the rest is preparation.
extern "C" [[gnu::noinline]] void CountedWork(void (*work)(Host&, const std::vector<Item>&), Host& host,
                                              const std::vector<Item>& items) {
  work(host, items);
}

void Build(Host& host, const std::vector<Item>& items) {
  for (const Item& item : items) host.Write(item);
  for (const Item& item : items) host.Write({item.type, 0xFFFF, item.data});
}

void Read(Host& host, const std::vector<Item>& items) {
  for (const Item& item : items) host.Read(item.type, item.id);
  for (const Item& item : items) host.Read(item.type, static_cast<std::uint16_t>(item.id + kItems));
  host.worker().ReadAllVOK("CPLG");
}

void Change(Host& host, const std::vector<Item>& items) {
  for (const Item& item : OtherLengths(items, kItems)) host.Write(item);
  for (const Item& item : SameLengths(items, kItems)) host.Write(item);
  for (std::size_t i = 0; i < items.size(); i += 2) vok::DeleteItem(Host::kPartition, items[i].type, items[i].id);
}

}  // namespace

int main(int argc, char** argv) {
  static const std::map<std::string, void (*)(Host&, const std::vector<Item>&)> works = {
      {"build", Build}, {"read", Read}, {"change", Change}};
  const auto work = argc == 2 ? works.find(argv[1]) : works.end();
  if (work == works.end()) {
    std::fputs("usage: vok_counted build|read|change\n", stderr);
    return 2;
  }
  const std::vector<Item> items = ShortItems();
  Host host(3, StoredBytes(items), work->second == Change ? Fill::kTight : Fill::kThird);
  if (work->second == Build) {
    host.Format();
  } else {
    host.Build(Host::ListOf(items));
    host.Open();
  }
  CountedWork(work->second, host, items);
}
