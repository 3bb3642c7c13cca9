#include "tools/orvctl/rehearsal.h"

#include <algorithm>
#include <array>

#include "tools/orvctl/imitation.h"
#include "tools/orvctl/library_calls.h"

namespace orvctl {
namespace {

/// How the command lines begin that only ask. What they print goes to a temporary file.
constexpr std::array<std::string_view, 17> questions = {
    "cat /proc/",
    "cat /etc/ietd.conf ",
    "/bin/busybox pidof ",
    "/sbin/lvdisplay -c ",
    "/sbin/pvdisplay -c ",
    "/sbin/vgdisplay -c ",
    "/sbin/mdadm --detail ",
    "/usr/bin/smbstatus ",
    "/usr/local/bin/arcadm --display --scan ",
    "/usr/local/bin/arcadm --misc --scan ",
    "/usr/local/bin/arcadm --misc -s ",
    "/usr/local/bin/hotspare --list ",
    "/usr/local/bin/pwstate ",
    "/usr/local/sbin/smartctl -d marvell -T permissive -Hi ",
    "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes ",
    "netstat -t ",
    "smbstatus ",
};

bool begins_as_question(std::string_view command) {
  return std::any_of(questions.begin(), questions.end(), [command](std::string_view question) {
    return command.starts_with(question);
  });
}

/// Notes what would be done.
class rehearsing_calls : public library_calls {
 public:
  explicit rehearsing_calls(plan& noted) : noted_(noted) {}

  std::optional<int> command(const char* line) override {
    if (only_asks(line)) return std::nullopt;
    noted_.steps.push_back({true, line});
    imitate(line);
    return 0;
  }
  bool call(const std::string& what) override {
    noted_.steps.push_back({false, what});
    return true;
  }

 private:
  plan& noted_;
};

}  // namespace

bool only_asks(std::string_view command) {
  const std::size_t output = command.find(" > ");
  return begins_as_question(command) && output != std::string_view::npos &&
         command.substr(output).starts_with(" > /tmp/");
}

void rehearse(plan& noted) {
  static rehearsing_calls calls(noted);
  replace_library_calls(&calls);
}

}  // namespace orvctl
