#include "tools/orvctl/commands.h"

namespace orvctl {

CLI::App& add_noun(CLI::App& program, const std::string& name, const std::string& about,
                   const std::string& example) {
  CLI::App& noun = *program.add_subcommand(name, about);
  noun.require_subcommand(1);
  noun.footer("Example:\n  " + example + "\n\nEvery command has its own --help.");
  return noun;
}

CLI::App& add_verb(CLI::App& noun, session& run, const std::string& name, const std::string& about,
                   const std::string& example) {
  CLI::App& verb = *noun.add_subcommand(name, about);
  verb.add_flag("--json", run.as_json, "write one JSON document, also for an error");
  verb.footer("Example:\n  " + example);
  return verb;
}

CLI::App& add_destroying_verb(CLI::App& noun, session& run, const std::string& name,
                              const std::string& about, const std::string& example) {
  CLI::App& verb = add_verb(noun, run, name, about, example);
  verb.add_flag("-y,--yes", run.yes, "go ahead without a question");
  return verb;
}

CLI::Option* add_word(CLI::App& verb, const std::string& name, std::string& word,
                      const std::string& about) {
  return verb.add_option(name, word, about)->required()->type_name("");
}

void on_run(CLI::App& verb, session& run, void (*action)(session&)) {
  verb.callback([&run, action] { action(run); });
}

}  // namespace orvctl
