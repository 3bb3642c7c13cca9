#ifndef ORV_PYTHON_FUNCTIONS_H
#define ORV_PYTHON_FUNCTIONS_H

#include <pybind11/pybind11.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "bindings/python/arguments.h"
#include "bindings/python/failures.h"
#include "bindings/python/fixed_text.h"
#include "bindings/python/outside_python.h"
#include "bindings/python/records.h"

/// How a function of Python is made of its parameters and of a body that knows nothing of Python:
/// arguments are checked and taken over, the body runs outside of Python, its result is handed
/// back.

namespace orv_python {

// --- Parameters ----------------------------------------------------------------------------------

/// A keyword argument. A fallback is written as Python writes it; without one it must be given.
template <fixed_text name_, class kind_, fixed_text fallback_ = "">
struct parameter {
  using kind = kind_;
  static constexpr std::string_view name = name_.view();
  static constexpr std::string_view fallback = fallback_.view();
};

struct parameter_row {
  std::string name;
  std::string annotation;
  std::string fallback;
};

/// What a function says of itself, and what it makes of the arguments of a call.
class signature {
 public:
  signature(const char* name, std::vector<parameter_row> rows, std::string returns,
            const char* about);

  const std::string& name() const { return name_; }
  /// Begins with a line from which Python's `inspect` reads the parameters.
  std::string documentation() const;
  /// Name, parameters as tuples (name, annotation, fallback), result.
  py::tuple description() const;
  /// The arguments in the order of the parameters. Too many, missing and misspelt ones raise
  /// TypeError, without a word about values.
  std::vector<py::object> arguments(const py::args& positional, const py::kwargs& named) const;
  given_value given(const std::vector<py::object>& values, std::size_t place) const {
    return {name_, rows_[place].name, values[place]};
  }

 private:
  py::object fallback_of(const parameter_row& row) const;
  bool has(std::string_view parameter) const;

  std::string name_;
  std::vector<parameter_row> rows_;
  std::string returns_;
  std::string about_;
};

// --- Results -------------------------------------------------------------------------------------

/// What a query listed, and how it ended.
template <class list>
struct listing {
  list records;
  int result = ORV_OK;
};

template <class type>
struct returned {
  static std::string annotation() { return record_class<type>::name; }
  static py::object object(const type& value, const signature&) { return object_of(value); }
};
template <>
struct returned<void> {
  static std::string annotation() { return "None"; }
};
template <>
struct returned<bool> {
  static std::string annotation() { return "bool"; }
  static py::object object(bool value, const signature&) { return py::bool_(value); }
};
template <>
struct returned<int> {
  static std::string annotation() { return "int"; }
  static py::object object(int value, const signature&) { return py::int_(value); }
};
template <>
struct returned<std::string> {
  static std::string annotation() { return "str"; }
  static py::object object(const std::string& value, const signature&) {
    return text_object(value);
  }
};
template <class record>
struct returned<std::vector<record>> {
  static std::string annotation() {
    return std::string("list[") + record_class<record>::name + "]";
  }
  static py::object object(const std::vector<record>& value, const signature&) {
    return objects_of(value);
  }
};
template <class list>
struct returned<listing<list>> {
  static std::string annotation() {
    return std::string("list[") + record_class<typename list::record>::name + "]";
  }
  static py::object object(const listing<list>& value, const signature& of) {
    py::list found = objects_of(value.records);
    if (value.result != ORV_OK) raise(of.name().c_str(), value.result, "", found);
    return found;
  }
};

// --- Definition ----------------------------------------------------------------------------------

/// Runs a body outside of Python; what it throws becomes `orv.Error`.
template <class body, class... arguments>
auto run_outside(turn wanted, const signature& of, const body& run, const arguments&... given) {
  try {
    const outside_python here(wanted);
    return run(given...);
  } catch (const failure& failed) {
    raise(of.name().c_str(), failed.code, failed.detail, py::list());
  } catch (const orvctl::problem& failed) {
    raise(of.name().c_str(), failed);
  } catch (const orv::error& failed) {
    raise(of.name().c_str(), failed.code().value(), "", py::list());
  }
}

/// A call with its arguments in the order of the parameters.
using call = std::function<py::object(const std::vector<py::object>& values)>;

void add_function(py::module_& module, const signature& of, const call& made);

/// Adds a function. The body takes the parameters' kinds.
template <class... parameters, class body>
void define(py::module_& module, const char* name, turn wanted, const char* about, body run) {
  using result = std::invoke_result_t<body, const typename parameters::kind&...>;
  const signature of(name,
                     {{std::string(parameters::name), std::string(parameters::kind::annotation),
                       std::string(parameters::fallback)}...},
                     returned<result>::annotation(), about);
  add_function(module, of, [of, run, wanted](const std::vector<py::object>& values) {
    return [&]<std::size_t... place>(std::index_sequence<place...>)->py::object {
      const std::tuple<typename parameters::kind...> given{
          typename parameters::kind(of.given(values, place))...};
      if constexpr (std::is_void_v<result>) {
        run_outside(wanted, of, run, std::get<place>(given)...);
        return py::none();
      } else {
        const result made = run_outside(wanted, of, run, std::get<place>(given)...);
        return returned<result>::object(made, of);
      }
    }
    (std::index_sequence_for<parameters...>());
  });
}

/// A change that is one call of the library, whose parameters are the function's.
template <auto function>
struct change {
  template <class... kinds>
  void operator()(const kinds&... given) const {
    orv::check(function(given.c()...));
  }
};

/// A query that is one getter of the library.
template <class list, auto getter>
struct query {
  listing<list> operator()() const {
    listing<list> made;
    made.result = made.records.read(getter).code();
    return made;
  }
};

}  // namespace orv_python

#endif
