#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "capture.h"
#include "errors.h"
#include "files.h"
#include "jail.h"
#include "libc.h"
#include "log_socket.h"
#include "programs/records.h"
#include "sandbox.h"
#include "text.h"
#include "toolbox.h"

namespace sandbox {
namespace {

// What children of the process inherit, and restores it.
class process_settings {
 public:
  process_settings() : umask_(::umask(022)) {
    if (const char* path = std::getenv("PATH")) path_ = path;
    ::setenv("PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", 1);
  }
  ~process_settings() {
    for (const auto& [name, value] : hidden_) ::setenv(name.c_str(), value.c_str(), 1);
    ::setenv("PATH", path_.c_str(), 1);
    ::umask(umask_);
  }
  process_settings(const process_settings&) = delete;
  process_settings& operator=(const process_settings&) = delete;

  void keep_only_path() {
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
      const std::string text = *entry;
      const auto equals = text.find('=');
      if (equals != text.npos) hidden_.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    ::clearenv();
    ::setenv("PATH", hidden_["PATH"].c_str(), 1);
  }

 private:
  mode_t umask_;
  std::string path_;
  std::map<std::string, std::string> hidden_;  // variables of the process
};

bool is_log_connection(int descriptor) {
  sockaddr_un peer{};
  socklen_t size = sizeof peer;
  return ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
         peer.sun_family == AF_UNIX && std::string_view(peer.sun_path) == "/dev/log";
}

std::string target_of(int directory, const std::string& name) {
  char target[4096];
  const ssize_t size = ::readlinkat(directory, name.c_str(), target, sizeof target);
  return size < 0 ? "" : std::string(target, static_cast<size_t>(size));
}

// All open descriptors of the process. The one that reads the list is in it, but closed by now.
lines descriptors_now() {
  lines descriptors;
  const int directory = must(open_on_host("/proc/self/fd", O_RDONLY | O_DIRECTORY), "descriptors");
  for (const auto& name : names_in(must(::fcntl(directory, F_DUPFD_CLOEXEC, 0), "descriptors"))) {
    const int number = std::stoi(name);
    const auto target = ' ' + target_of(directory, name);
    if (number != directory && target != " " && !is_log_connection(number))
      descriptors.push_back(name + target);
  }
  ::close(directory);
  return descriptors;
}

std::string readable(std::string_view text) {
  return without_line_numbers(libc::with_templates(std::string(text)));
}

}  // namespace

// In this order they are set up, and in the opposite order taken down.
struct machine::parts {
  process_settings settings;
  jail walls;
  log_socket log;
  toolbox tools;
  stdout_capture output;
  lines descriptors;  // open before the test began
  size_t forgotten_messages = 0;
  size_t forgotten_output = 0;
};

machine::machine() : parts_(std::make_unique<parts>()) {
  libc::reset();
  parts_->descriptors = descriptors_now();
}

machine::~machine() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  for (const auto& complaint : parts_->tools.complaints())
    ADD_FAILURE_AT(test->file(), test->line()) << complaint;
  if (testing::Test::HasFailure()) tell_story();
  parts_.reset();
  libc::reset();
}

// What whoever reads the failure wants to see next.
void machine::tell_story() const {
  std::string story = "The machine ran:\n";
  for (const auto& command : commands()) story += "  " + command + '\n';
  story += "It logged:\n";
  for (const auto& message : log_lines()) story += message + '\n';
  story += "It printed:\n" + output();
  parts_->output.pause();
  std::puts(story.c_str());
  parts_->output.resume();
}

void machine::shell_is(const std::string& name) {
  parts_->tools.look_for_misses();
  link("/bin/" + name, shell);
  link("/bin/sh", name);
  parts_->settings.keep_only_path();
}

fake_tool& machine::tool(std::string_view path) { return parts_->tools.at(path); }

lines machine::commands() const {
  auto texts = parts_->tools.commands();
  for (auto& text : texts) text = libc::with_templates(text);
  return texts;
}

