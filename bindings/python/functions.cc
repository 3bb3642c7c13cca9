#include "bindings/python/functions.h"

#include <pybind11/eval.h>

namespace orv_python {

signature::signature(const char* name, std::vector<parameter_row> rows, std::string returns,
                     const char* about)
    : name_(name), rows_(std::move(rows)), returns_(std::move(returns)), about_(about) {}

std::string signature::documentation() const {
  std::string line = name_ + "(";
  for (const parameter_row& row : rows_) {
    line += (&row == rows_.data() ? "*, " : ", ") + row.name;
    if (!row.fallback.empty()) line += "=" + row.fallback;
  }
  return line + ")\n--\n\n" + about_;
}

py::tuple signature::description() const {
  py::list parameters;
  for (const parameter_row& row : rows_) {
    parameters.append(py::make_tuple(row.name, row.annotation, row.fallback));
  }
  return py::make_tuple(name_, parameters, returns_);
}

bool signature::has(std::string_view parameter) const {
  for (const parameter_row& row : rows_) {
    if (row.name == parameter) return true;
  }
  return false;
}

py::object signature::fallback_of(const parameter_row& row) const {
  if (row.fallback.empty()) {
    throw py::type_error(name_ + "() needs the keyword argument '" + row.name + "'");
  }
  return py::eval(row.fallback);
}

std::vector<py::object> signature::arguments(const py::args& positional,
                                             const py::kwargs& named) const {
  if (!positional.empty()) throw py::type_error(name_ + "() takes keyword arguments only");
  for (const auto& [name, value] : named) {
    const auto word = name.cast<std::string>();
    if (!has(word)) throw py::type_error(name_ + "() has no keyword argument '" + word + "'");
  }
  std::vector<py::object> values;
  for (const parameter_row& row : rows_) {
    const py::str name(row.name);
    values.push_back(named.contains(name) ? py::object(named[name]) : fallback_of(row));
  }
  return values;
}

void add_function(py::module_& module, const signature& of, const call& made) {
  const std::string documentation = of.documentation();
  module.attr(of.name().c_str()) = py::cpp_function(
      [of, made](const py::args& positional, const py::kwargs& named) {
        return made(of.arguments(positional, named));
      },
      py::name(of.name().c_str()), py::scope(module), py::doc(documentation.c_str()));
  module.attr("_signatures").attr("append")(of.description());
}

}  // namespace orv_python
