#ifndef ORV_PYTHON_RECORDS_H
#define ORV_PYTHON_RECORDS_H

#include <orv/scoped.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Records of the library as Python sees them: one table of fields per record family, from which
/// the family's frozen dataclass is made, and each object of it.

namespace orv_python {

namespace py = pybind11;

/// One row of a family's table: an attribute of the Python class.
template <class record>
struct field {
  const char* name;
  std::string annotation;
  const char* about;
  py::object (*value)(const record& of);
};

/// The Python class of a record family. It lives as long as the process.
template <class record>
struct record_class {
  static inline const char* name = nullptr;
  static inline std::span<const field<record>> fields;
  static inline PyObject* made = nullptr;
};

// --- Values --------------------------------------------------------------------------------------

constexpr std::uint64_t mib = std::uint64_t{1} << 20;
constexpr std::uint64_t gib = std::uint64_t{1} << 30;

/// Without the blanks at its end, which some tools print. Bytes that are no UTF-8 become
/// surrogates, as file names do in Python.
py::object text_object(std::string_view text);
/// None for "NaN", as the library writes what a disk does not tell.
py::object told_object(std::string_view text);
/// Bytes; None for a number that stands for "not known" or is beyond 64 bits.
py::object size_object(std::uint64_t size, std::uint64_t unit);
/// The elements of a text with commas.
py::list items_object(std::string_view text);

/// The Python object of a record.
template <class record>
py::object object_of(const record& from) {
  py::dict values;
  for (const field<record>& each : record_class<record>::fields) {
    values[each.name] = each.value(from);
  }
  return py::handle(record_class<record>::made)(**values);
}

/// The Python objects of a list's records.
template <class list>
py::list objects_of(const list& records) {
  py::list all;
  for (const auto& each : records) all.append(object_of(each));
  return all;
}

// --- Rows ----------------------------------------------------------------------------------------

template <class pointer>
struct pointed;
template <class owner, class member>
struct pointed<member owner::*> {
  using record = owner;
  using type = member;
};
/// What a pointer to a member says of itself.
template <auto member>
using record_with = typename pointed<decltype(member)>::record;
template <auto member>
using type_of = typename pointed<decltype(member)>::type;

template <auto member>
field<record_with<member>> text_field(const char* name, const char* about) {
  return {name, "str", about,
          [](const record_with<member>& of) { return text_object(of.*member); }};
}

template <auto member>
field<record_with<member>> told_field(const char* name, const char* about) {
  return {name, "str | None", about,
          [](const record_with<member>& of) { return told_object(of.*member); }};
}

template <auto member>
field<record_with<member>> items_field(const char* name, const char* about) {
  return {name, "list[str]", about,
          [](const record_with<member>& of) -> py::object { return items_object(of.*member); }};
}

template <auto member>
field<record_with<member>> number_field(const char* name, const char* about) {
  return {name, "int", about,
          [](const record_with<member>& of) -> py::object { return py::int_(of.*member); }};
}

template <auto member>
field<record_with<member>> flag_field(const char* name, const char* about) {
  return {name, "bool", about,
          [](const record_with<member>& of) -> py::object { return py::bool_(of.*member != 0); }};
}

/// A size that the library counts in units.
template <auto member, std::uint64_t unit>
field<record_with<member>> size_field(const char* name, const char* about) {
  return {name, "int | None", about,
          [](const record_with<member>& of) { return size_object(of.*member, unit); }};
}

/// The records of a list that lies in a record.
template <auto member>
field<record_with<member>> records_field(const char* name, const char* about) {
  using record = typename orv::family<type_of<member>>::record;
  return {name, std::string("list[") + record_class<record>::name + "]", about,
          [](const record_with<member>& of) -> py::object {
            return objects_of(orv::records(of.*member));
          }};
}

// --- Classes -------------------------------------------------------------------------------------

/// Makes one dataclass; fields are tuples (name, annotation, about).
py::object make_class(py::module_& module, const char* name, const char* about,
                      const py::list& fields);

/// Makes the Python class of a record family. The table must live as long as the process.
template <class record>
void declare(py::module_& module, const char* name, const char* about,
             std::span<const field<record>> fields) {
  py::list rows;
  for (const field<record>& each : fields) {
    rows.append(py::make_tuple(each.name, each.annotation, each.about));
  }
  record_class<record>::name = name;
  record_class<record>::fields = fields;
  record_class<record>::made = make_class(module, name, about, rows).release().ptr();
}

}  // namespace orv_python

#endif
