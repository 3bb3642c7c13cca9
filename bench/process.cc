#include "bench/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace bench {
namespace {

/// Writes all of it, or throws.
void write_all(int file, const void* bytes, std::size_t size) {
  const char* from = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = write(file, from, size);
    if (written < 0) throw std::system_error(errno, std::generic_category(), "pipe");
    from += written;
    size -= static_cast<std::size_t>(written);
  }
}

/// @return whether all of it came
bool read_all(int file, void* bytes, std::size_t size) {
  char* to = static_cast<char*>(bytes);
  while (size > 0) {
    const ssize_t got = read(file, to, size);
    if (got <= 0) return false;
    to += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
  }
  return status;
}

[[noreturn]] void be_child(const std::function<void(const byte_writer&)>& work, int file) {
  try {
    work([file](const void* bytes, std::size_t size) { write_all(file, bytes, size); });
    _exit(0);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
  }
  _exit(1);
}

}  // namespace

void read_from_child(const std::function<void(const byte_writer&)>& work, void* bytes,
                     std::size_t size) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  const pid_t child = fork();
  if (child == 0) be_child(work, ends[1]);
  const int reason = errno;
  close(ends[1]);
  const bool is_whole = child > 0 && read_all(ends[0], bytes, size);
  close(ends[0]);
  if (child < 0) throw std::system_error(reason, std::generic_category(), "fork");
  const int status = wait_for(child);
  if (WIFSIGNALED(status)) throw std::runtime_error(strsignal(WTERMSIG(status)));
  if (status != 0 || !is_whole) throw std::runtime_error("failed, for the reason told above");
}

void run_program(const std::vector<std::string>& words, const std::string& output) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t child = 0;
  const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), words[0]);
  if (wait_for(child) != 0) throw std::runtime_error(words.back() + " failed");
}

}  // namespace bench
