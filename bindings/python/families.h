#ifndef ORV_PYTHON_FAMILIES_H
#define ORV_PYTHON_FAMILIES_H

#include <pybind11/pybind11.h>

/// What the module is made of: the classes and functions of each subsystem.

namespace orv_python {

void add_disks(pybind11::module_& module);
void add_arrays(pybind11::module_& module);
void add_volume_groups(pybind11::module_& module);
void add_pools(pybind11::module_& module);
void add_file_systems(pybind11::module_& module);
void add_shares(pybind11::module_& module);
void add_services(pybind11::module_& module);
void add_users(pybind11::module_& module);
void add_machine(pybind11::module_& module);

}  // namespace orv_python

#endif
