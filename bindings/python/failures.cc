#include "bindings/python/failures.h"

namespace orv_python {
namespace {

constexpr char about_error[] =
    "A request that the library could not carry out.\n\n"
    "Attributes:\n"
    "    code: the result, a member of Code; an int where the library has no name for it\n"
    "    name: the result's name, such as 'ORV_E_NO_RAID'\n"
    "    meaning: the result's one-line meaning\n"
    "    detail: what exactly it is about; often empty\n"
    "    function: the function that failed\n"
    "    found: of a query, the records that it had listed by then";

constexpr char about_code[] = "Every result of the library, by the name that its headers give it.";

// Both live as long as the process.
PyObject* error_class = nullptr;
PyObject* code_class = nullptr;

py::object code_object(int code) {
  if (std::string(orv::name_of(code)) == "unknown") return py::int_(code);
  return py::handle(code_class)(code);
}

void add_codes(py::module_& module) {
  py::list names;
#define ORV_PYTHON_CODE(name, value, meaning) names.append(py::make_tuple(#name, int{name}));
  ORV_RESULT_CODES(ORV_PYTHON_CODE)
#undef ORV_PYTHON_CODE
  py::object made = py::module_::import("enum").attr("IntEnum")(
      "Code", names, py::arg("module") = module.attr("__name__"));
  made.attr("__doc__") = about_code;
  module.attr("Code") = made;
  code_class = made.release().ptr();
}

void add_error(py::module_& module) {
  const std::string name = module.attr("__name__").cast<std::string>() + ".Error";
  error_class = PyErr_NewExceptionWithDoc(name.c_str(), about_error, PyExc_Exception, nullptr);
  if (error_class == nullptr) throw py::error_already_set();
  module.attr("Error") = py::handle(error_class);
}

}  // namespace

void raise(const char* function, int code, const std::string& detail, const py::list& found) {
  const std::string about = std::string(function) + ": " + orv::result(code).text() +
                            (detail.empty() ? "" : ": " + detail);
  const py::object error = py::handle(error_class)(about);
  error.attr("code") = code_object(code);
  error.attr("name") = orv::name_of(code);
  error.attr("meaning") = orv_strerror(code);
  error.attr("detail") = detail;
  error.attr("function") = function;
  error.attr("found") = found;
  PyErr_SetObject(error_class, error.ptr());
  throw py::error_already_set();
}

void raise(const char* function, const orvctl::problem& found) {
  if (found.code) raise(function, *found.code, found.detail, py::list());
  throw py::value_error(std::string(function) + "(): " + found.meaning);
}

void add_failures(py::module_& module) {
  add_codes(module);
  add_error(module);
}

}  // namespace orv_python
