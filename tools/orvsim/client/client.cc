// Stands for every simulated tool: hands its name, its arguments, its folder and its standard
// descriptors to the server of the appliance, and ends as the server says.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr char socket_path[] = "/run/orvsim/socket";
constexpr int no_server = 125;

[[noreturn]] void give_up(const char* what) {
  std::perror(what);
  std::exit(no_server);
}

int connect_to_server() {
  const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socket_path, sizeof socket_path);
  if (connection < 0 ||
      connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    give_up("orvsim: the appliance does not answer");
  }
  return connection;
}

/// A standard descriptor that is closed is open on nothing: all three go to the server.
void open_missing() {
  while (true) {
    const int file = open("/dev/null", O_RDWR);
    if (file > STDERR_FILENO) close(file);
    if (file < 0 || file > STDERR_FILENO) return;
  }
}

/// "tool", the folder, and the words of the command line, with a NUL between them.
std::string question(int count, char** words) {
  char folder[4096];
  std::string text("tool");
  text.append(1, '\0').append(getcwd(folder, sizeof folder) == nullptr ? "/" : folder);
  for (int i = 0; i < count; ++i) text.append(1, '\0').append(words[i]);
  return text;
}

/// The length of the message, with the standard descriptors attached.
void send_head(int connection, std::uint32_t size) {
  const int descriptors[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
  alignas(cmsghdr) char room[CMSG_SPACE(sizeof descriptors)] = {};
  iovec part{&size, sizeof size};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = room;
  message.msg_controllen = sizeof room;
  cmsghdr* const rights = CMSG_FIRSTHDR(&message);
  rights->cmsg_level = SOL_SOCKET;
  rights->cmsg_type = SCM_RIGHTS;
  rights->cmsg_len = CMSG_LEN(sizeof descriptors);
  std::memcpy(CMSG_DATA(rights), descriptors, sizeof descriptors);
  if (sendmsg(connection, &message, MSG_NOSIGNAL) != sizeof size) give_up("orvsim: send");
}

void send_text(int connection, const std::string& text) {
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t now = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (now <= 0) give_up("orvsim: send");
    sent += static_cast<std::size_t>(now);
  }
}

void receive_bytes(int connection, void* bytes, std::size_t size) {
  for (std::size_t got = 0; got < size;) {
    const ssize_t now = read(connection, static_cast<char*>(bytes) + got, size - got);
    if (now <= 0) give_up("orvsim: the appliance has been switched off");
    got += static_cast<std::size_t>(now);
  }
}

std::vector<std::string> receive_fields(int connection) {
  std::uint32_t size = 0;
  receive_bytes(connection, &size, sizeof size);
  std::string text(size, '\0');
  receive_bytes(connection, text.data(), size);
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == '\0')
      fields.emplace_back();
    else
      fields.back() += c;
  }
  return fields;
}

[[noreturn]] void continue_as(std::vector<std::string>& fields) {
  std::vector<char*> words;
  for (std::size_t i = 2; i < fields.size(); ++i) words.push_back(fields[i].data());
  words.push_back(nullptr);
  execv(fields[1].c_str(), words.data());
  give_up(fields[1].c_str());
}

}  // namespace

/// The server answers with "exit STATUS", "signal NUMBER" or "exec PROGRAM WORD...".
int main(int count, char** words) {
  open_missing();
  const int connection = connect_to_server();
  const std::string text = question(count, words);
  send_head(connection, static_cast<std::uint32_t>(text.size()));
  send_text(connection, text);
  std::vector<std::string> answer = receive_fields(connection);
  if (answer.size() < 2) return no_server;
  if (answer[0] == "exec") continue_as(answer);
  const int number = std::atoi(answer[1].c_str());
  if (answer[0] == "signal") {
    std::signal(number, SIG_DFL);
    raise(number);
  }
  return number;
}
