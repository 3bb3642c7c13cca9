#include <orv/errors.h>
#include <pybind11/pybind11.h>

#include "bindings/python/failures.h"
#include "bindings/python/families.h"
#include "bindings/python/records.h"

namespace {

constexpr char about[] =
    "The storage of a network storage appliance: disks, arrays, volume groups, pools, file "
    "systems,\n"
    "shares, services, users and the machine itself.\n\n"
    "Queries return lists of objects, changes take keyword arguments; both raise Error with the\n"
    "result's code, name and meaning. Sizes are bytes. Other threads run during a call.";

}  // namespace

PYBIND11_MODULE(orv, module) {
  pybind11::options options;
  options.disable_function_signatures();
  module.doc() = about;
  module.attr("__version__") = ORV_VERSION;
  module.attr("MIB") = orv_python::mib;
  module.attr("GIB") = orv_python::gib;
  module.attr("_signatures") = pybind11::list();
  orv_python::add_failures(module);
  orv_python::add_disks(module);
  orv_python::add_arrays(module);
  orv_python::add_volume_groups(module);
  orv_python::add_pools(module);
  orv_python::add_file_systems(module);
  orv_python::add_shares(module);
  orv_python::add_services(module);
  orv_python::add_users(module);
  orv_python::add_machine(module);
}
