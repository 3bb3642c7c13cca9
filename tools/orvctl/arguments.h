#ifndef ORVCTL_ARGUMENTS_H
#define ORVCTL_ARGUMENTS_H

#include <orv/support.h>

#include <cstddef>
#include <string>

#include "tools/orvctl/errors.h"
#include "tools/orvctl/fields.h"
#include "tools/orvctl/options.h"

/// Words of the command line are checked here, so that nothing is wrapped or cut on the way to the
/// library.

namespace orvctl {

/// A whole number from 1 that fits 64 bits, in decimal.
extern const word_rule whole_number;
/// Channel numbers from 1 separated by commas.
extern const word_rule channel_list;
/// One channel number from 1.
extern const word_rule channel;
/// A service that shares: samba, nfs, ftp or iscsi.
extern const word_rule service_word;
/// A number from 0 that the FTP service takes as a limit.
extern const word_rule limit;
/// A host name of up to 64 letters, digits, "-" and ".".
extern const word_rule host_name;

/// "--enclosure N", which says where the channels are.
option add_enclosure(CLI::App& verb, std::string& enclosure);

}  // namespace orvctl

#endif
