#include "tools/orvctl/arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace orvctl {
namespace {

// A leading zero is refused: it means octal to some readers and never matches a channel.
bool is_whole_number(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && text.front() != '0';
}

// The library reads no more digits of a channel number.
constexpr std::size_t channel_digits = 7;

bool is_channel(std::string_view text) {
  return text.size() <= channel_digits && is_whole_number(text);
}

bool is_channel_list(std::string_view text) {
  for (;;) {
    const std::size_t comma = text.find(',');
    if (!is_channel(text.substr(0, comma))) return false;
    if (comma == std::string_view::npos) return true;
    text.remove_prefix(comma + 1);
  }
}

constexpr std::string_view services[] = {"samba", "nfs", "ftp", "iscsi"};

bool is_service(std::string_view word) {
  return std::find(std::begin(services), std::end(services), word) != std::end(services);
}

// A larger number would be written as a negative one.
bool is_limit(std::string_view text) {
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= 0 &&
         text.front() != '-';
}

bool is_host_name(std::string_view text) {
  constexpr std::size_t longest = 64;
  constexpr std::string_view letters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-.";
  return !text.empty() && text.size() <= longest && text.front() != '-' && text.front() != '.' &&
         text.find_first_not_of(letters) == std::string_view::npos;
}

CLI::Validator accept(bool (*fits)(std::string_view), const char* wanted) {
  return CLI::Validator(
      [fits, wanted](std::string& word) {
        return fits(word) ? std::string() : "'" + word + "' is not " + wanted;
      },
      "");
}

}  // namespace

const CLI::Validator whole_number = accept(is_whole_number, "a whole number from 1");
const CLI::Validator channel = accept(is_channel, "a channel number from 1");
const CLI::Validator channel_list =
    accept(is_channel_list, "a list of channel numbers from 1, such as 1,2,3");
const CLI::Validator service_word = accept(is_service, "samba, nfs, ftp or iscsi");
const CLI::Validator limit = accept(is_limit, "a whole number from 0 to 2147483647");
const CLI::Validator host_name =
    accept(is_host_name, "a host name of up to 64 letters, digits, '-' and '.'");

CLI::Option* add_enclosure(CLI::App& verb, std::string& enclosure) {
  return verb
      .add_option("--enclosure", enclosure, "enclosure of the channels, 0 to 4 (0: the chassis)")
      ->type_name("N")
      ->check(accept(
          [](std::string_view word) {
            return word.size() == 1 && word[0] >= '0' && word[0] <= '4';
          },
          "an enclosure from 0 to 4"));
}

void must_fit(const std::string& text, std::size_t size, const char* what) {
  if (text.size() < size) return;
  throw usage_problem(
      std::string(what) + " is longer than " + std::to_string(size - 1) + " characters",
      "give a shorter one");
}

}  // namespace orvctl
