#include <orv/errors.h>

namespace {

struct result_code {
  int value;
  const char* meaning;
};

constexpr result_code result_codes[] = {
#define ORV_RESULT_CODE(name, value, meaning) {value, meaning},
    ORV_RESULT_CODES(ORV_RESULT_CODE)
#undef ORV_RESULT_CODE
};

}  // namespace

const char* orv_strerror(int code) {
  for (const result_code& known : result_codes) {
    if (known.value == code) return known.meaning;
  }
  return "unknown result code";
}
