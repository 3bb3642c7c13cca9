#include "watch.h"

#include <utility>

void watch::look(const teller& tell) {
  states now;
  if (!is_readable(read_(now), tell)) return;
  compare(now, tell);
  known_ = std::move(now);
}

bool watch::is_readable(orv::result result, const teller& tell) {
  if (result != std::exchange(last_, result)) {
    tell(noun_ + "s " + (result ? "can be read again" : "cannot be read: " + result.text()));
  }
  return static_cast<bool>(result);
}

void watch::compare(const states& now, const teller& tell) const {
  for (const auto& [name, state] : now) {
    const auto before = known_.find(name);
    if (before == known_.end()) {
      tell(noun_ + ' ' + name + ": " + state);
    } else if (before->second != state) {
      tell(noun_ + ' ' + name + ": " + state + " (was: " + before->second + ')');
    }
  }
  for (const auto& [name, state] : known_) {
    if (!now.contains(name)) tell(noun_ + ' ' + name + " is gone (was: " + state + ')');
  }
}
