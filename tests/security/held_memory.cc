#include "tests/security/held_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "tests/sandbox/jail.h"
#include "tests/sandbox/programs/records.h"
#include "tests/security/texts.h"

namespace security {
namespace {

struct mapping {
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  std::string name;
  bool is_in_core = true;
};

std::string on_host(pid_t child, const char* name) {
  return "/proc/" + std::to_string(child) + '/' + name;
}

/// True for a line that begins a mapping in "smaps": its address, rights, ... and name.
bool begins(const std::string& line, mapping& next) {
  char rights[5] = "";
  int name = 0;
  next = {};
  if (std::sscanf(line.c_str(), "%lx-%lx %4s %*s %*s %*s %n", &next.start, &next.end, rights,
                  &name) != 3) {
    return false;
  }
  next.name = line.substr(std::min(static_cast<std::size_t>(name), line.size()));
  next.is_in_core = rights[0] == 'r' && next.name != "[vvar]";
  return true;
}

/// Mappings that a core has: readable, with pages of their own (not those of a program or library
/// as they are on the disk), and not left out of it as the shadow memory of the sanitizers is.
std::vector<mapping> mappings_of(pid_t child) {
  const int file = sandbox::open_on_host(on_host(child, "smaps"), O_RDONLY | O_CLOEXEC);
  std::istringstream lines(sandbox::rest_of_file(file));
  close(file);
  std::vector<mapping> all;
  for (std::string line; std::getline(lines, line);) {
    mapping next;
    if (begins(line, next)) {
      all.push_back(next);
    } else if (line.starts_with("VmFlags:") && line.find(" dd") != line.npos) {
      all.back().is_in_core = false;
    } else if (line.starts_with("Anonymous:") && line.find(" 0 kB") != line.npos) {
      all.back().is_in_core = false;
    }
  }
  std::erase_if(all, [](const mapping& one) { return !one.is_in_core; });
  return all;
}

/// Reads a mapping into a buffer that is used again; what cannot be read stays as it was.
std::string_view bytes_of(int memory, const mapping& one, std::vector<char>& buffer) {
  constexpr std::size_t page = 4096;
  const std::size_t size = one.end - one.start;
  if (buffer.size() < size) buffer.resize(size);
  for (std::size_t done = 0; done < size;) {
    const ssize_t got =
        pread(memory, buffer.data() + done, size - done, static_cast<off_t>(one.start + done));
    done += got > 0 ? static_cast<std::size_t>(got) : page;
  }
  return {buffer.data(), size};
}

/// A third of the overlapping parts of so many bytes: whoever holds two more holds one of them.
std::vector<std::string> parts_of(const std::string& text) {
  constexpr std::size_t size = 6;
  std::vector<std::string> parts;
  for (std::size_t at = 0; at + size <= text.size(); at += 3)
    parts.push_back(text.substr(at, size));
  return parts;
}

class search {
 public:
  explicit search(const std::string& text) : parts_(parts_of(text)) {}

  void look_at(std::string_view bytes, const std::string& name) {
    for (const std::string& part : parts_) {
      const void* const found = memmem(bytes.data(), bytes.size(), part.data(), part.size());
      if (found == nullptr) continue;
      const auto at = static_cast<std::size_t>(static_cast<const char*>(found) - bytes.data());
      const std::size_t from = at < 32 ? 0 : at - 32;
      found_.push_back(name + ": " + shown(std::string(bytes.substr(from, 96))));
      return;
    }
  }
  std::vector<std::string> found() const { return found_; }

 private:
  std::vector<std::string> parts_;
  std::vector<std::string> found_;
};

std::vector<std::string> places_in_memory_of(pid_t child, const std::string& text) {
  search all(text);
  std::vector<char> buffer;
  const int memory = sandbox::open_on_host(on_host(child, "mem"), O_RDONLY | O_CLOEXEC);
  for (const mapping& one : mappings_of(child)) {
    all.look_at(bytes_of(memory, one, buffer), one.name);
  }
  close(memory);
  return all.found();
}

/// Writes a password of its own for each number. Nothing else in the process holds any of it.
void make_password(int number, char* password, std::size_t size) {
  constexpr char characters[] = "abcdefghijkmnopqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789$%+,-./:";
  auto state = static_cast<std::uint64_t>(number) * 0x9e3779b97f4a7c15U + 1;
  for (std::size_t i = 0; i < size; ++i) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    password[i] = characters[(state >> 33U) & 63U];
  }
  password[size] = '\0';
}

[[noreturn]] void call_and_stop(const password_call& call, int number, std::size_t size,
                                int& result) {
  char password[32];
  make_password(number, password, size);
  result = call(password);
  explicit_bzero(password, sizeof password);
  raise(SIGSTOP);
  _exit(0);
}

}  // namespace

char* copy(char* to, const char* text) {
  while (*text != '\0') *to++ = *text++;
  *to = '\0';
  return to;
}

traces traces_of(const password_call& call, std::size_t size) {
  static int number = 0;
  ++number;
  void* const shared =
      mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) throw std::runtime_error("mmap");
  int& result = *static_cast<int*>(shared);
  const pid_t child = fork();
  if (child == 0) call_and_stop(call, number, size, result);
  int status = 0;
  if (waitpid(child, &status, WUNTRACED) != child || !WIFSTOPPED(status)) {
    throw std::runtime_error("the caller has ended");
  }
  char password[32];
  make_password(number, password, size);
  const traces found = {result, places_in_memory_of(child, password)};
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  munmap(shared, sizeof(int));
  return found;
}

}  // namespace security
