#include <orv/support.h>

#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>

int get_linux_version() {
  utsname machine{};
  if (uname(&machine) != 0) return -1;
  constexpr long largest_number = 999;  // more would run into the number before it
  long numbers[3] = {0, 0, 0};
  const char* text = machine.release;
  for (long& number : numbers) {
    char* end = nullptr;
    number = std::clamp(std::strtol(text, &end, 10), 0L, largest_number);
    if (*end != '.') break;
    text = end + 1;
  }
  return static_cast<int>(numbers[0] * 1000000 + numbers[1] * 1000 + numbers[2]);
}
