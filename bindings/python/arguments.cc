#include "bindings/python/arguments.h"

#include <datetime.h>

#include <limits>

namespace orv_python {
namespace {

constexpr std::uint64_t gib = std::uint64_t{1} << 30;

std::string about(const given_value& given) {
  return std::string(given.function) + "() argument '" + std::string(given.name) + "' ";
}

[[noreturn]] void wrong_type(const given_value& given, const std::string& wanted) {
  const std::string found = Py_TYPE(given.value.ptr())->tp_name;
  throw py::type_error(about(given) + "must be " + wanted + ", not " + found);
}

[[noreturn]] void wrong_value(const given_value& given, const std::string& why) {
  throw py::value_error(about(given) + why);
}

// Bytes that are no UTF-8 come from the library as surrogates, and go back as these bytes.
std::string encoded(const given_value& given) {
  PyObject* const bytes = PyUnicode_AsEncodedString(given.value.ptr(), "utf-8", "surrogateescape");
  if (bytes == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::bytes>(bytes);
}

void must_fit(const given_value& given, const std::string& text, std::size_t size) {
  if (text.find('\0') != std::string::npos) wrong_value(given, "holds a NUL character");
  if (text.size() < size) return;
  wrong_value(given, "is longer than " + std::to_string(size - 1) + " bytes");
}

// A text is a sequence too, of its characters.
py::sequence sequence_of(const given_value& given, const char* wanted) {
  if (PyUnicode_Check(given.value.ptr()) || !PySequence_Check(given.value.ptr())) {
    wrong_type(given, wanted);
  }
  return py::reinterpret_borrow<py::sequence>(given.value);
}

template <class make_text>
std::vector<std::string> each_of(const given_value& given, const char* wanted,
                                 const make_text& text_of_element) {
  std::vector<std::string> all;
  for (const py::handle element : sequence_of(given, wanted)) {
    all.push_back(text_of_element(given_value{given.function, given.name, element}));
  }
  return all;
}

std::string joined(const given_value& given, const std::vector<std::string>& elements,
                   std::size_t size) {
  std::string all;
  for (const std::string& each : elements) all += (all.empty() ? "" : ",") + each;
  must_fit(given, all, size);
  return all;
}

}  // namespace

std::string text_of(const given_value& given, std::size_t size) {
  if (!PyUnicode_Check(given.value.ptr())) wrong_type(given, "str");
  std::string text = encoded(given);
  must_fit(given, text, size);
  return text;
}

std::vector<std::string> texts_of(const given_value& given, std::size_t size) {
  return each_of(given, "a sequence of str", [size](const given_value& element) {
    std::string text = text_of(element, size);
    if (text.empty()) wrong_value(element, "holds an empty text");
    if (text.find(',') != std::string::npos) wrong_value(element, "holds a text with a comma");
    return text;
  });
}

std::string joined_words(const given_value& given, std::size_t size) {
  return joined(given, texts_of(given, size), size);
}

std::string joined_channels(const given_value& given, std::size_t size) {
  const auto numbers = each_of(given, "a sequence of int", [](const given_value& element) {
    return std::to_string(number_of(element, 1, channel::highest));
  });
  return joined(given, numbers, size);
}

std::uint64_t number_of(const given_value& given, std::uint64_t lowest, std::uint64_t highest) {
  if (!PyLong_Check(given.value.ptr()) || PyBool_Check(given.value.ptr())) {
    wrong_type(given, "int");
  }
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(given.value.ptr(), &overflow);
  if (overflow == 0 && number >= 0 && static_cast<std::uint64_t>(number) >= lowest &&
      static_cast<std::uint64_t>(number) <= highest) {
    return static_cast<std::uint64_t>(number);
  }
  wrong_value(given, "is not in " + std::to_string(lowest) + " to " + std::to_string(highest));
}

std::uint64_t gib_of(const given_value& given) {
  const std::uint64_t bytes =
      number_of(given, 0, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
  if (bytes % gib != 0) wrong_value(given, "is not a whole number of GiB (2**30 bytes)");
  return bytes / gib;
}

bool flag_of(const given_value& given) {
  if (!PyBool_Check(given.value.ptr())) wrong_type(given, "bool");
  return given.value.ptr() == Py_True;
}

tag_datetime moment_of(const given_value& given) {
  if (PyDateTimeAPI == nullptr) PyDateTime_IMPORT;
  PyObject* const when = given.value.ptr();
  if (!PyDateTime_Check(when)) wrong_type(given, "datetime");
  if (PyDateTime_DATE_GET_TZINFO(when) != Py_None) {
    wrong_value(given, "has a time zone; the clock is set in local time");
  }
  return {PyDateTime_GET_YEAR(when),        PyDateTime_GET_MONTH(when),
          PyDateTime_GET_DAY(when),         PyDateTime_DATE_GET_HOUR(when),
          PyDateTime_DATE_GET_MINUTE(when), PyDateTime_DATE_GET_SECOND(when)};
}

std::string one_of(const given_value& given, std::string_view allowed) {
  const std::string word = text_of(given, std::numeric_limits<std::size_t>::max());
  for (std::string_view rest = allowed; !rest.empty();) {
    const std::size_t end = rest.find(' ');
    if (word == rest.substr(0, end)) return word;
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  wrong_value(given, "is none of: " + std::string(allowed));
}

}  // namespace orv_python
