#include "tools/orvctl/dry_run.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ostream>
#include <sstream>

#include "tools/orvctl/library_calls.h"
#include "tools/orvctl/plan.h"
#include "tools/orvctl/private_folders.h"
#include "tools/orvctl/rehearsal.h"

namespace orvctl {
namespace {

json json_of(const problem& found) {
  json object = {{"status", static_cast<int>(found.status)},
                 {"name", found.name},
                 {"meaning", found.meaning},
                 {"detail", found.detail},
                 {"advice", found.advice},
                 {"code", nullptr}};
  if (found.code) object["code"] = *found.code;
  return object;
}

problem problem_of(const json& object) {
  problem found;
  found.status = static_cast<exit_status>(object["status"].get<int>());
  found.name = object["name"];
  found.meaning = object["meaning"];
  found.detail = object["detail"];
  found.advice = object["advice"];
  if (object["code"].is_number()) found.code = object["code"].get<int>();
  return found;
}

/// What the action comes to in a process that only rehearses: its plan, and the problem that ended
/// it, if one did. Its own words are lost: nothing of what it says has been done.
json rehearsed(const session& run, const std::function<void(session&)>& action) {
  plan noted;
  json result = {{"problem", nullptr}};
  try {
    const private_folders folders;
    rehearse(noted);
    std::istringstream nothing;
    std::ostringstream unheard;
    const streams deaf = {nothing, unheard, unheard, false};
    session only{deaf};
    only.as_json = run.as_json;
    only.yes = true;
    only.planned = &noted;
    try {
      action(only);
    } catch (const problem& found) {
      result["problem"] = json_of(found);
    }
    noted.files = folders.changes();
  } catch (const problem& found) {
    result["problem"] = json_of(found);
  }
  result["ended"] = ended_command();
  result["plan"] = json_of(noted);
  result["losses"] = noted.losses;
  return result;
}

void write_all(int file, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = ::write(file, text.data() + done, text.size() - done);
    if (written < 0 && errno != EINTR) return;
    if (written > 0) done += static_cast<std::size_t>(written);
  }
}

std::string read_all(int file) {
  std::string text;
  char part[4096];
  for (;;) {
    const ssize_t got = ::read(file, part, sizeof part);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return text;
    text.append(part, static_cast<std::size_t>(got));
  }
}

problem no_rehearsal() {
  return library_problem(ORV_E_FAILED, "the rehearsal did not end by itself; nothing was changed");
}

/// A process of its own: its mounts go with it, whatever ends it.
json in_own_process(const std::function<json()>& work) {
  int channel[2];
  if (::pipe2(channel, O_CLOEXEC) != 0) throw no_rehearsal();
  const pid_t child = ::fork();
  if (child == 0) {
    try {
      write_all(channel[1], work().dump(-1, ' ', false, json::error_handler_t::replace));
    } catch (...) {
      // The parent finds half a text, or none.
    }
    ::_exit(0);
  }
  ::close(channel[1]);
  const std::string text = child < 0 ? "" : read_all(channel[0]);
  ::close(channel[0]);
  while (child > 0 && ::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  json result = json::parse(text, nullptr, false);
  if (result.is_discarded()) throw no_rehearsal();
  return result;
}

void show(session& run, const json& result) {
  if (run.as_json) {
    run.document["plan"] = result["plan"];
    return;
  }
  plan made = plan_of(result["plan"]);
  made.losses = result["losses"];
  run.io.out << text_of(made) << std::flush;
  run.io.err << "This was a dry run: nothing was changed.\n";
}

}  // namespace

void show_plan_of(session& run, const std::function<void(session&)>& action) {
  const json result = in_own_process([&] { return rehearsed(run, action); });
  set_ended_command(result["ended"]);
  if (result["problem"].is_null()) return show(run, result);
  // What would have been done before that is worth to be known.
  if (!result["plan"]["steps"].empty() || run.as_json) show(run, result);
  throw problem_of(result["problem"]);
}

}  // namespace orvctl
