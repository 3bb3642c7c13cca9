#ifndef ORV_PYTHON_FAILURES_H
#define ORV_PYTHON_FAILURES_H

#include <orv/scoped.h>
#include <pybind11/pybind11.h>

#include <string>

#include "tools/orvctl/errors.h"

/// What goes wrong, as Python sees it: `orv.Error` for the results of the library, TypeError and
/// ValueError for arguments that never reach it.

namespace orv_python {

namespace py = pybind11;

/// A result that ends a call, and what exactly it is about.
struct failure {
  int code;
  std::string detail;
};

/// Ends a call unless the result is a success.
inline void check(int code) { orv::check(code); }

/// Raises `orv.Error`.
[[noreturn]] void raise(const char* function, int code, const std::string& detail,
                        const py::list& found);

/// Raises what a question of the command line tool found out: `orv.Error`, or ValueError for
/// something that no result stands for.
[[noreturn]] void raise(const char* function, const orvctl::problem& found);

/// Makes `orv.Error` and `orv.Code`.
void add_failures(py::module_& module);

}  // namespace orv_python

#endif
