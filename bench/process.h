/// Other processes, as a program without this library would start them.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace bench {

/// Runs a program with its output in a file. Throws when it cannot be started or fails.
void run_program(const std::vector<std::string>& words, const std::string& output = "/dev/null");

/// Runs `work` in a child, whose writer passes bytes on. Throws when the child fails.
using byte_writer = std::function<void(const void* bytes, std::size_t size)>;
void read_from_child(const std::function<void(const byte_writer&)>& work, void* bytes,
                     std::size_t size);

/// What a child makes, one item after the other.
template <class Item, class Make>
std::vector<Item> items_of_child(std::size_t count, Make make) {
  static_assert(std::is_trivially_copyable_v<Item>);
  std::vector<Item> items(count);
  const auto work = [&](const byte_writer& write) {
    for (std::size_t number = 0; number < count; ++number) {
      const Item item = make(number);
      write(&item, sizeof item);
    }
  };
  read_from_child(work, items.data(), count * sizeof(Item));
  return items;
}

}  // namespace bench
