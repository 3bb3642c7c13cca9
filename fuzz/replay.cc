/// Runs a target on inputs that are kept, one execution for each file: `replay TARGET FILE...`.
/// Files of other targets' names are not touched; a target that is not known is a failure.

#include <cstring>
#include <fstream>
#include <iterator>

#include "fuzz.h"

int main(int argc, char** argv) {
  const char* const wanted = argc > 1 ? argv[1] : "";
  const fuzz::known_target* target = fuzz::known_target::first;
  while (target != nullptr && std::strcmp(target->name, wanted) != 0) target = target->next;
  if (target == nullptr) {
    std::fprintf(stderr, "%s: no such target: \"%s\"\n", argv[0], wanted);
    return 2;
  }
  for (int i = 2; i < argc; ++i) {
    std::ifstream file(argv[i], std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    std::fprintf(stderr, "%s\n", argv[i]);
    fuzz::execute(target->function, reinterpret_cast<const uint8_t*>(text.data()), text.size());
  }
  return 0;
}
