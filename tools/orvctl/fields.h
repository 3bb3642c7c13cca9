#ifndef ORVCTL_FIELDS_H
#define ORVCTL_FIELDS_H

#include <orv/support.h>

#include <cstddef>
#include <string>

/// Texts on their way into the fields of a request: none of them is cut.

namespace orvctl {

/// Ends the command when a text is longer than the library keeps.
void must_fit(const std::string& text, std::size_t size, const char* what);

/// Fills a field of a request.
template <std::size_t size>
void set_field(char (&field)[size], const std::string& text, const char* what) {
  must_fit(text, size, what);
  liborv_strncpy(field, static_cast<int>(size), text.c_str());
}

}  // namespace orvctl

#endif
