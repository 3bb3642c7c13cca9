#include <algorithm>
#include <string>

#include "common/families.h"
#include "common/log.h"
#include "common/octal_code.h"
#include "common/text.h"
#include "share/rewrite.h"
#include "share/share_lines.h"
#include "share/share_paths.h"
#include "share/share_text.h"

/// The exports: "/etc/exports" and, in the same format, the recycle file.

namespace {

/// What is committed after the recycle file was written. The name is another one than the file's;
/// it has always been so.
constexpr char committed_recy_path[] = "/etc/exports_recy.conf";

/// Lines of up to 10 characters say nothing.
constexpr std::size_t shortest_export = 11;

bool is_export(std::string_view line) {
  return line.starts_with('/') && line.ends_with(')') && line.find(' ') != std::string_view::npos;
}

/// What becomes a blank in a list of clients. Parentheses hold options, "#" begins a comment, which
/// would leave the export without its clients, and a quotation mark begins a word that goes on over
/// blanks and line ends, through other exports. With "\" any of them could be written as a number:
/// "\050" is a parenthesis again.
constexpr std::string_view unfit_in_clients = "\t()#\"\\";

/// The clients without what is none: a word that begins with "-" is default options.
std::string fit_clients(std::string_view list) {
  std::string fit = orv::fit_value(list, unfit_in_clients);
  for (std::size_t i = 0; i < fit.size(); ++i) {
    if (fit[i] == '-' && (i == 0 || fit[i - 1] == ' ')) fit[i] = ' ';
  }
  return fit;
}

/// A share is writable whatever its options say: nothing tells "ro" from "rw" when exports are read
/// back.
bool append_export(tag_shareconf_list* list, std::string_view line) {
  tag_share_config* const share = orv::append(list);
  if (share == nullptr) return false;
  const std::size_t blank = line.find(' ');
  const orv::unescaped_text path(line.substr(0, blank));
  orv::set_text(share->service, "nfs");
  orv::set_text(share->path, path.text());
  orv::set_text(share->name, orv::after_last(path.text(), '/'));
  orv::set_text(share->valid_users, orv::trimmed_left(orv::before(line.substr(blank + 1), "(")));
  return true;
}

int read_export(tag_shareconf_list* list, std::string_view line) {
  if (line.size() < shortest_export || line.starts_with('#')) return ORV_OK;
  if (orv::after(line, '(').find('(') != line.npos) return orv::senseless_line();
  if (!is_export(line)) return ORV_OK;
  return append_export(list, line) ? ORV_OK : ORV_E_SHARE_READ;
}

/// The clients of an export, as many as there is room for. A blank at their end would export to
/// everybody what is meant for the last of them; so might the beginning of an address.
std::string clients_of(const tag_share_config& share, std::size_t room) {
  constexpr std::size_t longest_address = 64;
  const std::string_view list = orv::text_of(share.valid_users);
  const std::string fit = fit_clients(list);
  std::string_view clients = orv::trimmed_right(orv::or_nobody(fit, list));
  if (room >= longest_address) clients = orv::trimmed_right(orv::whole_items(clients, room));
  return clients.empty() ? "*" : std::string(clients);
}

void append_share(orv::secret_text& text, const tag_share_config& share) {
  const std::string path = orv::escaped(orv::text_of(share.path), "\"#(");
  const std::string options = share.writable == 1 ? "(rw" : "(ro";
  const std::string rest = options + ",sync,no_root_squash)";
  const std::size_t taken = path.size() + 1 + rest.size();
  const std::size_t room = std::max<std::size_t>(orv::longest_share_line, taken) - taken;
  text += path + ' ' + clients_of(share, room) + rest + '\n';
}

}  // namespace

int get_share_from_nfs(int fd, tag_shareconf_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  return orv::read_share_lines(fd, orv::line_buffer::kept,
                               [list](std::string_view line) { return read_export(list, line); });
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int put_share_to_nfs(int fd, tag_shareconf_list* list) try {
  return orv::rewrite(fd, list, append_share, orv::exports_path);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int put_share_to_nfs_recy(int fd, tag_shareconf_list* list) try {
  return orv::rewrite(fd, list, append_share, committed_recy_path);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
