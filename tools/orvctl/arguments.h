#ifndef ORVCTL_ARGUMENTS_H
#define ORVCTL_ARGUMENTS_H

#include <orv/support.h>

#include <CLI/CLI.hpp>
#include <cstddef>
#include <string>

#include "tools/orvctl/errors.h"

/// Words of the command line are checked here, so that nothing is wrapped or cut on the way to the
/// library.

namespace orvctl {

/// A whole number from 1 that fits 64 bits, in decimal.
extern const CLI::Validator whole_number;
/// Channel numbers from 1 separated by commas.
extern const CLI::Validator channel_list;
/// One channel number from 1.
extern const CLI::Validator channel;
/// A service that shares: samba, nfs, ftp or iscsi.
extern const CLI::Validator service_word;
/// A number from 0 that the FTP service takes as a limit.
extern const CLI::Validator limit;
/// A host name of up to 64 letters, digits, "-" and ".".
extern const CLI::Validator host_name;

/// "--enclosure N", which says where the channels are.
CLI::Option* add_enclosure(CLI::App& verb, std::string& enclosure);

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