std::vector<call_record> machine::call_records() const {
  auto calls = parts_->tools.calls();
  for (auto& call : calls)
    for (auto& word : call.words) word = libc::with_templates(word);
  return calls;
}

std::vector<lines> machine::calls() const {
  std::vector<lines> calls;
  for (const auto& call : call_records()) calls.push_back(call.words);
  return calls;
}

std::vector<log_record> machine::log_records() const {
  auto records = parts_->log.records();
  records.erase(records.begin(),
                records.begin() + static_cast<ptrdiff_t>(parts_->forgotten_messages));
  return records;
}

std::string machine::log() const {
  std::string text;
  for (const auto& message : log_records()) text += readable(message.text);
  return text;
}

lines machine::log_lines() const {
  lines messages;
  for (const auto& message : log_records()) {
    auto& text = messages.emplace_back(readable(message.text));
    if (text.ends_with('\n')) text.pop_back();
  }
  return messages;
}

std::string machine::output() const {
  return parts_->output.text().substr(parts_->forgotten_output);
}

void machine::forget() {
  parts_->tools.forget();
  parts_->forgotten_messages = parts_->log.records().size();
  parts_->forgotten_output = parts_->output.text().size();
}

void machine::file(const std::string& path, std::string_view text, mode_t mode) {
  parts_->tools.look_for_misses();
  write_file(path, text, mode);
}

void machine::directory(const std::string& path, mode_t mode) { make_directory(path, mode); }

void machine::link(const std::string& path, const std::string& target) {
  make_parents(path);
  ::unlink(path.c_str());
  must(::symlink(target.c_str(), path.c_str()), path);
}

void machine::remove(const std::string& path) {
  parts_->tools.look_for_misses();
  remove_tree(path);
}

std::string machine::read(const std::string& path) const {
  if (!exists(path)) throw std::runtime_error("the machine has no file " + path);
  return whole_file(path.c_str());
}

bool machine::exists(const std::string& path) const {
  struct stat found {};
  return ::fstatat(AT_FDCWD, path.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
}

mode_t machine::mode(const std::string& path) const {
  struct stat found {};
  must(::fstatat(AT_FDCWD, path.c_str(), &found, 0), path);
  return found.st_mode & 07777;
}

bool machine::knows_other_users() const { return !only_one_user(); }

lines machine::list(const std::string& path) const {
  auto names = names_in(must(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), path));
  std::erase(names, ".sandbox");
  const auto start = path.ends_with('/') ? path : path + '/';
  for (auto& name : names) {
    name.insert(0, start);
    name = libc::with_templates(name).substr(start.size());
  }
  return names;
}

void machine::mount_tmpfs(const std::string& path, const std::string& options) {
  make_directory(path, 0755);
  must(::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()), path);
}

void machine::remount_read_only(const std::string& path) {
  must(::mount(nullptr, path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), path);
}

void machine::unmount(const std::string& path) { must(::umount2(path.c_str(), 0), path); }

void machine::kernel_release(std::string_view release) { libc::set_kernel_release(release); }

void machine::statfs(const std::string& path, const disk_space& space) {
  libc::set_disk_space(path, space);
}

void machine::in_use(const std::string& device) { libc::set_in_use(device); }

void machine::fail(std::string_view function, int error, int nth_call) {
  libc::fail(function, error, nth_call);
}

lines machine::open_descriptors() const {
  auto descriptors = descriptors_now();
  for (const auto& before : parts_->descriptors) std::erase(descriptors, before);
  for (auto& descriptor : descriptors) descriptor = libc::with_templates(descriptor);
  return descriptors;
}

std::string fixture(const std::string& name) {
  const auto path = (std::filesystem::path(ORV_FIXTURES) / name).lexically_normal();
  const int file = open_on_host(path, O_RDONLY);
  if (file < 0) throw std::runtime_error("no fixture " + name);
  auto text = rest_of_file(file);
  ::close(file);
  return text;
}

}  // namespace sandbox
