#include "bindings/python/records.h"

#include <limits>

namespace orv_python {

py::object text_object(std::string_view text) {
  const std::size_t last = text.find_last_not_of(' ');
  const std::size_t size = last == std::string_view::npos ? 0 : last + 1;
  PyObject* const made =
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(size), "surrogateescape");
  if (made == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(made);
}

py::object told_object(std::string_view text) {
  return text == "NaN" ? py::none() : text_object(text);
}

py::object size_object(std::uint64_t size, std::uint64_t unit) {
  if (size > std::numeric_limits<std::uint64_t>::max() / unit) return py::none();
  return py::int_(size * unit);
}

py::list items_object(std::string_view text) {
  py::list all;
  while (!text.empty()) {
    const std::size_t end = text.find(',');
    const std::string_view item = text.substr(0, end);
    if (!item.empty()) all.append(text_object(item));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return all;
}

py::object make_class(py::module_& module, const char* name, const char* about,
                      const py::list& fields) {
  std::string documentation = std::string(about) + "\n\nAttributes:";
  py::list declared;
  for (const py::handle each : fields) {
    const auto row = each.cast<py::tuple>();
    declared.append(py::make_tuple(row[0], row[1]));
    documentation += "\n    " + row[0].cast<std::string>() + ": " + row[2].cast<std::string>();
  }
  py::dict contents;
  contents["__doc__"] = documentation;
  py::object made =
      py::module_::import("dataclasses")
          .attr("make_dataclass")(name, declared, py::arg("namespace") = contents,
                                  py::arg("frozen") = true, py::arg("kw_only") = true);
  // Not earlier: a class looks for its module, which Python does not know before its end.
  made.attr("__module__") = module.attr("__name__");
  module.attr(name) = made;
  return made;
}

}  // namespace orv_python
