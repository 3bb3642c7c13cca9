#include "common/text.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

#include "common/text_hash.h"

namespace {

/// The text before the first separator, one character after the other.
std::string_view plainly_before(std::string_view text, std::string_view separators) {
  return text.substr(0, text.find_first_of(separators));
}

TEST(text_before, a_separator_is_what_a_search_for_it_finds) {
  for (const std::string_view separators :
       {" ", ":", ".", " \t", ",)", " (", " \t\n", "\t", "@/-"}) {
    std::mt19937 random(1);
    // Separators, their neighbours, and characters whose highest bit is set.
    const std::string drawn = std::string(separators) + "\x1f!;9/+b\x7f\x80\x81\xa0\xba\xff" + '\0';
    for (int round = 0; round < 20'000; ++round) {
      std::string text(random() % 40, 'a');
      for (std::size_t changed = random() % 4; changed > 0 && !text.empty(); --changed) {
        text[random() % text.size()] = drawn[random() % drawn.size()];
      }
      ASSERT_EQ(orv::before(text, separators), plainly_before(text, separators))
          << testing::PrintToString(text) << separators;
    }
  }
}

TEST(text_before, every_separator_at_every_place_ends_there) {
  for (std::size_t size = 1; size < 40; ++size) {
    for (std::size_t place = 0; place < size; ++place) {
      std::string text(size, 'a');
      text[place] = ':';
      EXPECT_EQ(orv::before(text, ":"), std::string(place, 'a')) << size;
      EXPECT_EQ(orv::before(text, ",:"), std::string(place, 'a')) << size;
    }
    const std::string without(size, 'a');
    EXPECT_EQ(orv::before(without, ":"), without);
    EXPECT_EQ(orv::before(without, ",:"), without);
  }
  EXPECT_EQ(orv::before("", ":"), "");
  EXPECT_EQ(orv::before({}, ":"), "");
}

/// How many of the lowest ten bits the hashes of some names fill, of 1,024 names.
template <class Name>
std::size_t places_of(Name name) {
  std::set<std::uint32_t> places;
  for (int number = 0; number < 1024; ++number) places.insert(orv::text_hash(name(number)) % 1024);
  return places.size();
}

TEST(text_hash, spreads_names_that_differ_in_little) {
  // Drawn at random, 1,024 places of as many would be filled to 63 in a hundred.
  constexpr std::size_t well_filled = 580;
  const auto number = [](int value) { return std::to_string(value); };
  EXPECT_GT(places_of(number), well_filled);
  EXPECT_GT(places_of([&](int value) { return "share" + number(value); }), well_filled);
  // What differs stands first, and names of every length modulo eight go on in the same way.
  const std::string rest = "data_of_the_people";
  for (std::size_t size = 0; size <= rest.size(); ++size) {
    const auto with_rest = [&](int value) { return number(value + 1000) + rest.substr(0, size); };
    EXPECT_GT(places_of(with_rest), well_filled) << size;
  }
  EXPECT_GT(places_of([&](int value) { return "/mnt/pool" + number(value) + "/share"; }),
            well_filled);
  EXPECT_GT(places_of([](int value) { return std::string(value, 'a'); }), well_filled);
  EXPECT_GT(places_of([](int value) { return std::string(value, '\0'); }), well_filled);
}

TEST(text_hash, tells_every_byte_of_a_text_apart) {
  for (std::size_t size = 1; size < 40; ++size) {
    std::set<std::uint32_t> hashes = {orv::text_hash(std::string(size, 'a'))};
    for (std::size_t place = 0; place < size; ++place) {
      std::string text(size, 'a');
      text[place] = 'b';
      hashes.insert(orv::text_hash(text));
    }
    EXPECT_EQ(hashes.size(), size + 1);
  }
  EXPECT_EQ(orv::text_hash({}), orv::text_hash(""));
}

}  // namespace
