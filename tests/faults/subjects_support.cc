#include <sys/wait.h>

#include "subject.h"

namespace faults {
namespace {

/// A function on an open file of two lines.
template <class Function>
auto with_stream(Function function) {
  return [function](world& w) {
    w.machine.file("/etc/read", "key: one\nkey: two\n");
    auto file = std::shared_ptr<FILE>(std::fopen("/etc/read", "re"), std::fclose);
    auto text = std::make_shared<std::array<char, 256>>();
    return ready_call{.act = [=] { return long{function(file.get(), text->data())}; },
                      .show = [=] { std::printf("'%s'\n", text->data()); }};
  };
}

/// The same command line where the shell is known by its name, and so left out.
std::vector<subject> runs_without_shell() {
  std::vector<subject> all;
  for (const std::string shell : {"dash", "bash"}) {
    for (const unsigned limit : {0U, 60U}) {
      all.push_back({.name = "liborv_system(char const*)",
                     .variant = "instead of " + shell + (limit == 0 ? "" : ", with a limit"),
                     .documented = {-1, 127 << 8, 5 << 8, 137 << 8, SIGKILL},
                     .prepare = call([limit] {
                       orv_set_tool_timeout(limit);
                       const int status = liborv_system("/etc/init.d/samba start > /dev/null");
                       orv_set_tool_timeout(0);
                       return status;
                     }),
                     .shell = shell});
    }
  }
  return all;
}

std::vector<subject> runs() {
  return {
      {.name = "liborv_system(char const*)",
       .documented = {-1, 127 << 8, 5 << 8, 137 << 8, SIGKILL},
       .prepare = call([] { return liborv_system("/etc/init.d/samba start > /dev/null"); })},
      {.name = "orv_set_tool_timeout(unsigned int)",
       .prepare = call([] {
         orv_set_tool_timeout(60);
         return static_cast<int>(orv_set_tool_timeout(0));
       }),
       .expected = 60},
      {.name = "orv_tool_timeout()",
       .prepare = call([] { return static_cast<int>(orv_tool_timeout()); })},
      {.name = "liborv_system(char const*)",
       .variant = "with a limit",
       .documented = {-1, 127 << 8, 5 << 8, 137 << 8, SIGKILL},
       .prepare = call([] {
         orv_set_tool_timeout(60);
         const int status = liborv_system("/etc/init.d/samba start > /dev/null");
         orv_set_tool_timeout(0);
         return status;
       })},
      {.name = "conf_save(char const*)", .documented = {-1}, .prepare = call([] {
                                                               return conf_save("/etc/exports");
                                                             })},
      {.name = "get_linux_version()",
       .documented = {-1},
       .prepare = call(get_linux_version),
       .expected = 6001000},
  };
}

std::vector<subject> text_files() {
  return {
      {.name = "ini_value_get(char*, char const*, char const*, char const*, int)",
       .documented = {-1},
       .prepare = call_with_text([](char* text) {
         return ini_value_get(text, "/etc/sys_info", "product", "type", 256);
       })},
      {.name = "ini_key_get(char const*, char const*, char const*, char*, int)",
       .documented = {-1},
       .prepare = call_with_text(
           [](char* text) { return ini_key_get("/etc/sys_info", "product", "type", text, 256); })},
      {.name = "txt_line_seek(char const*, char const*, int, char*, int)",
       .documented = {-1},
       .prepare = call_with_text(
           [](char* text) { return txt_line_seek("/etc/sys_info", "[", 2, text, 256); })},
      {.name = "fgetline(_IO_FILE*, char*, int)",
       .documented = {-2},
       .prepare = with_stream([](FILE* file, char* text) { return fgetline(file, text, 256); }),
       .expected = 8},
      {.name = "get_line_from_file(_IO_FILE*, char const*, int, char const*, char*, int)",
       .documented = {-1, -2},
       .prepare = with_stream([](FILE* file, char* text) {
         return get_line_from_file(file, "key", 1, ":", text, 256);
       })},
      {.name = "get_line_from_file_end(_IO_FILE*, char const*, int, char const*, char*, int)",
       .documented = {-1, -2},
       .prepare = with_stream([](FILE* file, char* text) {
         return get_line_from_file_end(file, "key", 1, ":", text, 256);
       })},
  };
}

std::vector<subject> fields() {
  return {
      {.name = "get_substr_from_line(char const*, int, char const*, int, char**)",
       .documented = {0},
       .prepare = call([] {
         char* field = nullptr;
         static const std::string line(100, 'x');
         return get_substr_from_line(line.c_str(), 100, ":", 0, &field);
       }),
       .expected = 1},
      {.name = "get_size_from_display(char const*, int, char const*, int, unsigned long*)",
       .documented = {-1},
       .prepare = call([] {
         uint64_t value = 0;
         return get_size_from_display("a:12", 4, ":", 1, &value);
       })},
      {.name = "get_str_from_display(char const*, int, char const*, int, char*, int)",
       .documented = {-1},
       .prepare = call_with_text(
           [](char* text) { return get_str_from_display("a:12", 4, ":", 1, text, 256); })},
      {.name = "orv_perror_msg(char const*, ...)",
       .prepare = call([] {
         orv_perror_msg("%s", "something");
         return 0;
       }),
       .overcomes = because("nobody is told that the log is not", {every_fault})},
      {.name = "liborv_log_error(char const*, ...)",
       .prepare = call([] { return liborv_log_error("%s\n", "something"); }),
       .expected = -1,
       .overcomes = because("nobody is told that the log is not", {every_fault})},
  };
}

}  // namespace

std::vector<subject> support_subjects() {
  std::vector<subject> all = runs();
  for (const auto& more : {runs_without_shell(), text_files(), fields()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace faults
