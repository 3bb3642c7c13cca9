#ifndef ORV_SHARE_SHARE_TEXT_H
#define ORV_SHARE_SHARE_TEXT_H

#include <string>
#include <string_view>

#include "common/secret_text.h"

/// Values as share files hold them: no value adds a line, a section or a second "=", so what is
/// written can be read again.

namespace orv {

/// A value with blanks for its control characters but tab, and for the characters of `unfit`.
std::string fit_value(std::string_view value, std::string_view unfit = "");

/// Appends such a value.
void append_fit_value(secret_text& text, std::string_view value, std::string_view unfit = "");

/// A value of a "key = value" line of a Samba file. "\" at its end, with which Samba would go on in
/// the next line even when blanks or tabs follow, becomes a blank too.
std::string samba_value(std::string_view value);

/// A share's name as "/etc/sharefolder.conf" and the Samba files hold it. The name of an iSCSI
/// target, which is one word, has "_" for blanks.
/// @param service  the share's service word, in any case
std::string stored_name(std::string_view name, std::string_view service = "");

/// True for a name that Samba takes for the section of its global settings. It knows that section
/// as "global" and as "globals", and compares neither case nor white space.
bool is_global_to_samba(std::string_view name);

/// A list of users or clients as it is written: one of which no character is left names nobody,
/// "_", since an empty list would let everybody in.
/// @param fit  the list with blanks for its unfit characters
std::string_view or_nobody(std::string_view fit, std::string_view list);

/// A list of users or clients, ended at the last item that fits the room. The first item is cut
/// where it does not fit alone: an empty list would let everybody in.
std::string_view whole_items(std::string_view list, std::size_t room);

/// Appends "[NAME]" as a line. A section without a name is still one: "[ ]".
void append_section(secret_text& text, std::string_view name);

/// Appends an indented "key = value" line, of which the key has the only "=".
void append_setting(secret_text& text, std::string_view key, std::string_view value);

}  // namespace orv

#endif
