#ifndef ORV_WATCH_WATCH_H
#define ORV_WATCH_WATCH_H

#include <orv/scoped.h>

#include <functional>
#include <map>
#include <string>

/// What a thing is called, and its state in words: "md0" is "raid5, clean, sda,sdb,sdc".
using states = std::map<std::string, std::string>;

/// Watches one kind of thing and tells what changed since it looked last.
class watch {
 public:
  /// Fills in the states as they are now; the result is the library's.
  using reader = std::function<orv::result(states&)>;
  /// Takes one line.
  using teller = std::function<void(const std::string&)>;

  /// @param noun  what one of them is called, such as "array"
  watch(std::string noun, reader read) : noun_(std::move(noun)), read_(std::move(read)) {}

  /// Looks, and tells what appeared, what changed, what is gone. What cannot be read is told once,
  /// and everything is taken to be as it was.
  void look(const teller& tell);

 private:
  bool is_readable(orv::result result, const teller& tell);
  void compare(const states& now, const teller& tell) const;

  std::string noun_;
  reader read_;
  states known_;
  orv::result last_ = ORV_OK;
};

#endif
