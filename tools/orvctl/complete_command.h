#ifndef ORVCTL_COMPLETE_COMMAND_H
#define ORVCTL_COMPLETE_COMMAND_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace orvctl {

struct query;

/// What could stand in the place of the last word of a command line that is being typed. ":files"
/// means any file. Never ends in an error: who types has to see nothing of it.
/// @param program  the whole grammar
/// @param queries  of it, which know the columns of their lists
/// @param words    without the program's name; the last may be empty
std::vector<std::string> completions(const CLI::App& program, const std::vector<query>& queries,
                                     const std::vector<std::string>& words);

}  // namespace orvctl

#endif
